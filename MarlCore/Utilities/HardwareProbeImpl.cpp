// SPDX-License-Identifier: MIT
#include <MarlCore/Utilities/HardwareProbeImpl.h>

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <fstream>
#include <iterator>
#include <limits>
#include <system_error>
#include <utility>

namespace marl {
namespace {

constexpr std::size_t kMostFileBytes = 65536;
constexpr std::string_view kBlanks = " \t\r";

/// Nominal and highest clock of the first processor, in kHz.
constexpr std::string_view kClockFiles[] = {"/sys/devices/system/cpu/cpu0/cpufreq/base_frequency",
                                            "/sys/devices/system/cpu/cpu0/cpufreq/cpuinfo_max_freq"};
constexpr std::string_view kProcessors = "/proc/cpuinfo";
constexpr std::string_view kSoundDevices = "/proc/asound/pcm";

/// Fields of /proc/cpuinfo with a clock in MHz: x86, PowerPC, z/Architecture, LoongArch.
constexpr std::string_view kClockFields[] = {"cpu MHz", "clock", "cpu MHz static", "CPU MHz"};

/// Fields of /proc/cpuinfo with words for what a processor can do, and the word for its vector unit.
constexpr struct {
    std::string_view field, word;
} kVectorUnits[] = {
    {"flags", "sse"},             // x86
    {"Features", "neon"},         // ARM, 32 bits
    {"Features", "asimd"},        // ARM, 64 bits
    {"cpu", "altivec"},           // PowerPC
    {"features", "vx"},           // z/Architecture
    {"ASEs implemented", "msa"},  // MIPS
    {"Features", "lsx"},          // LoongArch
};

/// Takes the text up to the separator, and that, off the front of `text`.
std::string_view cutOff(std::string_view& text, char separator) noexcept {
    const std::size_t length = std::min(text.find(separator), text.size());
    const std::string_view front = text.substr(0, length);
    text.remove_prefix(std::min(length + 1, text.size()));
    return front;
}

std::string_view trimmed(std::string_view text) noexcept {
    const std::size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

/// The whole number at the front of the text; 0 for none, or one that does not fit.
std::uint64_t numberAt(std::string_view text) noexcept {
    text = trimmed(text);
    std::uint64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() ? number : 0;
}

int asInt(std::uint64_t number) noexcept {
    constexpr std::uint64_t kMost = std::numeric_limits<int>::max();
    return static_cast<int>(std::min(number, kMost));
}

/// Calls `use(name, value)` for each "name : value" line until it returns true; false when it never does.
template <typename Use>
bool anyField(std::string_view text, Use use) {
    while (!text.empty()) {
        std::string_view line = cutOff(text, '\n');
        const std::string_view name = trimmed(cutOff(line, ':'));
        if (use(name, trimmed(line))) return true;
    }
    return false;
}

bool hasWord(std::string_view words, std::string_view wanted) noexcept {
    while (!words.empty()) {
        std::string_view group = cutOff(words, ' ');
        while (!group.empty())
            if (cutOff(group, ',') == wanted) return true;
    }
    return false;
}

/// RISC-V names its extensions in one word, single letters first: "rv64imafdcv_zicsr".
bool hasVectorExtension(std::string_view isa) noexcept {
    constexpr std::size_t kBaseLength = 4;  // "rv64"
    const std::string_view letters = cutOff(isa, '_');
    return letters.starts_with("rv") && letters.find('v', kBaseLength) != std::string_view::npos;
}

bool namesVectorUnit(std::string_view name, std::string_view value) noexcept {
    if (name == "isa") return hasVectorExtension(value);
    return std::ranges::any_of(
        kVectorUnits, [&](const auto& unit) { return unit.field == name && hasWord(value, unit.word); });
}

/// A line of the sound devices: "00-03: HDMI 0 : HDMI 0 : playback 1 : capture 1".
bool canPlay(std::string_view device) noexcept {
    while (!device.empty()) {
        std::string_view part = trimmed(cutOff(device, ':'));
        if (cutOff(part, ' ') == "playback" && numberAt(part) > 0) return true;
    }
    return false;
}

}  // namespace

HardwareProbe::HardwareProbe(std::string root, SystemValue systemValue)
    : m_root(std::move(root)), m_systemValue(systemValue) {}

std::string HardwareProbe::contentsOf(std::string_view path) const {
    std::ifstream file(m_root + std::string(path), std::ios::binary);
    std::string contents(kMostFileBytes, '\0');
    file.read(contents.data(), static_cast<std::streamsize>(contents.size()));
    contents.resize(static_cast<std::size_t>(file.gcount()));
    return contents;
}

unsigned int HardwareProbe::cpuCount() const {
    const long count = m_systemValue(_SC_NPROCESSORS_ONLN);
    return static_cast<unsigned int>(asInt(static_cast<std::uint64_t>(std::max(count, 0L))));
}

int HardwareProbe::cpuClockSpeed() const {
    for (const std::string_view path : kClockFiles)
        if (const std::uint64_t kHz = numberAt(contentsOf(path)); kHz > 0) return asInt(kHz / 1000);
    int clock = 0;
    anyField(contentsOf(kProcessors), [&](std::string_view name, std::string_view value) {
        if (std::ranges::find(kClockFields, name) != std::end(kClockFields)) clock = asInt(numberAt(value));
        return clock > 0;
    });
    return clock;
}

bool HardwareProbe::hasVectorUnit() const {
    return anyField(contentsOf(kProcessors), namesVectorUnit);
}

std::uint64_t HardwareProbe::physicalMemory() const {
    const long pages = m_systemValue(_SC_PHYS_PAGES), pageBytes = m_systemValue(_SC_PAGESIZE);
    if (pages <= 0 || pageBytes <= 0) return 0;
    constexpr std::uint64_t kMost = std::numeric_limits<std::uint64_t>::max();
    const auto count = static_cast<std::uint64_t>(pages), size = static_cast<std::uint64_t>(pageBytes);
    return count > kMost / size ? kMost : count * size;
}

std::uint32_t HardwareProbe::physicalRAM() const {
    constexpr std::uint64_t kMost = std::numeric_limits<std::uint32_t>::max();
    return static_cast<std::uint32_t>(std::min(physicalMemory(), kMost));
}

bool HardwareProbe::hasAudioOutput() const {
    const std::string contents = contentsOf(kSoundDevices);
    std::string_view devices = contents;
    while (!devices.empty())
        if (canPlay(cutOff(devices, '\n'))) return true;
    return false;
}

}  // namespace marl
