// SPDX-License-Identifier: MIT
#include <MarlCore/Utilities/HardwareUtilities.h>

#include <MarlCore/Utilities/HardwareProbeImpl.h>

namespace marl {

unsigned int HardwareUtilities::cpuCount() {
    return HardwareProbe().cpuCount();
}

int HardwareUtilities::cpuClockSpeed() {
    return HardwareProbe().cpuClockSpeed();
}

bool HardwareUtilities::hasVectorUnit() {
    return HardwareProbe().hasVectorUnit();
}

std::uint32_t HardwareUtilities::physicalRAM() {
    return HardwareProbe().physicalRAM();
}

std::uint64_t HardwareUtilities::physicalMemory() {
    return HardwareProbe().physicalMemory();
}

bool HardwareUtilities::hasAudioOutput() {
    return HardwareProbe().hasAudioOutput();
}

}  // namespace marl
