// SPDX-License-Identifier: MIT
#include <MarlCore/Common/MarlColors.h>
#include <MarlCore/Common/MarlPreferences.h>
#include <MarlCore/Common/MarlTextAttributes.h>
#include <MarlCore/platform/Bundle.h>

#include <gtest/gtest.h>

#include <concepts>
#include <cstdlib>
#include <limits>
#include <map>
#include <memory>
#include <vector>

#include "support/EnvironmentVariable.h"
#include "support/TemporaryFolder.h"

namespace marl {
namespace {

using platform::Color;
using platform::PropertyList;
using Type = PropertyList::Type;

/// The settings of this process lie in a folder of their own.
class Preferences : public testing::Test {
protected:
    static void SetUpTestSuite() {
        s_home = std::make_unique<support::TemporaryFolder>();
        s_variable =
            std::make_unique<support::EnvironmentVariable>("XDG_CONFIG_HOME", s_home->path().c_str());
    }
    static void TearDownTestSuite() {
        s_variable.reset();
        s_home.reset();
    }

    static PropertyList inFile(std::string_view key) {
        return PropertyList::load(s_home->path("marlcore/preferences.plist"))[key];
    }

    static std::unique_ptr<support::TemporaryFolder> s_home;
    static std::unique_ptr<support::EnvironmentVariable> s_variable;
};

std::unique_ptr<support::TemporaryFolder> Preferences::s_home;
std::unique_ptr<support::EnvironmentVariable> Preferences::s_variable;

std::vector<std::string_view> listOf(std::same_as<std::string_view> auto... names) {
    return {names...};
}

/// The keys by the type that their users read.
const std::map<Type, std::vector<std::string_view>> kKeys = {
    {Type::kReal,
     listOf(MarlDefaultSampleRateKey, MarlDefaultSongDurationKey, MarlDefaultPatternDurationKey,
            MarlDefaultRowGainKey, MarlDefaultRowPanKey, MarlDefaultMasterGainKey, MarlDefaultMasterPanKey,
            MarlMinimumGainKey, MarlMaximumGainKey, MarlMinimumPanKey, MarlMaximumPanKey, MarlMinimumTempoKey,
            MarlMaximumTempoKey, MarlDefaultTempoKey, MarlDefaultLoopRangeStartKey,
            MarlDefaultLoopRangeEndKey, MarlHorizontalZoomFactorKey, MarlVerticalZoomFactorKey,
            MarlMinimumPixelsPerBeatKey, MarlDefaultPixelsPerBeatKey, MarlDefaultVerticalZoomKey,
            MarlDefaultPatternRowHeightKey, MarlDefaultTrackHeightKey, MarlAudioSectionMarginKey,
            MarlAudioSectionGrowMarginKey, MarlAudioSectionLabelFontSizeKey, MarlWaveformOpacityKey,
            MarlGhostedAudioSectionOpacityKey, MarlPatternRowHeightKey, MarlPatternMarginKey,
            MarlPatternGrowMarginKey, MarlPatternLabelFontSizeKey, MarlVideoRowHeightKey,
            MarlBeatsRulerHeightKey, MarlBeatsLabelFontSizeKey, MarlTickHeightKey, MarlSecondsRulerHeightKey,
            MarlSecondsLabelFontSizeKey, MarlTimelineAutoScrollRateKey, MarlHorizontalArrowScrollAmountKey,
            MarlVerticalArrowScrollAmountKey, EffectParameterTextFieldWidth, MarlFadeTimeKey,
            MarlMaxRecordingDurationKey)},
    {Type::kInteger,
     listOf(MarlDefaultBitDepthKey, MarlNumberOfBeatsPerMeasureKey, MarlDefaultNumberOfRowsKey,
            MarlDefaultTransposeKey, MarlMinimumTransposeKey, MarlMaximumTransposeKey, MarlDefaultBaseKeyKey,
            MarlDefaultTimeSignatureTopKey, MarlDefaultTimeSignatureBottomKey, MarlDefaultQuantizationKey,
            MarlPeaksTableIntervalKey, MarlFileBrowserSelectedTabKey, MarlFileBrowserSelectedSearchTypeKey,
            MarlSearchResultCountKey)},
    {Type::kBoolean,
     listOf(MarlTruncateSectionNamesKey, MarlScaleMovieViewKey, MarlDefaultSnapToMarkersKey,
            MarlDefaultSnappingKey, MarlFileBrowserFileInfoVisibleKey, MarlSearchKeepCloseToProjectKeyKey,
            MarlOpenEffectWindowKey, BPOpenPanelOnLaunchKey, BPSwitchAfterConvertKey)},
    {Type::kString,
     listOf(MarlDocumentStartupBehaviorKey, MarlLastUsedDocumentPathKey, MarlDefaultRecordingPathKey,
            MarlInputDeviceNameKey, MarlMonitorDeviceNameKey, MarlExportStyle)},
    {Type::kArray, listOf(MarlFileBrowserCustomButtonsKey, MarlFileBrowserFavoritesKey)},
    {Type::kDictionary, listOf(MarlWindowLayoutKey)},
};

TEST_F(Preferences, HaveADefaultOfTheRightTypeForEachKey) {
    const auto path = platform::Bundle::pathForResource("Default Values", "plist");
    ASSERT_TRUE(path);
    const PropertyList defaults = PropertyList::load(*path);
    std::size_t count = 0;
    for (const auto& [type, keys] : kKeys) {
        count += keys.size();
        for (const std::string_view key : keys) {
            ASSERT_TRUE(defaults.find(key)) << key;
            EXPECT_EQ(defaults[key].type(), type) << key;
        }
    }
    EXPECT_EQ(defaults.asDictionary()->size(), count);  // and nothing else
}

TEST_F(Preferences, StartWithDefaultsThatFitTogether) {
    MarlPreferences::initializeDefaults();
    const auto real = MarlPreferences::floatForKey;
    const auto integer = MarlPreferences::intForKey;
    EXPECT_GT(integer(MarlPeaksTableIntervalKey), 0);
    EXPECT_GT(real(MarlWaveformOpacityKey), 0);
    EXPECT_LE(real(MarlWaveformOpacityKey), 1);
    const struct {
        std::string_view least, value, most;
    } ranges[] = {{MarlMinimumGainKey, MarlDefaultRowGainKey, MarlMaximumGainKey},
                  {MarlMinimumGainKey, MarlDefaultMasterGainKey, MarlMaximumGainKey},
                  {MarlMinimumPanKey, MarlDefaultRowPanKey, MarlMaximumPanKey},
                  {MarlMinimumPanKey, MarlDefaultMasterPanKey, MarlMaximumPanKey},
                  {MarlMinimumTempoKey, MarlDefaultTempoKey, MarlMaximumTempoKey},
                  {MarlMinimumTransposeKey, MarlDefaultTransposeKey, MarlMaximumTransposeKey},
                  {MarlMinimumPixelsPerBeatKey, MarlDefaultPixelsPerBeatKey, MarlDefaultSampleRateKey}};
    for (const auto& [least, value, most] : ranges) {
        EXPECT_LE(real(least), real(value)) << value;
        EXPECT_LE(real(value), real(most)) << value;
    }
    EXPECT_EQ(MarlPreferences::stringForKey(MarlDocumentStartupBehaviorKey), kMarlDocumentStartupLastUsed);
    EXPECT_GT(MarlWaveformColor.alpha(), 0.999f);
}

TEST_F(Preferences, KeepWhatIsSet) {
    MarlPreferences::initializeDefaults();
    MarlPreferences::setObject(PropertyList::Data(2), "object");
    MarlPreferences::setString("Mic 1", "text");
    MarlPreferences::setDict({{"k", 1}}, "dictionary");
    MarlPreferences::setArray({1, 2}, "array");
    MarlPreferences::setFloat(0.1f, "float");
    MarlPreferences::setInt(-3, "int");
    MarlPreferences::setBool(true, "bool");
    EXPECT_EQ(MarlPreferences::objectForKey("object"), PropertyList::Data(2));
    EXPECT_EQ(MarlPreferences::stringForKey("text"), "Mic 1");
    EXPECT_EQ(MarlPreferences::dictForKey("dictionary"), PropertyList::Dictionary({{"k", 1}}));
    EXPECT_EQ(MarlPreferences::arrayForKey("array"), (PropertyList::Array{1, 2}));
    EXPECT_EQ(MarlPreferences::floatForKey("float"), 0.1f);
    EXPECT_EQ(MarlPreferences::intForKey("int"), -3);
    EXPECT_TRUE(MarlPreferences::boolForKey("bool"));
    EXPECT_EQ(inFile("text"), "Mic 1");
    EXPECT_EQ(inFile("int"), -3);
    MarlPreferences::setObject(std::int64_t{1} << 40, "int");
    EXPECT_EQ(MarlPreferences::intForKey("int"), std::numeric_limits<int>::max());
}

TEST_F(Preferences, KeepColours) {
    const Color color(0.1f, 0.2f, 0.3f, 0.4f);
    MarlPreferences::setColor(color, "colour");
    EXPECT_EQ(MarlPreferences::colorForKey("colour"), color);
    MarlPreferences::setString("red", "no colour");
    MarlPreferences::setObject(PropertyList::Data(5), "no archive");
    for (const char* const key : {"missing", "no colour", "no archive"})
        EXPECT_EQ(MarlPreferences::colorForKey(key), std::nullopt) << key;
}

TEST_F(Preferences, SetTheOpacityOfGhosts) {
    for (const auto& [set, shown] : {std::pair(0.25f, 0.25f), {7.0f, 1.0f}, {0.0f, 0.5f}}) {
        MarlPreferences::setFloat(set, MarlGhostedAudioSectionOpacityKey);
        MarlPreferences::initializeDefaults();
        EXPECT_EQ(MarlGhostedSectionLabelAttributes.color.alpha(), shown);
    }
}

TEST_F(Preferences, AreNothingWithoutTheirResource) {
    GTEST_FLAG_SET(death_test_style, MARL_DEATH_TEST_STYLE);  // no defaults are registered yet
    const auto valuesWith = [](const char* resource) {
        const support::TemporaryFolder resources, home;
        resources.write("Default Values.plist", resource);
        ::setenv("MARLCORE_RESOURCES", resources.path().c_str(), 1);
        ::setenv("XDG_CONFIG_HOME", home.path().c_str(), 1);
        MarlPreferences::initializeDefaults();
        const bool isNothing = MarlPreferences::intForKey(MarlPeaksTableIntervalKey) == 0 &&
                               !MarlPreferences::stringForKey(MarlExportStyle);
        return isNothing ? 0 : 1;
    };
    for (const char* const resource : {"garbage", "<plist><array/></plist>"})
        EXPECT_EXIT(std::exit(valuesWith(resource)), testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace marl
