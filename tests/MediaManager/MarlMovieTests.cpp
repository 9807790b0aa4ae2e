// SPDX-License-Identifier: MIT
#include "support/MovieFiles.h"
#include "support/OpenedFile.h"
#include "support/TemporaryFolder.h"

#include <MarlCore/MediaManager/MarlMovie.h>
#include <MarlCore/platform/Exception.h>

#include <gtest/gtest.h>

namespace support {
namespace {

using marl::CMovieToolbox;
using marl::CTimeCode;
using marl::MarlMovie;
using marl::TimeCodeFormat;

constexpr TimeCodeFormat kFilm{24, 1, 24, false};
constexpr TimeCodeFormat kDrop{30000, 1001, 30, true};
constexpr TimeCodeFormat kDrop25{25, 1, 25, true};  // which leaves nothing out
constexpr TimeCodeFormat kDrop60{60000, 1001, 60, true};

TEST(TimeCode, NumbersFrames) {
    const struct {
        TimeCodeFormat format;
        std::int64_t frame;
        const char* text;
    } rows[] = {
        {kFilm, 0, "00:00:00:00"},      {kFilm, 23, "00:00:00:23"},     {kFilm, 24, "00:00:01:00"},
        {kFilm, 86400, "01:00:00:00"},  {kDrop, 1799, "00:00:59;29"},   {kDrop, 1800, "00:01:00;02"},
        {kDrop, 17981, "00:09:59;29"},  {kDrop, 17982, "00:10:00;00"},  {kDrop, 107892, "01:00:00;00"},
        {kDrop25, 1500, "00:01:00;00"}, {kDrop60, 3600, "00:01:00;04"}, {kDrop60, 215784, "01:00:00;00"}};
    for (const auto& row : rows) {
        EXPECT_EQ(CTimeCode(row.format, row.frame).text(), row.text);
        EXPECT_EQ(CTimeCode(row.format, row.text).frameNumber(), row.frame) << row.text;
        EXPECT_EQ(CMovieToolbox::quickTimeTime(CTimeCode(row.format, row.text)),
                  row.frame * row.format.frameDuration);
    }
    for (std::int64_t frame = 0; frame < 40000; ++frame)
        ASSERT_EQ(CTimeCode(kDrop, CTimeCode(kDrop, frame).text()).frameNumber(), frame);
}

TEST(TimeCode, RefusesWhatIsNoCode) {
    for (const char* text : {"", "1", "00:00:00", "00:00:00:00:", "00:00:00:24", "00:60:00:00", "00:00:60:00",
                             "-1:00:00:00", "00:00:00:0a", "00;00:00:00", "99999:00:00:00"})
        EXPECT_EQ(messageThrownBy([&] { CTimeCode(kFilm, text); }),
                  "'" + std::string(text) + "' is no time code");
    EXPECT_NE(messageThrownBy([] { CTimeCode(kDrop, "00:01:00;01"); }), "") << "a number that is left out";
}

/// A header of version 0, enabled, with a picture of `width` and `height`.
Bytes trackHeader(int width, int height) {
    const Bytes fields = Bytes().big32(1).zeros(8).big32(7).zeros(4).big32(250).zeros(52);
    return atom("tkhd", Bytes(fields.view()).big16(width).big16(0).big16(height).big16(0));
}

Bytes mediaOf(std::string_view handler, int timeScale, const Bytes& tables) {
    Bytes media = atom("mdhd", Bytes().zeros(12).big32(timeScale).zeros(8));
    media.append(atom("hdlr", Bytes().zeros(8).text(handler).zeros(13)));
    return atom("mdia", media.append(atom("minf", atom("stbl", tables))));
}

/// 2.5 seconds at 100 units each, of 25 frames a second.
Bytes videoTrack() {
    return atom("trak",
                trackHeader(640, 480).append(mediaOf("vide", 600, atom("stts", movieTable(1, {60, 24})))));
}

/// From frame 108000 of 29.97 frames a second on, which a chunk at byte 8 says.
Bytes timeCodeTrack() {
    Bytes entry =
        Bytes().text("tmcd").zeros(6).big16(1).zeros(4).big32(1).big32(30000).big32(1001).byte(30).byte(0);
    entry = Bytes().big32(static_cast<std::int64_t>(entry.size()) + 4).append(entry);
    Bytes tables = atom("stsd", movieTable(1, {}).append(entry));
    return atom("trak", trackHeader(0, 0).append(
                            mediaOf("tmcd", 30000, tables.append(atom("stco", movieTable(1, {8}))))));
}

Bytes movieWith(const Bytes& tracks) {
    Bytes movie = atom("mdat", Bytes().big32(107892)).append(movieHeader(tracks));
    return movie.overwrite(movie.offsetOf("mvhd") + 4 + 16, Bytes().big32(250));
}

TEST(MarlMovie, TellsWhatIsInAMovie) {
    const TemporaryFolder folder;
    const Bytes sound = movieTrack(plainTrack(8, 2));
    const MarlMovie movie(folder.write("a.mov", movieWith(Bytes(sound.view()).append(videoTrack()))));
    EXPECT_EQ(movie.duration(), 2.5);
    EXPECT_EQ(movie.timeScale(), 100U);
    ASSERT_EQ(movie.tracks().size(), 2U);
    EXPECT_EQ(movie.tracks()[0].kind, marl::MovieTrackKind::kSound);
    EXPECT_EQ(movie.tracks()[1].kind, marl::MovieTrackKind::kVideo);
    EXPECT_EQ(movie.tracks()[1].id, 7U);
    EXPECT_TRUE(movie.hasVideo());
    EXPECT_EQ(movie.pictureSize(), (platform::Size{640, 480}));
    EXPECT_EQ(movie.timeCodeForTimeValue(104), "00:00:01:01");
    EXPECT_EQ(movie.timeCodeForTimeValue(103), "00:00:01:00");
    EXPECT_EQ(movie.timeValueForTimeCode("00:00:01:01"), 104);
    const marl::MovieRectangle bounds{10, 20, {320, 480}}, middle{10, 140, {320, 240}};
    EXPECT_EQ(movie.pictureRectangleIn(bounds), middle);
}

TEST(MarlMovie, CountsAsTheTimeCodeTrackDoes) {
    const TemporaryFolder folder;
    const MarlMovie movie(folder.write("a.mov", movieWith(videoTrack().append(timeCodeTrack()))));
    EXPECT_EQ(movie.timeCodeForTimeValue(0), "01:00:00;00");
    EXPECT_EQ(movie.timeCodeForTimeValue(250), "01:00:02;14");
    EXPECT_EQ(movie.timeValueForTimeCode("01:00:02;14"), 247);  // 74 frames: 2.469 s, the next hundredth
    EXPECT_EQ(movie.timeValueForTimeCode("00:59:59;29"), -3);
}

TEST(MarlMovie, RaisesTowardsTheHost) {
    const TemporaryFolder folder;
    const MarlMovie sound(folder.write("a.mov", movieWith(movieTrack(plainTrack(8, 2)))));
    EXPECT_FALSE(sound.hasVideo());
    EXPECT_EQ(sound.pictureSize(), platform::Size());
    EXPECT_EQ(sound.pictureRectangleIn({0, 0, {10, 10}}), marl::MovieRectangle());
    EXPECT_THROW(sound.timeCodeForTimeValue(0), platform::Exception);
    EXPECT_THROW(MarlMovie(folder.path("missing.mov")), platform::Exception);
    EXPECT_THROW(MarlMovie(folder.write("text.mov", "text")), platform::Exception);
    EXPECT_THROW(MarlMovie(marl::CMovieInstanceRef()), platform::Exception);
    EXPECT_FALSE(marl::CMovieInstance().isOpen());
    Bytes endless = movieWith(videoTrack());
    endless.overwrite(endless.offsetOf("mvhd") + 4 + 16, Bytes().big32(0xFFFFFFFF));
    EXPECT_EQ(MarlMovie(folder.write("b.mov", endless)).duration(), 0) << "nobody knew";
}

}  // namespace
}  // namespace support
