// SPDX-License-Identifier: MIT
/// \file
/// The program: prepares the process, and says what went wrong.
#include "marl/CommandLine.h"
#include "marl/Output.h"

#include <csignal>
#include <iostream>

#include <fcntl.h>
#include <unistd.h>

namespace {

/// A program may be started with some of them closed. What it opens next must not be taken for its input or
/// output.
void reserveStandardDescriptors() {
    while (true) {
        const int descriptor = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
        if (descriptor < 0) return;
        if (descriptor > STDERR_FILENO) {
            ::close(descriptor);
            return;
        }
    }
}

}  // namespace

int main(int argc, char** argv) {
    reserveStandardDescriptors();
    // A limit on the size of files then fails a write like a full disk does, instead of ending the program.
    std::signal(SIGXFSZ, SIG_IGN);
    try {
        return marl::tool::runCommandLine(argc, argv);
    } catch (const std::exception& exception) {
        std::cerr << "marl: " << marl::tool::messageOf(exception, "failed") << "\n";
        return marl::tool::kFailed;
    }
}
