// SPDX-License-Identifier: MIT
/// \file
/// Where Linux says what machine it runs on.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include <unistd.h>

namespace marl {

/// Answers the questions of `HardwareUtilities` from files below a root folder and from `sysconf`; tests hand
/// in their own. Files are read up to 64 KiB, which is more than the first processor and all cards of a
/// machine take. [any thread]
class HardwareProbe {
public:
    using SystemValue = long (*)(int name);  ///< as `sysconf`: -1 for what it does not know

    /// `root` goes before "/proc" and "/sys".
    explicit HardwareProbe(std::string root = "", SystemValue systemValue = ::sysconf);

    unsigned int cpuCount() const;
    int cpuClockSpeed() const;
    bool hasVectorUnit() const;
    std::uint32_t physicalRAM() const;
    std::uint64_t physicalMemory() const;
    bool hasAudioOutput() const;

private:
    /// The beginning of the file, or nothing where there is none that can be read.
    std::string contentsOf(std::string_view path) const;

    std::string m_root;
    SystemValue m_systemValue;
};

}  // namespace marl
