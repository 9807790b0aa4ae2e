// SPDX-License-Identifier: MIT
#include <tools/marl/Hardware.h>
#include <tools/marl/Output.h>

#include <gtest/gtest.h>

#include <sstream>

#include "tools/Program.h"

namespace marl::tool {
namespace {

std::string printed(const Machine& machine, bool isJSON) {
    std::ostringstream out, err;
    EXPECT_EQ(printMachine(machine, isJSON, out, err), kDone);
    return out.str() + err.str();
}

TEST(Hardware, IsShownToPeople) {
    const struct {
        Machine machine;
        const char *processors, *clock, *memory, *output;
    } cases[] = {
        {{}, "unknown", "unknown", "unknown", "none found"},
        {{8, 3600, true, 4294967295, 33554432000, true},
         "8, with a vector unit",
         "3.60 GHz",
         "31.2 GiB",
         "yes"},
        {{1, 999, false, 536870912, 536870912, false}, "1", "999 MHz", "512 MiB", "none found"},
    };
    for (const auto& [machine, processors, clock, memory, output] : cases) {
        const std::string expected = std::string("processors    ") + processors + "\nclock         " + clock +
                                     "\nmemory        " + memory + "\naudio output  " + output + "\n";
        EXPECT_EQ(printed(machine, false), expected);
    }
}

TEST(Hardware, IsToldToPrograms) {
    EXPECT_EQ(json::parse(printed({8, 3600, true, 4294967295, 33554432000, false}, true)).dump(),
              R"({"cpuCount":8,"cpuClockSpeed":3600,"hasVectorUnit":true,"physicalRAM":4294967295,)"
              R"("physicalMemory":33554432000,"hasAudioOutput":false})");
    const support::Outcome outcome = support::runMarl({"hardware", "--json"});
    EXPECT_EQ(outcome.status, kDone) << outcome.err;
    EXPECT_GE(json::parse(outcome.out).at("cpuCount"), 1);
    EXPECT_EQ(support::runMarl({"hardware"}, {.standardOutput = support::StandardOutput::kFullDevice}).status,
              kFailed);
}

}  // namespace
}  // namespace marl::tool
