// SPDX-License-Identifier: MIT
/// \file
/// Runs the built program as a shell would.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>

namespace support {

/// What the program's standard output is.
enum class StandardOutput {
    kCaptured,
    kFullDevice,   ///< every write fails with ENOSPC
    kClosedEarly,  ///< a pipe whose reader leaves after 10 bytes
    kTerminal,
};

struct Surroundings {
    StandardOutput standardOutput = StandardOutput::kCaptured;
    std::optional<unsigned long> mostFileBytes = {};  ///< what a file may grow to
    bool ignoresBrokenPipes = false;                  ///< SIGPIPE is ignored, as some parents leave it
    std::string folder = ".";                         ///< where the program starts
    std::string program = {};                         ///< its path; empty: marl
    int standardInput = -1;                           ///< a descriptor; -1: there is nothing to read
    bool obeysPermissions = false;                    ///< a folder closed to its owner is so to root too
};

struct Outcome {
    int status = 0;  ///< the exit status; -1 when a signal ended the program
    int signal = 0;
    std::string out, err;
};

/// Waits for the program's end. Throws `std::system_error` when it cannot be started.
Outcome runMarl(const std::vector<std::string>& arguments, const Surroundings& surroundings = {});

/// The program beside the test, its output captured. Killed when it outlives this object.
class RunningMarl {
public:
    explicit RunningMarl(const std::vector<std::string>& arguments, const Surroundings& surroundings = {});
    ~RunningMarl();

    void sendSignal(int signal) const;
    /// What it has printed so far.
    std::string out() const;
    std::string err() const;
    /// Waits for its end, and says how that was.
    Outcome await();

private:
    struct Captures;
    std::unique_ptr<Captures> m_captures;
    pid_t m_child;
};

}  // namespace support
