// SPDX-License-Identifier: MIT
/// \file
/// What machine this is.
#pragma once

#include <MarlCore/platform/Export.h>

#include <cstdint>

namespace marl {

/// Asks the system, at every call; nothing is kept. What the system does not say is 0 or false, and no call
/// throws anything but for a lack of memory. [any thread]
class MARLCORE_EXPORT HardwareUtilities {
public:
    HardwareUtilities() = delete;

    /// Processors that programs can run on.
    static unsigned int cpuCount();

    /// The clock of the first processor in whole MHz: the one that it is sold with, else its highest one,
    /// else that of this moment. 0 where the kernel tells none, as on most ARM machines in a container.
    static int cpuClockSpeed();

    /// Whether the processor calculates with several numbers at once (SSE, AltiVec, NEON and their like).
    static bool hasVectorUnit();

    /// Installed memory in bytes, and 4294967295 where there is more: hosts keep it in 32 bits.
    static std::uint32_t physicalRAM();
    /// The same without that limit.
    static std::uint64_t physicalMemory();

    /// Whether there is a sound card that plays. Sound servers may lead to other devices, over the network
    /// for example, that are not counted.
    static bool hasAudioOutput();
};

}  // namespace marl
