// SPDX-License-Identifier: MIT
#include <MarlCore/MediaManager/TimelineMarker.h>

#include <gtest/gtest.h>

#include <limits>
#include <string>

namespace marl {
namespace {

using platform::KeyedArchiver;
using platform::KeyedUnarchiver;
using platform::PropertyList;
using platform::URLRef;

URLRef urlOf(const char* text) {
    return std::make_shared<const platform::URL>(platform::URL::fromString(text));
}

TEST(TimelineMarker, DescribesItself) {
    const struct {
        int unit;
        double position;
        std::string description;
    } cases[] = {
        {0, 0, "type=Beats position=0.00"},
        {1, 2.5, "type=Seconds position=2.50"},
        {2, -0.125, "type=Beats position=-0.12"},
        {255, 1234567.899, "type=Beats position=1234567.90"},
        {1, 1e308, "type=Seconds position=" + std::to_string(1e308).substr(0, 309) + ".00"},
        {1, std::numeric_limits<double>::infinity(), "type=Seconds position=inf"},
    };
    EXPECT_EQ(TimelineMarker().description(), cases[0].description);
    for (const auto& [unit, position, description] : cases) {
        TimelineMarker marker;
        marker.setMarkerUnit(unit);
        marker.setPosition(position);
        EXPECT_EQ(marker.description(), description);
    }
}

TEST(TimelineMarker, ForwardsToItsMarkerAndIsItsWrapper) {
    const CTimelineMarkerRef ref(new CTimelineMarker);
    {
        TimelineMarker first(ref);
        EXPECT_EQ(ref->getObjectiveCWrapper(), &first);
        first.setMarkerType(256 + 7);
        first.setBasicMarkerDisplayType(-3);
        first.setTitle("Bridge");
        const TimelineMarker second(ref);  // takes the first one's place
        EXPECT_EQ(second.markerType(), 7);
        EXPECT_EQ(second.basicMarkerDisplayType(), -3);
        EXPECT_EQ(second.title(), "Bridge");
        EXPECT_EQ(second.comment(), std::nullopt);
        EXPECT_EQ(ref->getObjectiveCWrapper(), &second);
        first.setTitle(std::nullopt);
        EXPECT_EQ(ref->getTitle(), nullptr);
    }
    EXPECT_EQ(ref->getObjectiveCWrapper(), nullptr);
    EXPECT_EQ(ref->CountReferences(), 1);
}

TEST(TimelineMarker, OwnsItsURLUntilAnotherOneComes) {
    const URLRef url = urlOf("https://example.org/?q#f");
    TimelineMarker marker;
    marker.setURL(url);
    EXPECT_EQ(marker.URL(), url);
    marker.setURL(marker.URL());
    EXPECT_EQ(url.use_count(), 2);
    marker.setURL(nullptr);
    EXPECT_EQ(url.use_count(), 1);
}

TEST(TimelineMarker, ComesBackFromAnArchiveWithoutItsDisplayType) {
    const struct {
        int type, unit;
        double position;
        std::optional<std::string> title, comment;
        URLRef url;
    } cases[] = {
        {0, 0, 0, {}, {}, {}},
        {255, 1, -1e-300, "", "Coda & \"Ende\"\n\xC3\xA9", urlOf("file:///a%20b")},
        {3, 200, 1e300, std::string("a\0b", 3), "\xE9", urlOf("https://example.org/?q#f")},
    };
    for (const auto& each : cases) {
        TimelineMarker marker;
        marker.setMarkerType(each.type);
        marker.setMarkerUnit(each.unit);
        marker.setPosition(each.position);
        marker.setBasicMarkerDisplayType(5);
        marker.setTitle(each.title);
        marker.setComment(each.comment);
        marker.setURL(each.url);
        const auto archive = KeyedArchiver::archivedDataWithRootObject(marker);
        const auto back = KeyedUnarchiver::unarchiveObjectWithData<TimelineMarker>(archive);
        ASSERT_TRUE(back);
        EXPECT_EQ(back->markerRef()->getObjectiveCWrapper(), &*back);
        EXPECT_EQ(back->markerType(), each.type);
        EXPECT_EQ(back->markerUnit(), each.unit);
        EXPECT_EQ(back->position(), each.position);
        EXPECT_EQ(back->basicMarkerDisplayType(), 0);
        EXPECT_EQ(back->title(), each.title);
        EXPECT_EQ(back->comment(), each.comment);
        ASSERT_EQ(!back->URL(), !each.url);
        EXPECT_TRUE(!each.url || *back->URL() == *each.url);
    }
}

TEST(TimelineMarker, TakesTheKeysOfAnArchiveForWhatTheyAre) {
    const auto markerOf = [](const PropertyList::Dictionary& parts) {
        const PropertyList list(PropertyList::Dictionary{{"class", "TimelineMarker"}, {"parts", parts}});
        const std::string text = list.toXML();
        const auto marker =
            KeyedUnarchiver::unarchiveObjectWithData<TimelineMarker>(std::as_bytes(std::span(text)));
        return marker ? marker->description() + " " + std::to_string(marker->markerType()) + " " +
                            marker->title().value_or("nil") + " " + marker->comment().value_or("nil") +
                            (marker->URL() ? " " + marker->URL()->string() : "")
                      : "none";
    };
    EXPECT_EQ(markerOf({}), "type=Beats position=0.00 0 nil nil");
    EXPECT_EQ(markerOf({{"marker type", "3"},
                        {"title", 4},
                        {"comment", true},
                        {"url", 5},
                        {"marker unit", std::int64_t{1} << 32},
                        {"position", "6"}}),
              "type=Beats position=0.00 0 nil nil");
    EXPECT_EQ(markerOf({{"marker type", 258},
                        {"title", "t"},
                        {"comment", "c"},
                        {"url", "file:///c.aif"},
                        {"marker unit", 1},
                        {"position", 1.5}}),
              "type=Seconds position=1.50 2 t c file:///c.aif");
    EXPECT_EQ(markerOf({{"url", "c.aif"}}), "type=Beats position=0.00 0 nil nil") << "relative to nothing";
}

TEST(TimelineMarkerDeathTest, ReportsANullMarker) {
    GTEST_FLAG_SET(death_test_style, MARL_DEATH_TEST_STYLE);
    const TimelineMarker marker{CTimelineMarkerRef()};
    EXPECT_DEATH(marker.position(), "null");
    EXPECT_DEATH(marker.description(), "null");
}

}  // namespace
}  // namespace marl
