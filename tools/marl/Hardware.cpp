// SPDX-License-Identifier: MIT
#include "marl/Hardware.h"

#include "marl/Output.h"
#include "marl/TextTable.h"

#include <MarlCore/Utilities/HardwareUtilities.h>

#include <ostream>

namespace marl::tool {
namespace {

constexpr char kUnknown[] = "unknown";

json machineJSON(const Machine& machine) {
    return {{"cpuCount", machine.cpuCount},
            {"cpuClockSpeed", machine.cpuClockSpeed},
            {"hasVectorUnit", machine.hasVectorUnit},
            {"physicalRAM", machine.physicalRAM},
            {"physicalMemory", machine.physicalMemory},
            {"hasAudioOutput", machine.hasAudioOutput}};
}

std::string processorText(const Machine& machine) {
    const char* const vector = machine.hasVectorUnit ? ", with a vector unit" : "";
    return (machine.cpuCount == 0 ? kUnknown : std::to_string(machine.cpuCount)) + vector;
}

std::string clockText(int megahertz) {
    if (megahertz == 0) return kUnknown;
    return megahertz < 1000 ? formatted("%d MHz", megahertz) : formatted("%.2f GHz", megahertz / 1000.0);
}

std::string memoryText(std::uint64_t bytes) {
    constexpr double kMebibyte = 1024.0 * 1024.0, kGibibyte = 1024.0 * kMebibyte;
    if (bytes == 0) return kUnknown;
    const auto count = static_cast<double>(bytes);
    return count < kGibibyte ? formatted("%.0f MiB", count / kMebibyte)
                             : formatted("%.1f GiB", count / kGibibyte);
}

}  // namespace

Machine thisMachine() {
    return {.cpuCount = HardwareUtilities::cpuCount(),
            .cpuClockSpeed = HardwareUtilities::cpuClockSpeed(),
            .hasVectorUnit = HardwareUtilities::hasVectorUnit(),
            .physicalRAM = HardwareUtilities::physicalRAM(),
            .physicalMemory = HardwareUtilities::physicalMemory(),
            .hasAudioOutput = HardwareUtilities::hasAudioOutput()};
}

int printMachine(const Machine& machine, bool isJSON, std::ostream& out, std::ostream& err) {
    if (isJSON) return printJSON(out, err, machineJSON(machine));
    out << "processors    " << processorText(machine) << "\n"
        << "clock         " << clockText(machine.cpuClockSpeed) << "\n"
        << "memory        " << memoryText(machine.physicalMemory) << "\n"
        << "audio output  " << (machine.hasAudioOutput ? "yes" : "none found") << "\n";
    return flushed(out, err) ? kDone : kFailed;
}

}  // namespace marl::tool
