// SPDX-License-Identifier: MIT
/// \file
/// The terminal as the browser uses it, and the signals that concern it.
#pragma once

#include "Screen.h"

#include <csignal>
#include <initializer_list>
#include <string>
#include <vector>

#include <termios.h>

namespace browser {

/// The terminal of the process, whatever its standard streams are. While this lives the terminal gives every
/// key at once and shows a screen of its own; then it is again as it was, which no exception prevents. [main
/// thread]
class Terminal {
public:
    /// Throws `std::system_error` where there is no terminal.
    Terminal();
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;
    ~Terminal();

    /// For `poll`; belongs to this object.
    int descriptor() const noexcept { return m_descriptor; }
    Size size() const noexcept;

    /// What was typed. Empty once the terminal has gone.
    std::string read() const;
    /// Shows the lines from the top on; only those that have changed are written. A character whose width the
    /// terminal sees otherwise spoils no other line.
    void show(const std::vector<std::string>& lines);
    /// Nothing is known of what is on the screen: the next `show` writes all of it.
    void forget() { m_shown.clear(); }

    /// Gives the terminal back, stops the job until the shell continues it, and takes the terminal again: at
    /// once where there is no shell to do so.
    void suspend();
    /// Takes the terminal again, after whoever had it meanwhile.
    void enter();

private:
    void leave() const noexcept;
    void write(const std::string& text) const noexcept;

    int m_descriptor;
    termios m_before{};
    std::vector<std::string> m_shown;
};

/// Signals as something to be read, while this lives. There is one at a time, made before any other thread.
/// [main thread]
class Signals {
public:
    /// Throws `std::system_error` when the system has no descriptors left.
    explicit Signals(std::initializer_list<int> signals);
    Signals(const Signals&) = delete;
    Signals& operator=(const Signals&) = delete;
    ~Signals();

    int descriptor() const noexcept { return m_descriptor; }
    /// The next one that has come; 0: none.
    int next() const noexcept;

private:
    sigset_t m_before{};
    int m_descriptor = -1;
};

}  // namespace browser
