// SPDX-License-Identifier: MIT
/// \file
/// A file that does not outlive the program, however that ends.
#pragma once

#include <array>
#include <csignal>
#include <string>

namespace marl::tool {

/// The path of a file, there or not yet, that is removed with this object, or by the signal of a closing
/// terminal, an impatient user or a `kill` that ends the program before. Signals that the program ignores
/// stay ignored. There is one at a time. [main thread]
class TemporaryFile {
public:
    explicit TemporaryFile(std::string path);
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    ~TemporaryFile();

    const std::string& path() const noexcept { return m_path; }

private:
    static constexpr std::array kDeadlySignals{SIGHUP, SIGINT, SIGTERM};

    std::string m_path;
    std::array<struct sigaction, kDeadlySignals.size()> m_actionsBefore{};
};

}  // namespace marl::tool
