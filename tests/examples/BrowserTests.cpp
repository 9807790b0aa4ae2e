// SPDX-License-Identifier: MIT
// The browser in a terminal of its own, over a small library.
#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <sstream>
#include <system_error>

#include "examples/TerminalScreen.h"
#include "support/EnvironmentVariable.h"
#include "support/LoopFiles.h"
#include "support/TemporaryFolder.h"

#include <MarlCore/SearchEngine/CSearchEngine.h>

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>
#include <utmp.h>

namespace {

constexpr unsigned short kRows = 24, kColumns = 100;
constexpr int kPatience = 60'000;  // milliseconds without a byte, after which a test gives up

/// The program on a pseudo-terminal, its standard output in a file. Killed when it outlives this object.
class RunningBrowser {
public:
    /// `script`: of the shell that calls it, as "$@".
    RunningBrowser(const std::string& indexFolder, const std::string& outputFile,
                   const std::string& script = "exec \"$@\"") {
        winsize size{kRows, kColumns, 0, 0};
        int far = -1;
        if (::openpty(&m_terminal, &far, nullptr, nullptr, &size) != 0)
            throw std::system_error(errno, std::generic_category());
        ::tcgetattr(far, &m_before);
        m_child = ::fork();
        if (m_child == 0) {
            ::close(m_terminal);
            ::login_tty(far);
            ::dup2(::open(outputFile.c_str(), O_WRONLY | O_CREAT, 0600), STDOUT_FILENO);
            ::execl("/bin/sh", "sh", "-c", script.c_str(), "sh", MARL_BROWSER, "--index-dir",
                    indexFolder.c_str(), nullptr);
            ::_exit(127);
        }
        ::close(far);
    }
    RunningBrowser(const RunningBrowser&) = delete;
    RunningBrowser& operator=(const RunningBrowser&) = delete;
    ~RunningBrowser() {
        if (m_child > 0) {
            ::kill(m_child, SIGKILL);
            ::waitpid(m_child, nullptr, 0);
        }
        ::close(m_terminal);
    }

    const support::TerminalScreen& screen() const { return m_screen; }

    void type(const std::string& bytes) const {
        ASSERT_EQ(::write(m_terminal, bytes.data(), bytes.size()), std::ssize(bytes));
    }
    void sendSignal(int signal) const { ::kill(m_child, signal); }
    void resize(unsigned short rows, unsigned short columns) {
        m_screen.resize(rows, columns);
        const winsize size{rows, columns, 0, 0};
        ::ioctl(m_terminal, TIOCSWINSZ, &size);
    }

    /// Takes what the program shows, until `holds`. False when it shows nothing more before.
    bool waitUntil(const std::function<bool(const support::TerminalScreen&)>& holds) {
        while (!holds(m_screen)) {
            pollfd waiting{m_terminal, POLLIN, 0};
            char bytes[4096];
            if (::poll(&waiting, 1, kPatience) != 1) return false;
            const ssize_t count = ::read(m_terminal, bytes, sizeof bytes);
            if (count <= 0) return false;
            m_screen.feed({bytes, static_cast<std::size_t>(count)});
        }
        return true;
    }
    bool shows(std::size_t row, const std::string& text) {
        return waitUntil([&](const auto& screen) { return screen.row(row).find(text) != std::string::npos; });
    }

    /// Waits for its end; the status as `waitpid` gives it.
    int await() {
        waitUntil([](const auto&) { return false; });
        int status = 0;
        ::waitpid(std::exchange(m_child, -1), &status, 0);
        return status;
    }
    /// Whether the terminal is as the program found it.
    bool isTerminalAsBefore() const {
        termios now{};
        ::tcgetattr(m_terminal, &now);
        return now.c_iflag == m_before.c_iflag && now.c_oflag == m_before.c_oflag &&
               now.c_cflag == m_before.c_cflag && now.c_lflag == m_before.c_lflag &&
               !m_screen.isOtherScreen() && m_screen.isCursorShown() && m_screen.hasWrap();
    }

private:
    int m_terminal = -1;
    termios m_before{};
    pid_t m_child = -1;
    support::TerminalScreen m_screen{kRows, kColumns};
};

constexpr std::size_t kRate = 1000;  // Hz

/// A loop in A minor of two beats, eight bits a sample.
support::Bytes loop(const std::string& genre, const support::Bytes& samples) {
    support::AIFFContents contents;
    contents.common =
        support::CommonChunk{.channels = 1, .frames = {}, .bitsPerChannel = 8, .sampleRate = kRate};
    contents.basicTagging = support::BasicTagging{.beats = 2, .rootNote = 57, .scaleType = 1};
    contents.categories = support::Categories{.genre = genre};
    contents.samples = samples;
    return support::aiffFile(contents);
}

/// At full scale up to the middle, then silent.
support::Bytes halfLoud(std::size_t seconds) {
    support::Bytes samples;
    for (std::size_t i = 0; i < seconds * kRate / 2; ++i) samples.byte(i % 2 == 0 ? 127 : -128);
    return samples.zeros(seconds * kRate / 2);
}

class BrowserProgram : public testing::Test {
protected:
    BrowserProgram() {
        m_loops.write("Bass/Deep.aif", loop("Deep House", halfLoud(1)));
        m_loops.write("Drums/Boom.aif", loop("Electronic", support::Bytes().zeros(kRate)));
        m_loops.write("Drums/Crash.aif", loop("Funk", support::Bytes().zeros(kRate)));
        marl::MCsetIndexDirectoryWithNSString(m_indexes.path());
        marl::CSearchEngine::New()->addDirectory(m_loops.path());
    }

    /// What the program has printed on its standard output.
    std::string output() const {
        std::ostringstream text;
        text << std::ifstream(m_folder.path("out")).rdbuf();
        return text.str();
    }

    support::TemporaryFolder m_loops, m_indexes, m_folder;
    support::EnvironmentVariable m_settings{"XDG_CONFIG_HOME", m_folder.path().c_str()};
    support::EnvironmentVariable m_colours{"NO_COLOR", nullptr};
};

constexpr std::size_t kFirstRow = 2;          // of the list
constexpr std::size_t kDetails = kRows - 10;  // and 8 rows of waveform, and the help
constexpr std::size_t kTopOfWaveform = kDetails + 1;

TEST_F(BrowserProgram, FiltersMovesAndPrintsThePathOfTheChosenLoop) {
    RunningBrowser browser(m_indexes.path(), m_folder.path("out"));
    ASSERT_TRUE(browser.shows(kFirstRow + 2, "Crash.aif")) << browser.screen().text();
    EXPECT_EQ(browser.screen().row(kFirstRow), "A minor  120    4/4   Bass Guitar       Deep.aif");
    EXPECT_TRUE(browser.screen().isReversed(kFirstRow));
    browser.type("drums");
    ASSERT_TRUE(browser.shows(0, "2 of 3")) << browser.screen().text();
    EXPECT_EQ(browser.screen().row(0).substr(0, 7), "> drums");
    browser.type("\x1b[B");
    ASSERT_TRUE(browser.shows(kDetails, m_loops.path("Drums/Crash.aif"))) << browser.screen().text();
    EXPECT_TRUE(browser.screen().isReversed(kFirstRow + 1));
    browser.type("\r");
    const int status = browser.await();
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
    EXPECT_EQ(output(), m_loops.path("Drums/Crash.aif") + "\n");
    EXPECT_TRUE(browser.isTerminalAsBefore());
}

TEST_F(BrowserProgram, DrawsTheChosenLoop) {
    const auto isHalfLoud = [](const support::TerminalScreen& screen) {
        const std::size_t blocks = screen.row(kTopOfWaveform).size() / std::string_view("█").size();
        return blocks >= kColumns / 2 - 2 && blocks <= kColumns / 2 + 1;
    };
    for (const std::size_t seconds : {1u, 120u})  // drawn at once; and in several steps
        for (const bool hasColours : {true, false}) {
            m_loops.write("Bass/Deep.aif", loop("Deep House", halfLoud(seconds)));
            const support::EnvironmentVariable colours("NO_COLOR", hasColours ? nullptr : "1");
            RunningBrowser browser(m_indexes.path(), m_folder.path("out"));
            EXPECT_TRUE(browser.waitUntil(isHalfLoud)) << browser.screen().text();
            EXPECT_EQ(browser.screen().hasShownColour(), hasColours);
        }
}

TEST_F(BrowserProgram, SaysWhyThereIsNoWaveform) {
    ASSERT_EQ(::unlink(m_loops.path("Bass/Deep.aif").c_str()), 0);
    RunningBrowser browser(m_indexes.path(), m_folder.path("out"));
    EXPECT_TRUE(browser.shows(kTopOfWaveform, "failed to open file")) << browser.screen().text();
    browser.type("boom");
    EXPECT_TRUE(browser.shows(kDetails, "Boom.aif")) << browser.screen().text();
}

TEST_F(BrowserProgram, FillsItsWindowAnewWhenThatChanges) {
    RunningBrowser browser(m_indexes.path(), m_folder.path("out"));
    ASSERT_TRUE(browser.shows(kRows - 1, "type to filter"));
    for (const unsigned short rows : std::initializer_list<unsigned short>{8, 40, 5, 24}) {
        browser.resize(rows, 60);
        EXPECT_TRUE(browser.shows(rows - 1u, "type to filter")) << browser.screen().text();
    }
}

TEST_F(BrowserProgram, LeavesTheTerminalAsItWas) {
    const struct {
        const char* keys;
        int signal;  // 0: none
    } cases[] = {{"\x1b", 0}, {"\x03", 0}, {"x\x1b\x1b", 0}, {"", SIGTERM}, {"", SIGINT}, {"", SIGHUP}};
    for (const auto& row : cases) {
        RunningBrowser browser(m_indexes.path(), m_folder.path("out"));
        ASSERT_TRUE(browser.shows(kRows - 1, "type to filter")) << browser.screen().text();
        EXPECT_TRUE(browser.screen().isOtherScreen() && !browser.screen().isCursorShown());
        row.signal == 0 ? browser.type(row.keys) : browser.sendSignal(row.signal);
        const int status = browser.await();
        EXPECT_TRUE(row.signal == 0 ? WIFEXITED(status) && WEXITSTATUS(status) == 1
                                    : WIFSIGNALED(status) && WTERMSIG(status) == row.signal)
            << status;
        EXPECT_TRUE(browser.isTerminalAsBefore()) << row.keys << row.signal;
        EXPECT_EQ(output(), "");
    }
}

// The script around it is stopped, too: were it the browser alone, the shell would wait for that script.
TEST_F(BrowserProgram, GivesTheTerminalBackWhileItIsStopped) {
    RunningBrowser browser(
        m_indexes.path(), m_folder.path("out"),
        "set -m; sh -c '\"$@\"; exit' sh \"$@\"; printf '\\033[1Hstopped' >/dev/tty; read -r line; fg");
    const auto runs = [&] { return browser.shows(kRows - 1, "type to filter"); };
    ASSERT_TRUE(runs()) << browser.screen().text();
    browser.type("\x1a");
    ASSERT_TRUE(browser.shows(0, "stopped")) << browser.screen().text();
    EXPECT_TRUE(browser.isTerminalAsBefore());
    browser.type("\n");
    ASSERT_TRUE(browser.waitUntil([](const auto& screen) { return screen.isOtherScreen(); }));
    EXPECT_TRUE(runs() && browser.shows(0, "3 of 3")) << browser.screen().text();
    browser.type("\r");
    const int status = browser.await();
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
    EXPECT_NE(output().find(m_loops.path("Bass/Deep.aif")), std::string::npos) << output();
}

TEST_F(BrowserProgram, GoesOnWhereNobodyCouldContinueIt) {
    RunningBrowser browser(m_indexes.path(), m_folder.path("out"));
    ASSERT_TRUE(browser.shows(kRows - 1, "type to filter"));
    browser.type("\x1a");
    browser.type("boom");
    EXPECT_TRUE(browser.shows(0, "> boom")) << browser.screen().text();
}

TEST_F(BrowserProgram, SaysWhichIndexItLeavesOut) {
    m_indexes.write("Search Index x.txt", support::Bytes().zeros(100));
    RunningBrowser browser(m_indexes.path(), m_folder.path("out"), "exec \"$@\" 2>&1");
    ASSERT_TRUE(browser.shows(kRows - 1, "type to filter")) << browser.screen().text();
    browser.type("\x03");
    browser.await();
    EXPECT_NE(output().find("Search Index x.txt: this is not an index file"), std::string::npos) << output();
}

}  // namespace
