// SPDX-License-Identifier: MIT
/// \file
/// `marl hardware`: processor, memory and audio output of this machine.
#pragma once

#include <cstdint>
#include <iosfwd>

namespace marl::tool {

/// What `HardwareUtilities` says of a machine, 0 and false for what it does not know.
struct Machine {
    unsigned int cpuCount = 0;
    int cpuClockSpeed = 0;  ///< MHz
    bool hasVectorUnit = false;
    std::uint32_t physicalRAM = 0;     ///< bytes, as far as 32 bits hold them
    std::uint64_t physicalMemory = 0;  ///< bytes
    bool hasAudioOutput = false;
};

Machine thisMachine();

/// Prints a line for each thing, or one JSON object. Returns the exit status.
int printMachine(const Machine& machine, bool isJSON, std::ostream& out, std::ostream& err);

}  // namespace marl::tool
