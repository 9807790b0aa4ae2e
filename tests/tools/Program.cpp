// SPDX-License-Identifier: MIT
#include "tools/Program.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <system_error>

#include <fcntl.h>
#include <linux/capability.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace support {
namespace {

class Descriptor {
public:
    explicit Descriptor(int fd) : m_fd(fd) {
        if (fd < 0) throw std::system_error(errno, std::generic_category());
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() { ::close(m_fd); }
    int get() const noexcept { return m_fd; }

private:
    int m_fd;
};

/// A file without a name.
struct Capture {
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> file{std::tmpfile(), std::fclose};

    int descriptor() const { return ::fileno(file.get()); }

    /// Leaves the place alone at which a program that still runs goes on.
    std::string contents() const {
        std::string text;
        std::array<char, 4096> block;
        for (;;) {
            const ssize_t count =
                ::pread(descriptor(), block.data(), block.size(), static_cast<off_t>(text.size()));
            if (count <= 0) return text;
            text.append(block.data(), static_cast<std::size_t>(count));
        }
    }
};

/// The terminal's own side is the program's standard output, for as long as this object lives.
struct Terminal {
    Descriptor far{::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)};
    Descriptor near{openNear()};

private:
    int openNear() const {
        if (::grantpt(far.get()) != 0 || ::unlockpt(far.get()) != 0) return -1;
        return ::open(::ptsname(far.get()), O_RDWR | O_NOCTTY | O_CLOEXEC);
    }
};

/// Only async-signal-safe calls: this is the child of a process that may have had threads.
[[noreturn]] void becomeProgram(char* const* arguments, const Surroundings& surroundings, int out, int err) {
    const int in =
        surroundings.standardInput >= 0 ? surroundings.standardInput : ::open("/dev/null", O_RDONLY);
    ::signal(SIGPIPE, surroundings.ignoresBrokenPipes ? SIG_IGN : SIG_DFL);
    if (surroundings.mostFileBytes) {
        const rlimit limit{*surroundings.mostFileBytes, *surroundings.mostFileBytes};
        if (::setrlimit(RLIMIT_FSIZE, &limit) != 0) ::_exit(126);
    }
    if (surroundings.obeysPermissions) {  // fails where there is nothing to give up
        ::prctl(PR_CAPBSET_DROP, CAP_DAC_OVERRIDE);
        ::prctl(PR_CAPBSET_DROP, CAP_DAC_READ_SEARCH);
    }
    const bool ready = ::chdir(surroundings.folder.c_str()) == 0 && ::dup2(in, STDIN_FILENO) >= 0 &&
                       ::dup2(out, STDOUT_FILENO) >= 0 && ::dup2(err, STDERR_FILENO) >= 0;
    const char* const program = surroundings.program.empty() ? MARL_PROGRAM : surroundings.program.c_str();
    if (ready) ::execv(program, arguments);
    ::_exit(126);
}

pid_t start(const std::vector<std::string>& arguments, const Surroundings& surroundings, int out, int err) {
    std::vector<char*> pointers{const_cast<char*>("marl")};
    for (const std::string& argument : arguments) pointers.push_back(const_cast<char*>(argument.c_str()));
    pointers.push_back(nullptr);
    const pid_t child = ::fork();
    if (child < 0) throw std::system_error(errno, std::generic_category());
    if (child == 0) becomeProgram(pointers.data(), surroundings, out, err);
    return child;
}

Outcome await(pid_t child) {
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    if (WIFSIGNALED(status)) return {-1, WTERMSIG(status), "", ""};
    return {WEXITSTATUS(status), 0, "", ""};
}

Outcome runInto(int out, const std::vector<std::string>& arguments, const Surroundings& surroundings) {
    const Capture err;
    Outcome outcome = await(start(arguments, surroundings, out, err.descriptor()));
    outcome.err = err.contents();
    return outcome;
}

Outcome runForAnImpatientReader(const std::vector<std::string>& arguments, const Surroundings& surroundings) {
    std::array<int, 2> ends;
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) throw std::system_error(errno, std::generic_category());
    const Capture err;
    const pid_t child = start(arguments, surroundings, ends[1], err.descriptor());
    ::close(ends[1]);
    std::array<char, 10> bytes;
    const ssize_t count = ::read(ends[0], bytes.data(), bytes.size());
    ::close(ends[0]);
    Outcome outcome = await(child);
    outcome.out.assign(bytes.data(), count > 0 ? static_cast<std::size_t>(count) : 0);
    outcome.err = err.contents();
    return outcome;
}

}  // namespace

Outcome runMarl(const std::vector<std::string>& arguments, const Surroundings& surroundings) {
    switch (surroundings.standardOutput) {
        case StandardOutput::kFullDevice:
            return runInto(Descriptor(::open("/dev/full", O_WRONLY | O_CLOEXEC)).get(), arguments,
                           surroundings);
        case StandardOutput::kTerminal:
            return runInto(Terminal().near.get(), arguments, surroundings);
        case StandardOutput::kClosedEarly:
            return runForAnImpatientReader(arguments, surroundings);
        case StandardOutput::kCaptured:
            break;
    }
    const Capture out;
    Outcome outcome = runInto(out.descriptor(), arguments, surroundings);
    outcome.out = out.contents();
    return outcome;
}

struct RunningMarl::Captures {
    Capture out, err;
};

RunningMarl::RunningMarl(const std::vector<std::string>& arguments, const Surroundings& surroundings)
    : m_captures(std::make_unique<Captures>()),
      m_child(start(arguments, surroundings, m_captures->out.descriptor(), m_captures->err.descriptor())) {}

RunningMarl::~RunningMarl() {
    if (m_child <= 0) return;
    sendSignal(SIGKILL);
    support::await(m_child);
}

void RunningMarl::sendSignal(int signal) const {
    ::kill(m_child, signal);
}

std::string RunningMarl::out() const {
    return m_captures->out.contents();
}

std::string RunningMarl::err() const {
    return m_captures->err.contents();
}

Outcome RunningMarl::await() {
    Outcome outcome = support::await(m_child);
    m_child = 0;
    outcome.out = out();
    outcome.err = err();
    return outcome;
}

}  // namespace support
