// SPDX-License-Identifier: MIT
/// \file
/// Runs the built program as a shell would.
#pragma once

#include <optional>
#include <string>
#include <vector>

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
};

struct Outcome {
    int status = 0;  ///< the exit status; -1 when a signal ended the program
    int signal = 0;
    std::string out, err;
};

/// Waits for the program's end. Throws `std::system_error` when it cannot be started.
Outcome runMarl(const std::vector<std::string>& arguments, const Surroundings& surroundings = {});

}  // namespace support
