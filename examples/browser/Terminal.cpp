// SPDX-License-Identifier: MIT
#include "Terminal.h"

#include <array>
#include <cerrno>
#include <string_view>
#include <system_error>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/signalfd.h>
#include <unistd.h>

namespace browser {
namespace {

// Another screen, without a cursor and without lines that go on in the next row; and back.
constexpr std::string_view kEnter = "\x1b[?1049h\x1b[?25l\x1b[?7l\x1b[2J";
constexpr std::string_view kLeave = "\x1b[0m\x1b[?7h\x1b[?25h\x1b[?1049l";

[[noreturn]] void throwErrno(const char* what) {
    throw std::system_error(errno, std::generic_category(), what);
}

/// Stops the job, as Ctrl-Z does: a script that waits for this process stops with it, and the shell has the
/// terminal again. Where no shell could continue the job, within $(...) for one, the system passes the signal
/// over, and nothing stops.
void stopJob() {
    sigset_t stop, before;
    ::sigemptyset(&stop);
    ::sigaddset(&stop, SIGTSTP);
    ::kill(0, SIGTSTP);
    ::pthread_sigmask(SIG_UNBLOCK, &stop, &before);  // `Signals` blocks it; here it comes
    ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

}  // namespace

Terminal::Terminal() : m_descriptor(::open("/dev/tty", O_RDWR | O_CLOEXEC)) {
    if (m_descriptor < 0) throwErrno("the terminal");
    if (::tcgetattr(m_descriptor, &m_before) != 0) {
        ::close(m_descriptor);
        throwErrno("the terminal");
    }
    enter();
}

Terminal::~Terminal() {
    leave();
    ::close(m_descriptor);
}

void Terminal::enter() {
    termios raw = m_before;
    ::cfmakeraw(&raw);
    ::tcsetattr(m_descriptor, TCSADRAIN, &raw);  // what was typed meanwhile counts
    write(std::string(kEnter));
    forget();
}

void Terminal::leave() const noexcept {
    write(std::string(kLeave));
    ::tcsetattr(m_descriptor, TCSAFLUSH, &m_before);
}

void Terminal::suspend() {
    leave();
    stopJob();
    enter();
}

Size Terminal::size() const noexcept {
    winsize window{};
    if (::ioctl(m_descriptor, TIOCGWINSZ, &window) != 0 || window.ws_row == 0 || window.ws_col == 0)
        return {};
    return {window.ws_row, window.ws_col};
}

std::string Terminal::read() const {
    std::array<char, 4096> bytes;
    const ssize_t count = ::read(m_descriptor, bytes.data(), bytes.size());
    return count > 0 ? std::string(bytes.data(), static_cast<std::size_t>(count)) : std::string();
}

void Terminal::show(const std::vector<std::string>& lines) {
    m_shown.resize(lines.size());
    std::string changes;
    for (std::size_t i = 0; i < lines.size(); ++i)
        if (lines[i] != m_shown[i]) changes += "\x1b[" + std::to_string(i + 1) + ";1H\x1b[K" + lines[i];
    m_shown = lines;
    write(changes);
}

void Terminal::write(const std::string& text) const noexcept {
    std::string_view rest = text;
    while (!rest.empty()) {
        const ssize_t count = ::write(m_descriptor, rest.data(), rest.size());
        if (count < 0 && errno != EINTR) return;  // it has gone, which `read` will tell
        if (count > 0) rest.remove_prefix(static_cast<std::size_t>(count));
    }
}

Signals::Signals(std::initializer_list<int> signals) {
    sigset_t set;
    ::sigemptyset(&set);
    for (const int signal : signals) ::sigaddset(&set, signal);
    m_descriptor = ::signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK);
    if (m_descriptor < 0) throwErrno("signals");
    ::pthread_sigmask(SIG_BLOCK, &set, &m_before);
}

Signals::~Signals() {
    ::close(m_descriptor);
    ::pthread_sigmask(SIG_SETMASK, &m_before, nullptr);
}

int Signals::next() const noexcept {
    signalfd_siginfo info{};
    return ::read(m_descriptor, &info, sizeof info) == static_cast<ssize_t>(sizeof info)
               ? static_cast<int>(info.ssi_signo)
               : 0;
}

}  // namespace browser
