// SPDX-License-Identifier: MIT
#include "support/LoopFiles.h"
#include "support/OpenedFile.h"

#include <MarlCore/Files/parsing/CAIFFileParser.h>

#include <gtest/gtest.h>

#include <limits>

using marl::IFileParser;
using support::AIFFContents;
using support::aiffFile;
using support::BasicTagging;
using support::Bytes;
using support::messageThrownBy;
using support::OpenedFile;

namespace {

/// An untagged 16-bit mono file of 1000 Hz, so that a frame is a millisecond.
AIFFContents untagged(std::size_t milliseconds) {
    AIFFContents contents;
    contents.common = support::CommonChunk{.channels = 1, .sampleRate = 1000};
    contents.samples = Bytes().zeros(2 * milliseconds);
    return contents;
}

/// Counts the searches of a parser for its tagging chunk.
class CountingParser : public marl::CAIFFileParser {
public:
    using CAIFFileParser::CAIFFileParser;
    void findBasicTaggingInfo() override {
        ++taggingReads;
        CAIFFileParser::findBasicTaggingInfo();
    }
    void findFormatInfo() override {
        ++formatReads;
        CAIFFileParser::findFormatInfo();
    }
    int taggingReads = 0;
    int formatReads = 0;
};

}  // namespace

TEST(IFileParser, ReadsEachGroupOnce) {
    OpenedFile opened("a.aif", aiffFile(untagged(2000)));
    CountingParser parser(opened.file().getFileDataRef());
    parser.Retain();
    parser.parse(IFileParser::kNoFlags);
    IFileParser::FormatInfo format;
    parser.getFormatInfo(format);
    EXPECT_EQ(format.mSampleRate, 1000);
    EXPECT_EQ(parser.taggingReads, 0);
    parser.parse(IFileParser::kTransients);  // needs the beats, and so reads them
    parser.parse(IFileParser::kBasicTaggingInfo);
    parser.parse(IFileParser::kParseAll);
    EXPECT_EQ(parser.taggingReads, 1);
    EXPECT_EQ(parser.formatReads, 1);
}

TEST(IFileParser, TriesAgainAfterARefusal) {
    support::TemporaryFolder folder;
    const std::string path = folder.write("a.aif", Bytes().text("junk that is no AIFF file"));
    marl::IFileRef file(marl::IFile::New(support::urlOf(path), false));
    EXPECT_EQ(messageThrownBy([&] { file->getFileParserRef()->parse(0); }),
              "couldn't find FORM master chunk");
    folder.write("b.aif", aiffFile(untagged(2000)));
    const marl::IFileRef good(marl::IFile::New(support::urlOf(folder.path("b.aif")), false));
    file->getFileParserRef()->setFileDataRef(good->getFileDataRef());
    file->getFileParserRef()->parse(IFileParser::kBasicTaggingInfo);
    EXPECT_EQ(file->getFileParserRef()->getNumberOfBeats(), 4);
}

TEST(IFileParser, GuardsFormatsThatAreNotKnown) {
    CountingParser parser{marl::IFileDataRef()};
    parser.Retain();
    IFileParser::FormatInfo format;
    EXPECT_EQ(messageThrownBy([&] { parser.getFormatInfo(format); }),
              "format info is not valid. Cannot return");
    format.mSampleRate = -1;
    EXPECT_EQ(messageThrownBy([&] { parser.setFormatInfo(format); }),
              "new format info is not valid. Cannot set");
    EXPECT_EQ(messageThrownBy([&] { parser.parse(0); }), "Error: m_fileData is null!");
}

TEST(IFileParser, DerivesBeatsAndOneShotFromTheLength) {
    const struct {
        std::size_t milliseconds;
        int beats, fileType;
    } rows[] = {{2000, 4, 1}, {300, 1, 2},  {499, 1, 2},    {500, 1, 1},    {800, 1, 1},       {801, 2, 1},
                {1600, 2, 1}, {1601, 4, 1}, {30000, 64, 1}, {30001, 64, 2}, {1000000, 256, 2}, {0, 1, 2}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.milliseconds);
        OpenedFile opened("a.aif", aiffFile(untagged(row.milliseconds)));
        const IFileParser& parser = opened.parsed();
        EXPECT_EQ(parser.getNaturalNumberOfBeats(), row.beats);
        EXPECT_EQ(parser.getFileType(), row.fileType);
        EXPECT_EQ(parser.getMidiRootNote(), 0);
        EXPECT_EQ(parser.getSourceFileNumberOfBeats(), 0);
        EXPECT_EQ(opened.file().isDiskFileDataNeeded(), row.fileType == 2);
    }
}

TEST(IFileParser, CountsBeatsInQuarterNotes) {
    constexpr int kMost = std::numeric_limits<int>::max();
    const struct {
        int beats, denominator, quarters;
    } rows[] = {{8, 4, 8},   {8, 8, 4},         {7, 8, 3},
                {-7, 8, -3}, {3, 2, 6},         {5, 0, 5},
                {5, -4, 5},  {kMost, 1, kMost}, {-kMost, 1, -kMost - 1},
                {0, 4, 0}};
    for (const auto& row : rows) {
        CountingParser parser{marl::IFileDataRef()};
        parser.Retain();
        parser.setNumberOfBeats(row.beats);
        parser.setTimeSignature({4, static_cast<std::int16_t>(row.denominator)});
        EXPECT_EQ(parser.getNumberOfBeats(), row.quarters) << row.beats << "/" << row.denominator;
        EXPECT_EQ(parser.getNaturalNumberOfBeats(), row.beats);
    }
}

TEST(IFileParser, LaysAGridOverTheLengthOfTheLoop) {
    const struct {
        const char* name;
        int beats, denominator, divisions, fileType;
        std::size_t frames;
        std::vector<long long> positions;
    } rows[] = {
        {"quarter notes of two beats", 2, 4, 4, 1, 1000, {0, 500}},
        {"positions are rounded", 3, 4, 4, 1, 1000, {0, 333, 667}},
        {"seven eighths are three and a half quarters", 7, 8, 8, 1, 700, {0, 100, 200, 300, 400, 500, 600}},
        {"finer than the frames", 4, 4, 64, 1, 5, {0, 1, 2, 3, 4}},
        {"a one-shot has none", 4, 4, 16, 2, 1000, {}},
        {"no beats", 0, 4, 16, 1, 1000, {}},
        {"fewer than no beats", -8, 4, 16, 1, 1000, {}},
        {"no divisions", 4, 4, 0, 1, 1000, {}},
        {"no frames", 4, 4, 16, 1, 0, {}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        OpenedFile opened("a.aif", aiffFile(untagged(row.frames)));
        IFileParser& parser = opened.parser();
        parser.parse(IFileParser::kBasicTaggingInfo);
        parser.setNumberOfBeats(row.beats);
        parser.setTimeSignature({4, static_cast<std::int16_t>(row.denominator)});
        parser.setFileType(row.fileType);
        parser.setForceDivisionsAt(row.divisions);
        parser.deriveTransients();
        EXPECT_EQ(support::transientPositions(parser), row.positions);
    }
}

TEST(IFileParser, BoundsTheGridOfAHostileCountOfBeats) {
    AIFFContents contents = untagged(200000);
    contents.basicTagging = BasicTagging{.beats = std::numeric_limits<int>::max()};
    OpenedFile opened("a.aif", aiffFile(contents));
    const auto positions = support::transientPositions(opened.parsed());
    EXPECT_LE(positions.size(), IFileParser::kMaximumTransients);
    EXPECT_TRUE(std::is_sorted(positions.begin(), positions.end(), std::less_equal<>()));
}

TEST(IFileParser, ScalesSlicePointsAndLengthToTheDeliveredRate) {
    AIFFContents contents = untagged(1000);
    contents.basicTagging = BasicTagging{};
    contents.transients = support::TransientChunk{.records = {{0, 0}, {0, 333}, {0, 999}}};
    OpenedFile opened("a.aif", aiffFile(contents));
    IFileParser& parser = opened.parsed();
    std::vector<marl::tagging::TransientStruct> converted;
    parser.getSRConvertedTransients(converted);
    EXPECT_EQ(converted, parser.getTransients()) << "as they are until a factor is set";
    EXPECT_EQ(parser.getSRConvertedSampleLengthInBytes(), 2000);
    parser.setSampleRateConversion(1.5);
    parser.getSRConvertedTransients(converted);
    ASSERT_EQ(converted.size(), 3u);
    EXPECT_EQ(converted[1].position, 499u) << "truncated";
    EXPECT_EQ(converted[2].position, 1498u);
    EXPECT_EQ(parser.getSRConvertedSampleLengthInBytes(), 3000);
    EXPECT_EQ(parser.getTransients()[1].position, 333u) << "the file's own stay";
    parser.setSampleRateConversion(1e300);
    EXPECT_EQ(parser.getSRConvertedSampleLengthInBytes(), std::numeric_limits<int>::max());
    EXPECT_EQ(parser.calcSRConvertedTransients()[1].position, std::numeric_limits<std::uint32_t>::max());
}

TEST(IFileParser, FindsChunksByTheRulesOfOddAndBrokenSizes) {
    const auto chunk = [](const char* id, std::size_t size) {
        return Bytes().bigChunk(id, Bytes().zeros(size));
    };
    const struct {
        const char* name;
        Bytes chunks;
        long long size, mark;  // of chunk "want"; -1: not found
    } rows[] = {
        {"first", chunk("want", 10), 10, 8},
        {"behind an odd size and its pad byte", chunk("skip", 3).append(chunk("want", 2)), 2, 8 + 4 + 8},
        {"behind an empty one", chunk("skip", 0).append(chunk("want", 2)), 2, 16},
        {"of two, the first", chunk("want", 2).append(chunk("want", 4)), 2, 8},
        {"though its own size reaches past the end",
         Bytes().bigChunkClaiming("want", 0xFFFFFFFF, Bytes().zeros(3)), 0xFFFFFFFFLL, 8},
        {"not behind a size that reaches past the end",
         Bytes().bigChunkClaiming("skip", 100, Bytes().zeros(3)).append(chunk("want", 2)), -1, 0},
        {"not behind the largest size", Bytes().bigChunkClaiming("skip", 0xFFFFFFFF, chunk("want", 2)), -1,
         0},
        {"not behind 2 GiB - 1", Bytes().bigChunkClaiming("skip", 0x7FFFFFFF, chunk("want", 2)), -1, 0},
        {"not with a header that is cut off", Bytes().text("want").big16(0), -1, 0},
        {"not when a last odd chunk lacks its pad byte",
         Bytes().bigChunkClaiming("skip", 3, Bytes().zeros(3)), -1, 0},
        {"not in an empty file", Bytes(), -1, 0},
        {"not in one byte", Bytes().byte('w'), -1, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        OpenedFile opened("a.aif", row.chunks);
        EXPECT_EQ(opened.parser().findTag("want"), row.size);
        if (row.size >= 0) {
            EXPECT_EQ(opened.data().currentMark(), row.mark);
        }
    }
}

TEST(IFileParser, GivesUpAFileOfNothingButEmptyChunks) {
    Bytes chunks;
    for (int i = 0; i < 100000; ++i) chunks.text("skip").big32(0);
    OpenedFile opened("a.aif", chunks.bigChunk("want", Bytes()));
    EXPECT_EQ(opened.parser().findTag("want"), -1);
    EXPECT_LT(opened.data().currentMark(), 100000) << "long before the end";
}
