// SPDX-License-Identifier: MIT
#include <MarlCore/Utilities/PitchMath.h>

#include <gtest/gtest.h>

#include <bit>
#include <climits>
#include <cmath>
#include <cstdint>
#include <limits>

namespace {

TEST(PitchMath, TransposesByTheFixedFactors) {
    constexpr std::uint32_t kBits[] = {0x3f800000, 0x3f879c00, 0x3f8fac80, 0x3f983780,
                                       0x3fa14500, 0x3faadc00, 0x3fb50480, 0x3fbfc880,
                                       0x3fcb2f80, 0x3fd74480, 0x3fe41180, 0x3ff1a180};
    for (int semitone = 0; semitone < 12; ++semitone) {
        const auto factor = std::bit_cast<float>(kBits[semitone]);
        EXPECT_NEAR(factor, std::exp2(semitone / 12.0), 1.5e-5 * factor);
        for (int octave = -160; octave <= 140; ++octave)
            EXPECT_EQ(semitonesToPitch(12 * octave + semitone), std::ldexp(factor, octave))
                << semitone << " + 12 * " << octave;
    }
    EXPECT_EQ(semitonesToPitch(INT_MIN), 0.0F);
    EXPECT_EQ(semitonesToPitch(INT_MAX), std::numeric_limits<float>::infinity());
}

TEST(PitchMath, ShiftsKeysTheShortestWay) {
    for (int from = 1; from <= 36; ++from) {
        for (int to = 1; to <= 36; ++to) {
            const int shift = calculateKeyShift(from, to);
            EXPECT_TRUE(shift >= -6 && shift <= 5) << from << " -> " << to;
            EXPECT_EQ((from + shift - to) % 12, 0) << from << " -> " << to;
        }
        EXPECT_EQ(calculateKeyShift(from, 0), 0);
        EXPECT_EQ(calculateKeyShift(0, from), 0);
    }
    const struct {
        int from, to, shift;
    } cases[] = {{1, 7, -6}, {7, 1, -6}, {1, 6, 5}, {INT_MIN, INT_MAX, 3}, {-1, 11, 0}, {-11, 11, 10}};
    for (const auto& [from, to, shift] : cases) EXPECT_EQ(calculateKeyShift(from, to), shift) << from;
}

TEST(PitchMath, FindsTheNoteOfAKey) {
    const struct {
        int key, note;
    } cases[] = {{0, 57}, {1, 58}, {11, 68}, {12, 0}, {INT_MAX, 0}, {-1, 56}, {INT_MIN, INT_MIN + 57}};
    for (const auto& [key, note] : cases) EXPECT_EQ(convertModelsKeyToMidiNote(key), note) << key;
}

}  // namespace
