// SPDX-License-Identifier: MIT
#include "support/MovieFiles.h"
#include "support/OpenedFile.h"

#include <MarlCore/Files/CMemoryFileData.h>
#include <MarlCore/Files/parsing/CQTFileParser.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <fstream>

namespace support {
namespace {

using marl::IFileParser;
using Numbers = std::vector<std::int64_t>;

constexpr std::int64_t kSamplesAt = 8;  // the first atom of these movies holds them

/// Sixteen mono samples of 16 bits, from 1 to 16, so that 0 is silence.
Bytes sixteenSamples() {
    Bytes samples;
    for (int i = 1; i <= 16; ++i) samples.big16(i);
    return atom("mdat", samples);
}

Bytes movieOf(const MovieTrackContents& track) {
    return sixteenSamples().append(movieHeader(movieTrack(track)));
}

std::vector<int> soundOf(const Bytes& movie) {
    const OpenedFile file("a.mov", movie);
    const std::string bytes = deliveredSound(file.file(), 16);
    std::vector<std::int16_t> samples(bytes.size() / 2);
    std::memcpy(samples.data(), bytes.data(), bytes.size());
    return {samples.begin(), samples.end()};
}

std::string refusalOf(const Bytes& movie) {
    const OpenedFile file("a.mov", movie);
    const std::string message = messageThrownBy([&] { file.parser().parse(IFileParser::kParseAll); });
    EXPECT_EQ(file.parser().verifyFile(), message.empty() && file.parser().getLengthInFrames() > 0);
    return message;
}

MovieTrackContents withEdits(const Bytes& edits) {
    MovieTrackContents track = plainTrack(kSamplesAt, 16);
    track.edits = edits;
    return track;
}

/// Chunks by the first of their samples (from 1 on, 0: no place in the file), and runs of equal ones.
MovieTrackContents inChunks(const Numbers& firstSamples, const Numbers& runs, const Bytes& sizes) {
    Numbers offsets;
    for (const std::int64_t first : firstSamples)
        offsets.push_back(first > 0 ? kSamplesAt + 2 * (first - 1) : 1'000'000);
    MovieTrackContents track;
    track.offsets = movieTable(static_cast<std::int64_t>(offsets.size()), offsets);
    track.runs = movieTable(static_cast<std::int64_t>(runs.size()) / 3, runs);
    track.sizes = sizes;
    return track;
}

Bytes equalSizes(std::int64_t bytes, std::int64_t count) {
    return Bytes().big32(0).big32(bytes).big32(count);
}

TEST(QTParser, GathersWhatLiesScattered) {
    const struct {
        const char* what;
        MovieTrackContents track;
        std::vector<int> sound;
    } rows[] = {
        {"one chunk", plainTrack(kSamplesAt, 4), {1, 2, 3, 4}},
        {"chunks out of order", inChunks({9, 1, 5}, {1, 2, 1}, equalSizes(2, 6)), {9, 10, 1, 2, 5, 6}},
        {"runs", inChunks({1, 5, 9}, {1, 1, 1, 2, 3, 1}, equalSizes(2, 7)), {1, 5, 6, 7, 9, 10, 11}},
        {"a size that is not that of a frame", inChunks({3}, {1, 4, 1}, equalSizes(1, 4)), {3, 4, 5, 6}},
        {"samples of three frames", inChunks({3}, {1, 2, 1}, equalSizes(6, 2)), {3, 4, 5, 6, 7, 8}},
        {"each size of its own",
         inChunks({1, 9}, {1, 2, 1}, movieTable(0, {4, 2, 4, 2, 8})),
         {1, 2, 3, 9, 10, 11, 12, 13}},
        {"more promised than listed", inChunks({1}, {1, 100, 1}, equalSizes(2, 3)), {1, 2, 3}},
        {"a chunk outside of the file", inChunks({1, 0, 4}, {1, 2, 1}, equalSizes(2, 6)), {1, 2, 0, 0, 4, 5}},
        {"an edit of no length, and one to the end",
         withEdits(movieTable(2, {0, 0, 65536, 0, 8, 65536})),
         {9, 10, 11, 12, 13, 14, 15, 16}},
        {"silence in front",
         withEdits(movieTable(2, {1, -1, 65536, 1, 2, 65536})),
         {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16}},
        {"silence behind a part",
         withEdits(movieTable(2, {1, 4, 65536, 1, -1, 0})),
         {5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}},
        {"an end within a unit of the media's",
         withEdits(movieTable(1, {1, 0, 65536})),
         {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16}},
        {"an edit behind the media",
         withEdits(movieTable(2, {1, 100, 65536, 1, 14, 65536})),
         {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 15, 16}},
        {"long edits",
         withEdits(Bytes().byte(1).zeros(3).big32(1).big64(0).big64(13).big32(65536)),
         {14, 15, 16}},
        {"more edits promised than there are", withEdits(movieTable(0xFFFFFFFF, {0, 14, 65536})), {15, 16}},
    };
    for (const auto& row : rows) EXPECT_EQ(soundOf(movieOf(row.track)), row.sound) << row.what;
}

TEST(QTParser, FillsWhatTheFileCutsOffWithSilence) {
    const Bytes header = movieHeader(movieTrack(plainTrack(1000, 20000)));
    const std::vector<int> sound = soundOf(Bytes(header.view()).zeros(1100 - header.size()).big16(7));
    ASSERT_EQ(sound.size(), 20000U);
    EXPECT_EQ(std::count(sound.begin(), sound.end(), 0), 19999);
    EXPECT_EQ(sound[50], 7);
}

/// Samples of 1 to 8 bytes whose value is a half, in every form.
TEST(QTParser, ReadsEveryFormOfUncompressedSound) {
    const Bytes reversed = atom("wave", atom("enda", Bytes().big16(1)));
    constexpr int kFloat = 1, kBig = 2, kSigned = 4, kPacked = 8, kHigh = 16;
    const struct {
        const char* what;
        Bytes description;
        std::string_view sample;
        unsigned bits;  // as reported
    } rows[] = {
        {"unsigned bytes", soundDescription("raw ", 1, 8, 1000), {"\xC0", 1}, 8},
        {"unnamed bytes", soundDescription("NONE", 1, 8, 1000), {"\xC0", 1}, 8},
        {"signed bytes", soundDescription("twos", 1, 8, 1000), {"\x40", 1}, 8},
        {"16 bits", soundDescription("twos", 1, 16, 1000), {"\x40\0", 2}, 16},
        {"16 bits, raw", soundDescription("raw ", 1, 16, 1000), {"\x40\0", 2}, 16},
        {"16 bits, little", soundDescription("sowt", 1, 16, 1000), {"\0\x40", 2}, 16},
        {"24 bits", soundDescription("in24", 1, 16, 1000, Bytes()), {"\x40\0\0", 3}, 24},
        {"24 bits, little", soundDescription("in24", 1, 16, 1000, reversed), {"\0\0\x40", 3}, 24},
        {"32 bits", soundDescription("in32", 1, 16, 1000, Bytes()), {"\x40\0\0\0", 4}, 32},
        {"32 bits, little", soundDescription("in32", 1, 16, 1000, reversed), {"\0\0\0\x40", 4}, 32},
        {"float", soundDescription("fl32", 1, 16, 1000, Bytes()), {"\x3F\0\0\0", 4}, 32},
        {"float, little", soundDescription("fl32", 1, 16, 1000, reversed), {"\0\0\0\x3F", 4}, 32},
        {"double", soundDescription("fl64", 1, 16, 1000, Bytes()), {"\x3F\xE0\0\0\0\0\0\0", 8}, 32},
        {"double, little", soundDescription("fl64", 1, 16, 1000, reversed), {"\0\0\0\0\0\0\xE0\x3F", 8}, 32},
        {"linear, little", linearDescription(1, 16, kSigned | kPacked, 2), {"\0\x40", 2}, 16},
        {"linear", linearDescription(1, 24, kSigned | kPacked | kBig, 3), {"\x40\0\0", 3}, 24},
        {"linear, unsigned bytes", linearDescription(1, 8, kPacked, 1), {"\xC0", 1}, 8},
        {"version 2, unsigned bytes", linearDescription(1, 8, 0, 1, "raw "), {"\xC0", 1}, 8},
        {"version 2, signed bytes", linearDescription(1, 8, 0, 1, "twos"), {"\x40", 1}, 8},
        {"version 2, 24 bits", linearDescription(1, 16, 0, 3, "in24"), {"\x40\0\0", 3}, 24},
        {"linear float", linearDescription(1, 32, kFloat | kPacked | kBig, 4), {"\x3F\0\0\0", 4}, 32},
        {"linear double", linearDescription(1, 64, kFloat | kPacked, 8), {"\0\0\0\0\0\0\xE0\x3F", 8}, 32},
        {"20 bits, high in 24", linearDescription(1, 20, kSigned | kBig | kHigh, 3), {"\x40\0\0", 3}, 24},
    };
    for (const auto& row : rows) {
        MovieTrackContents track = plainTrack(kSamplesAt, 1, static_cast<int>(row.sample.size()));
        track.descriptions = movieTable(1, {}).append(row.description);
        const Bytes movie = atom("mdat", Bytes(row.sample)).append(movieHeader(movieTrack(track)));
        const OpenedFile file("a.mov", movie);
        const std::string asFloat = deliveredSound(file.file(), 32), as16 = deliveredSound(file.file(), 16);
        float value = 0;
        std::int16_t integer = 0;
        ASSERT_EQ(asFloat.size(), sizeof value) << row.what;
        std::memcpy(&value, asFloat.data(), sizeof value);
        std::memcpy(&integer, as16.data(), sizeof integer);
        // 24 bits have a scale of their own, a little below full.
        EXPECT_EQ(value, row.bits == 24 ? static_cast<float>(0x400000) * 1.15093236e-07F : 0.5F) << row.what;
        EXPECT_EQ(integer, 16384) << row.what;
        EXPECT_EQ(file.parsed().getSampleLengthInBytes(), static_cast<int>(row.bits / 8)) << row.what;
    }
}

TEST(QTParser, SaysWhatIsWrongWithAFile) {
    const auto describedAs = [](const Bytes& description) {
        MovieTrackContents track = plainTrack(kSamplesAt, 4);
        track.descriptions = movieTable(1, {}).append(description);
        return movieOf(track);
    };
    const auto without = [](Bytes MovieTrackContents::*table) {
        MovieTrackContents track = plainTrack(kSamplesAt, 4);
        track.*table = Bytes();
        return movieOf(track);
    };
    MovieTrackContents video = plainTrack(kSamplesAt, 4), elsewhere = video, changing = video;
    video.handler = "vide";
    elsewhere.references = movieTable(1, {}).append(atom("alis", Bytes().big32(0)));
    changing.runs = movieTable(1, {1, 4, 2});
    Bytes nested;
    for (int i = 0; i < 20000; ++i) nested.big32(8 * (20000 - i)).text(i % 2 ? "trak" : "moov");
    Numbers manyEdits(3 * 65537, 65536);
    const Bytes wav = Bytes("RIFF").little32(36).text("WAVEfmt ");
    const struct {
        Bytes file;
        const char* refusal;
    } rows[] = {
        {Bytes(), "not a QuickTime file: it is empty"},
        {Bytes("Once upon a time"), "not a QuickTime file: there is no atom at byte 0"},
        {wav, "not a QuickTime file: at byte 0 begins a WAV file"},
        {sixteenSamples(), "couldn't find the movie atom ('moov') in the 40 bytes of the file"},
        {Bytes().big32(7).text("moov"), "couldn't find the movie atom ('moov') in the 8 bytes of the file"},
        {Bytes().big32(1).text("moov").zeros(4),
         "couldn't find the movie atom ('moov') in the 12 bytes of the file"},
        {atom("moov", atom("cmov", Bytes())),
         "the movie's header is compressed ('cmov'), which is not supported"},
        {movieHeader(Bytes()), "the movie has no sound track"},
        {nested, "the movie has no sound track"},
        {movieOf(video), "the movie has no sound track"},
        {movieOf(elsewhere), "the sound lies in another file, which is not supported"},
        {movieOf(changing), "the sound changes its format at chunk 1, which is not supported"},
        {without(&MovieTrackContents::descriptions), "couldn't find the sound description ('stsd')"},
        {without(&MovieTrackContents::sizes), "couldn't find the table 'stsz' of the sound track"},
        {without(&MovieTrackContents::runs), "couldn't find the table 'stsc' of the sound track"},
        {without(&MovieTrackContents::offsets), "couldn't find the table 'stco' of the sound track"},
        {describedAs(soundDescription("mp4a", 2, 16, 1000)),
         "unsupported sound codec 'mp4a': only uncompressed sound is read"},
        {describedAs(soundDescription(std::string_view("ms\0\x11", 4), 2, 16, 1000)),
         "unsupported sound codec 'ms\\x00\\x11': only uncompressed sound is read"},
        {describedAs(soundDescription("twos", 1, 12, 1000)), "integer samples of 0 bytes are not supported"},
        {describedAs(soundDescription("twos", 0, 16, 1000)),
         "the sound description has no usable number of channels"},
        {describedAs(linearDescription(2, 16, 4 | 32, 4)),
         "sound whose channels are not interleaved is not supported"},
        {describedAs(linearDescription(2, 16, 2, 4)), "unsigned samples of 16 bits are not supported"},
        {describedAs(linearDescription(1, 20, 4, 4)), "samples of 20 bits in 4 bytes are not supported"},
        {describedAs(linearDescription(100000, 8, 4, 100000)),
         "the sound description has no usable number of channels"},
        {movieOf(withEdits(movieTable(1, {1, -2, 65536}))), "the edit list has a negative time (-2)"},
        {movieOf(withEdits(movieTable(1, {1, 0, 32768}))),
         "an edit plays the sound 0.5 times as fast, which is not supported"},
    };
    for (const auto& row : rows) EXPECT_EQ(refusalOf(row.file), row.refusal);
    EXPECT_TRUE(
        refusalOf(movieOf(withEdits(movieTable(65537, manyEdits)))).ends_with("has more than 65536 entries"));
}

/// Sizes that lie cost neither memory nor time: each of these opens as if it stated the truth.
TEST(QTParser, TakesNoTableAtItsWord) {
    MovieTrackContents vast = plainTrack(kSamplesAt, 4);
    vast.offsets = movieTable(0xFFFFFFFF, {kSamplesAt});
    EXPECT_EQ(soundOf(movieOf(vast)), std::vector<int>({1, 2, 3, 4}));
    MovieTrackContents endless = plainTrack(kSamplesAt, 4);
    endless.sizes = equalSizes(0xFFFFFFFF, 0xFFFFFFFF);
    endless.runs = movieTable(1, {1, 0xFFFFFFFF, 1});
    EXPECT_EQ(OpenedFile("a.mov", movieOf(endless)).parsed().getLengthInFrames(), 0x7FFFFFFF / 2);
    // Atoms without a body; that of 'stsz' was a fuzzer's find.
    const Bytes whole = movieOf(plainTrack(kSamplesAt, 4));
    for (const char* type : {"stsz", "stsc", "stco", "elst", "mvhd", "hdlr", "tkhd"}) {
        MovieTrackContents track = withEdits(movieTable(1, {0, 0, 65536}));
        Bytes movie = movieOf(track);
        movie.overwrite(movie.offsetOf(type) - 4, Bytes().big32(8));
        refusalOf(movie);
    }
    // A size of 0 reaches to the end, one of 64 bits beyond it.
    Bytes toTheEnd = whole;
    toTheEnd.overwrite(whole.offsetOf("moov") - 4, Bytes().big32(0));
    EXPECT_EQ(soundOf(toTheEnd), std::vector<int>({1, 2, 3, 4}));
}

/// Whatever a single byte says, and wherever the file ends, it opens or is refused.
TEST(QTParser, SurvivesEveryCutAndEveryByte) {
    const Bytes whole = movieOf(withEdits(movieTable(2, {1, -1, 65536, 1, 2, 65536})));
    const auto survives = [](const Bytes& movie) {
        const OpenedFile file("a.mov", movie);
        if (!messageThrownBy([&] { file.parser().parse(IFileParser::kParseAll); }).empty()) return;
        if (file.parser().getLengthInFrames() < 10000) deliveredSound(file.file(), 32);
    };
    for (std::size_t size = 0; size < whole.size(); ++size) survives(whole.first(size));
    for (std::size_t at = 40; at < whole.size(); ++at) {
        for (const int value : {0, 1, 0x7F, 0xFF}) {
            Bytes movie = whole;
            survives(movie.overwrite(at, Bytes().byte(value)));
        }
    }
}

TEST(QTParser, ChoosesTheFirstSoundTrackThatIsEnabled) {
    MovieTrackContents off = plainTrack(kSamplesAt, 2), on = plainTrack(kSamplesAt + 8, 2), video = off;
    off.enabled = false;
    video.handler = "vide";
    const Bytes others = movieTrack(video).append(movieTrack(off));
    EXPECT_EQ(soundOf(sixteenSamples().append(movieHeader(others))), std::vector<int>({1, 2}));
    const Bytes all = Bytes(others.view()).append(movieTrack(on));
    EXPECT_EQ(soundOf(sixteenSamples().append(movieHeader(all))), std::vector<int>({5, 6}));
}

TEST(QTParser, FindsAMovieBehindFiveGigabytes) {
    constexpr long long kAt = 5LL << 30;
    const TemporaryFolder folder;
    const std::string path = folder.write("a.mov", Bytes().big32(1).text("mdat").big64(kAt));
    MovieTrackContents track = plainTrack(0, 3);
    track.offsets = Bytes();
    Bytes header = movieHeader(movieTrack(track));
    const Bytes offsets = atom("co64", movieTable(1, {}).big64(kAt - 6));
    // Every atom around the table grows by it.
    for (const char* type : {"moov", "trak", "mdia", "minf", "stbl"}) {
        const std::size_t at = header.offsetOf(type) - 4;
        header.overwrite(at, Bytes().big32(static_cast<std::int64_t>(header.size() - at + offsets.size())));
    }
    std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
    file.seekp(kAt - 6) << Bytes().big16(1).big16(2).big16(3).append(header).append(offsets).view();
    file.close();
    ASSERT_TRUE(file) << "the folder for temporary files holds no sparse file of 5 GiB";
    const marl::IFileRef movie(marl::IFile::New(urlOf(path), false));
    EXPECT_EQ(deliveredSound(*movie, 16).size(), 6U);
    const std::string sound = deliveredSound(*movie, 16);
    EXPECT_EQ(sound[0] + sound[1], 1);
    EXPECT_EQ(sound[4] + sound[5], 3);
}

TEST(QTParser, ReadsTheTextsThatAMovieCarries) {
    const auto item = [](std::string_view type, std::string_view text) {
        return atom(type, atom("data", Bytes().big32(1).big32(0).text(text)));
    };
    const Bytes user = atom("\251nam", Bytes().big16(3).big16(0).text("Caf").text("and more"));
    const Bytes list = atom("ilst", item("\251nam", "not this").append(item("\251ART", "\xC3\xA9")));
    const Bytes full = atom("meta", Bytes().zeros(4).append(list));
    const Bytes keys = atom("keys", movieTable(2, {})
                                        .append(atom("mdta", Bytes("x")))
                                        .append(atom("mdta", Bytes("com.apple.quicktime.copyright"))));
    const Bytes keyed =
        atom("meta", Bytes(keys.view()).append(atom("ilst", item(std::string_view("\0\0\0\2", 4), "1999"))));
    const Bytes udta = atom("udta", Bytes(user.view()).append(full));
    const Bytes header = movieHeader(movieTrack(plainTrack(kSamplesAt, 4)).append(udta).append(keyed));
    const OpenedFile file("a.mov", sixteenSamples().append(header));
    const IFileParser::FileInfo& info = file.parsed().getFileInfo();
    EXPECT_EQ(info.name->getStringRef(), "Caf");
    EXPECT_EQ(info.author->getStringRef(), "\xC3\xA9");
    EXPECT_EQ(info.copyright->getStringRef(), "1999");
    EXPECT_FALSE(info.annotation);
}

/// The parser needs no strategy of movies, and makes of a movie what it makes of any untagged file.
TEST(QTParser, DescribesALoopOverAnyData) {
    MovieTrackContents track = plainTrack(kSamplesAt, 2000);
    const TemporaryFolder folder;
    const std::string path = folder.write("a.mov", movieOf(track));
    const marl::IFileDataRef data(new marl::CMemoryFileData(urlOf(path), false, true));
    const marl::IFileParserRef parser(new marl::CQTFileParser(data));
    parser->parse(IFileParser::kParseAll);
    EXPECT_EQ(parser->getSampleOffset(), kSamplesAt);
    EXPECT_EQ(parser->getLengthInSeconds(), 2.0);
    EXPECT_EQ(parser->getNumberOfBeats(), 4);
    EXPECT_EQ(parser->getFileType(), marl::tagging::kFileTypeLoop);
    EXPECT_EQ(parser->getTransients().size(), 16U);
    EXPECT_FALSE(parser->didSourceFileHaveTransients());
}

}  // namespace
}  // namespace support
