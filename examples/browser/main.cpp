// SPDX-License-Identifier: MIT
/// \file
/// A loop browser for the terminal, over the indexes that `marl index` makes:
///
///     browser [--index-dir DIR] [FILTER]
///     aplay "$(browser)"
///
/// Type to filter: loops remain in whose path, key, tempo, meter, instrument, genre or descriptors each of
/// the words occurs. Enter prints the path of the chosen loop on standard output and ends with status 0;
/// Escape and Ctrl-C end with 1. Without --index-dir the indexes are those of MARL_INDEX_DIR, or the user's
/// own.
#include "Browser.h"
#include "Library.h"
#include "Terminal.h"

#include <MarlCore/Common/MarlPreferences.h>
#include <MarlCore/platform/AbsoluteTime.h>
#include <MarlCore/platform/RunLoop.h>

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <span>
#include <string>
#include <string_view>
#include <system_error>

#include <poll.h>

namespace {

using browser::Browser;
using browser::Key;
using Wish = Browser::Wish;

constexpr int kWrongUsage = 2;
constexpr double kEscapeDelay = 0.05;  // seconds after which an escape is the key of that name

/// How a session has ended: by a wish, or by a signal.
struct Ending {
    Wish wish = Wish::kGoOn;
    int signal = 0;

    explicit operator bool() const { return wish == Wish::kQuit || wish == Wish::kChoose || signal != 0; }
};

/// The window in the terminal, from the first picture to the end.
class Session {
public:
    Session(Browser& browser, const browser::Signals& signals, bool isColoured)
        : m_browser(browser), m_signals(signals), m_isColoured(isColoured) {
        m_browser.resize(m_terminal.size());
    }

    /// Waits for keys, signals and timers, and shows what comes of them.
    Ending run() {
        auto& timers = platform::RunLoop::current();
        Ending ending;
        while (!ending) {
            m_terminal.show(m_browser.draw(m_isColoured));
            pollfd waiting[] = {{m_terminal.descriptor(), POLLIN, 0},
                                {m_signals.descriptor(), POLLIN, 0},
                                {timers.fileDescriptor(), POLLIN, 0}};
            const int ready = ::poll(waiting, 3, millisecondsToWait());
            if (ready < 0 && errno != EINTR) return {Wish::kQuit};
            if (ready < 0) continue;
            if (waiting[2].revents != 0) timers.fireDueTimers(platform::AbsoluteTimeGetCurrent());
            if (waiting[1].revents != 0) ending.signal = obeySignals();
            if (!ending && waiting[0].revents != 0) ending = readKeys();
            if (!ending && millisecondsToWait() == 0) ending = press(m_keys.finish());
        }
        return ending;
    }

private:
    /// Until an escape is the key of that name, however many timers fall due meanwhile; -1: none has come.
    int millisecondsToWait() const {
        if (!m_keys.isWaiting()) return -1;
        const double left = m_lastRead + kEscapeDelay - platform::AbsoluteTimeGetCurrent();
        return left > 0 ? static_cast<int>(std::ceil(left * 1000)) : 0;
    }

    /// All keys that have come are pressed before the next picture, so that none lags behind.
    Ending readKeys() {
        const std::string bytes = m_terminal.read();
        m_lastRead = platform::AbsoluteTimeGetCurrent();
        return bytes.empty() ? Ending{Wish::kQuit} : press(m_keys.feed(bytes));
    }

    Ending press(const std::vector<Key>& keys) {
        for (const Key& key : keys) {
            const Ending ending{m_browser.press(key)};
            if (ending) return ending;
            if (ending.wish == Wish::kSuspend) m_terminal.suspend();
            if (ending.wish == Wish::kRedraw) m_terminal.forget();
        }
        return {};
    }

    /// The signal that ends the session; 0: none.
    int obeySignals() {
        while (const int signal = m_signals.next()) {
            if (signal == SIGTSTP)
                m_terminal.suspend();
            else if (signal == SIGCONT)
                m_terminal.enter();
            else if (signal != SIGWINCH)
                return signal;
            m_terminal.forget();
            m_browser.resize(m_terminal.size());
        }
        return 0;
    }

    Browser& m_browser;
    const browser::Signals& m_signals;
    const bool m_isColoured;
    browser::Terminal m_terminal;
    browser::KeyDecoder m_keys;
    double m_lastRead = 0;  // when keys came last, in seconds
};

struct Options {
    std::string indexFolder;
    std::string filter;
    bool areWrong = false;
};

Options optionsFrom(std::span<char*> arguments) {
    Options options;
    for (std::size_t i = 1; i < arguments.size(); ++i) {
        const std::string_view argument = arguments[i];
        if (argument == "--index-dir" && i + 1 < arguments.size())
            options.indexFolder = arguments[++i];
        else if (argument.starts_with("--") || !options.filter.empty())
            options.areWrong = true;
        else
            options.filter = argument;
    }
    return options;
}

bool isColourWanted() {
    const char* const noColour = std::getenv("NO_COLOR");
    return !noColour || *noColour == '\0';
}

Ending runSession(Browser& browser) {
    const browser::Signals signals{SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGTSTP, SIGCONT, SIGWINCH};
    return Session(browser, signals, isColourWanted()).run();
}

void tell(const std::string& problem) {
    std::fprintf(stderr, "browser: %s\n", problem.c_str());
}

int browse(const Options& options) {
    marl::MarlPreferences::initializeDefaults();
    Browser browser(browser::loadLoops(browser::indexFolder(options.indexFolder), tell));
    browser.press({Key::Code::kText, options.filter});
    const Ending ending = runSession(browser);
    if (ending.signal != 0) {
        ::signal(ending.signal, SIG_DFL);
        ::raise(ending.signal);
    }
    if (ending.wish != Wish::kChoose) return EXIT_FAILURE;
    if (std::puts(browser.list().chosen()->path.c_str()) < 0 || std::fflush(stdout) != 0)
        throw std::system_error(errno, std::generic_category(), "standard output");
    return EXIT_SUCCESS;
}

}  // namespace

int main(int argc, char** argv) {
    const Options options = optionsFrom({argv, static_cast<std::size_t>(argc)});
    if (options.areWrong) {
        std::fprintf(stderr, "usage: browser [--index-dir DIR] [FILTER]\n");
        return kWrongUsage;
    }
    try {
        return browse(options);
    } catch (const std::exception& exception) {
        tell(exception.what());
        return EXIT_FAILURE;
    }
}
