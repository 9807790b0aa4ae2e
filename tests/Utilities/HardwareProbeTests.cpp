// SPDX-License-Identifier: MIT
#include <MarlCore/Utilities/HardwareProbeImpl.h>
#include <MarlCore/Utilities/HardwareUtilities.h>

#include <gtest/gtest.h>

#include <climits>
#include <map>

#include "support/TemporaryFolder.h"

namespace marl {
namespace {

/// What the system is to say; -1 for the rest.
std::map<int, long> systemValues;

long systemValue(int name) {
    const auto value = systemValues.find(name);
    return value == systemValues.end() ? -1 : value->second;
}

constexpr char kBaseClock[] = "sys/devices/system/cpu/cpu0/cpufreq/base_frequency";
constexpr char kMostClock[] = "sys/devices/system/cpu/cpu0/cpufreq/cpuinfo_max_freq";
constexpr char kProcessors[] = "proc/cpuinfo";
constexpr char kSound[] = "proc/asound/pcm";

const std::string kLongLine(1 << 20, 'x');

TEST(HardwareProbe, ReadsTheClock) {
    const struct {
        std::map<std::string, std::string> files;
        int megahertz;
    } cases[] = {
        {{}, 0},
        {{{kBaseClock, "2400999\n"}, {kMostClock, "3600000\n"}, {kProcessors, "cpu MHz : 800.1\n"}}, 2400},
        {{{kMostClock, "3600000\n"}, {kProcessors, "cpu MHz : 800.1\n"}}, 3600},
        {{{kMostClock, "0\n"}, {kProcessors, "processor\t: 0\ncpu MHz\t\t: 2445.999\ncpu MHz\t: 9\n"}}, 2445},
        {{{kProcessors, "processor : 0\nclock\t\t: 1416.666MHz\n"}}, 1416},
        {{{kProcessors, "processor 0: version = FF\ncpu MHz static  : 5200\ncpu MHz dynamic : 1\n"}}, 5200},
        {{{kBaseClock, "18446744073709551615\n"}}, INT_MAX},
        {{{kBaseClock, "18446744073709551616\n"}, {kMostClock, "-1\n"}, {kProcessors, "cpu MHz : x\n"}}, 0},
        {{{kProcessors, "cpu MHz :\ncpu MHz : 99999999999999999999\nclock : 7"}}, 7},
        {{{kProcessors, kLongLine + "\ncpu MHz : 7\n"}}, 0},
        {{{kProcessors, "cpu MHz : 7\n" + kLongLine}}, 7},
        {{{kProcessors + std::string("/folder"), ""}, {kBaseClock, std::string("\0\xFF\n1", 4)}}, 0},
    };
    for (const auto& [files, megahertz] : cases) {
        const support::TemporaryFolder root;
        std::string shown;
        for (const auto& [name, text] : files) root.write(name, text), shown += text.substr(0, 100);
        EXPECT_EQ(HardwareProbe(root.path(), systemValue).cpuClockSpeed(), megahertz) << shown;
    }
}

TEST(HardwareProbe, KnowsVectorUnits) {
    const struct {
        std::string processors;
        bool expected;
    } cases[] = {
        {"", false},
        {"flags\t\t: fpu mmx fxsr sse sse2\n", true},
        {"flags\t\t: fpu mmx fxsr sse2x nosse\n", false},
        {"bugs\t\t: sse\nflags : fpu\nmodel name : sse\n", false},
        {"Features\t: half thumb neon vfpv4 \n", true},
        {"Features\t: fp asimd evtstrm\n", true},
        {"Features\t: half thumb vfpv3\n", false},
        {"cpu\t\t: 7447A, altivec supported\n", true},
        {"cpu\t\t: 750FX\n", false},
        {"features\t: esan3 zarch vx vxd\n", true},
        {"ASEs implemented\t: vz msa\n", true},
        {"isa\t\t: rv64imafdcv_zicsr\n", true},
        {"isa\t\t: rv64imafdc_zicsr_svinval\n", false},
        {"isa : rv", false},
        {":::\n:\nflags", false},
        {kLongLine + " sse\nflags : sse\n", false},
    };
    for (const auto& [processors, expected] : cases) {
        const support::TemporaryFolder root;
        root.write(kProcessors, processors);
        EXPECT_EQ(HardwareProbe(root.path(), systemValue).hasVectorUnit(), expected)
            << processors.substr(0, 100);
    }
}

TEST(HardwareProbe, LooksForDevicesThatPlay) {
    const struct {
        std::string devices;
        bool expected;
    } cases[] = {
        {"", false},
        {"00-00: ALC892 Analog : ALC892 Analog : playback 1 : capture 1\n", true},
        {"00-02: Mic : Mic : capture 1\n00-03: HDMI 0 : HDMI 0 : playback 1\n", true},
        {"00-02: Mic : Mic : capture 1\n", false},
        {"00-02: playback : playback device : playback 0 : capture 1\n", false},
        {"playback", false},
        {kLongLine, false},
    };
    for (const auto& [devices, expected] : cases) {
        const support::TemporaryFolder root;
        root.write(kSound, devices);
        EXPECT_EQ(HardwareProbe(root.path(), systemValue).hasAudioOutput(), expected)
            << devices.substr(0, 100);
    }
}

TEST(HardwareProbe, CountsProcessorsAndMemory) {
    const struct {
        std::map<int, long> values;
        unsigned int processors;
        std::uint32_t ram;
    } cases[] = {
        {{}, 0, 0},
        {{{_SC_NPROCESSORS_ONLN, 12}, {_SC_PHYS_PAGES, 262144}, {_SC_PAGESIZE, 4096}}, 12, 1U << 30},
        {{{_SC_PHYS_PAGES, 1048575}, {_SC_PAGESIZE, 4096}}, 0, 4294963200},
        {{{_SC_PHYS_PAGES, 1048576}, {_SC_PAGESIZE, 4096}}, 0, 4294967295},
        {{{_SC_NPROCESSORS_ONLN, LONG_MAX}, {_SC_PHYS_PAGES, LONG_MAX}, {_SC_PAGESIZE, 65536}},
         INT_MAX,
         4294967295},
        {{{_SC_NPROCESSORS_ONLN, LONG_MIN}, {_SC_PHYS_PAGES, LONG_MIN}, {_SC_PAGESIZE, 4096}}, 0, 0},
        {{{_SC_PHYS_PAGES, 10}}, 0, 0},
    };
    for (const auto& [values, processors, ram] : cases) {
        systemValues = values;
        const HardwareProbe probe("/nowhere", systemValue);
        EXPECT_EQ(probe.cpuCount(), processors);
        EXPECT_EQ(probe.physicalRAM(), ram);
    }
    systemValues = {{_SC_PHYS_PAGES, 1048576}, {_SC_PAGESIZE, 65536}};
    EXPECT_EQ(HardwareProbe("/nowhere", systemValue).physicalMemory(), std::uint64_t{1} << 36);
    systemValues = {{_SC_PHYS_PAGES, LONG_MAX}, {_SC_PAGESIZE, LONG_MAX}};
    EXPECT_GE(HardwareProbe("/nowhere", systemValue).physicalMemory(), std::uint64_t{1} << 60);
}

TEST(HardwareUtilities, DescribeThisMachine) {
    EXPECT_GE(HardwareUtilities::cpuCount(), 1U);
    EXPECT_GE(HardwareUtilities::cpuClockSpeed(), 0);
    EXPECT_GT(HardwareUtilities::physicalRAM(), 1U << 20);
    EXPECT_GE(HardwareUtilities::physicalMemory(), HardwareUtilities::physicalRAM());
#if defined(__x86_64__) || defined(__aarch64__)
    EXPECT_TRUE(HardwareUtilities::hasVectorUnit()) << "part of every such processor";
#endif
}

}  // namespace
}  // namespace marl
