// SPDX-License-Identifier: MIT
#include "support/LoopFiles.h"
#include "support/OpenedFile.h"

#include <MarlCore/Files/parsing/CAIFFileParser.h>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>

using marl::CAIFFileParser;
using marl::IFileParser;
using support::AIFFContents;
using support::aiffFile;
using support::BasicTagging;
using support::Bytes;
using support::CommonChunk;
using support::messageThrownBy;
using support::OpenedFile;

namespace {

std::string refusalOf(const Bytes& contents) {
    OpenedFile opened("a.aif", contents);
    return messageThrownBy([&] { opened.parsed(); });
}

/// Two seconds of 16-bit mono at 1000 Hz, tagged as a loop of eight beats.
AIFFContents loop() {
    AIFFContents contents;
    contents.common = CommonChunk{.channels = 1, .sampleRate = 1000};
    contents.basicTagging = BasicTagging{};
    contents.samples = Bytes().zeros(4000);
    return contents;
}

std::string textOf(const halyard::CStringRef& text) {
    return text ? text->getStringRef() : "(null)";
}

}  // namespace

TEST(AIFFParser, RefusesWithItsOwnWords) {
    const auto withCommon = [](const CommonChunk& common) {
        AIFFContents contents = loop();
        contents.common = common;
        return aiffFile(contents);
    };
    AIFFContents compressed = loop(), withoutCommon = loop(), withoutSamples = loop();
    compressed.formType = "AIFC";
    withoutCommon.common.reset();
    withoutSamples.samples.reset();
    const struct {
        Bytes file;
        const char* refusal;
    } rows[] = {
        {Bytes(), "couldn't find FORM master chunk"},
        {Bytes("F"), "couldn't find FORM master chunk"},
        {support::wavFile({}), "couldn't find FORM master chunk"},
        {Bytes("FORM").big32(4), "the format tag is '', not AIFF!"},
        {aiffFile(compressed), "the format tag is 'AIFC', not AIFF!"},
        {aiffFile(withoutCommon), "couldn't find common chunk"},
        {aiffFile(loop()).first(37), "couldn't find common chunk"},
        {aiffFile(withoutSamples), "couldn't find sound data chunk tag"},
        {withCommon({.bitsPerChannel = 32}), "sample size is greater than 24 bits (it is 32 bits)"},
        {withCommon({.frames = 1, .bitsPerChannel = 12}),
         "sample size is not a whole number of bytes (it is 12 bits)"},
        {withCommon({.frames = 1, .bitsPerChannel = 4}),
         "sample size is not a whole number of bytes (it is 4 bits)"},
        {withCommon({.frames = 1, .bitsPerChannel = 0}),
         "sample size is not a whole number of bytes (it is 0 bits)"},
        {withCommon({.frames = 1, .bitsPerChannel = -8}),
         "sample size is not a whole number of bytes (it is 0 bits)"},
        {withCommon({.channels = 0, .frames = 1}), "the sample format has no channels"},
        {withCommon({.channels = -2, .frames = 1}), "the sample format has no channels"},
        {withCommon({.sampleRate = 0}), "the sample format has no sample rate"},
    };
    for (const auto& row : rows) EXPECT_EQ(refusalOf(row.file), row.refusal);
}

TEST(AIFFParser, ReadsTheFormat) {
    OpenedFile opened(
        "a.aif", aiffFile({.common = CommonChunk{.channels = 2, .bitsPerChannel = 24, .sampleRate = 96000},
                           .samples = Bytes().zeros(600)}));
    IFileParser::FormatInfo format;
    opened.parsed().getFormatInfo(format);
    EXPECT_EQ(format.mSampleRate, 96000);
    EXPECT_EQ(format.mFormatID, platform::fourCharCode("lpcm"));
    EXPECT_EQ(format.mFormatFlags, 6u);
    EXPECT_EQ(format.mBytesPerFrame, 6u);
    EXPECT_EQ(format.mBytesPerPacket, 6u);
    EXPECT_EQ(format.mFramesPerPacket, 1u);
    EXPECT_EQ(format.mChannelsPerFrame, 2u);
    EXPECT_EQ(format.mBitsPerChannel, 24u);
}

TEST(AIFFParser, RoundsTheExtendedRateToAWholeNumber) {
    const struct {
        double rate;
        unsigned long expected;
    } rows[] = {{44100, 44100},   {22254.545, 22255}, {11025, 11025},   {22254.4, 22254},
                {22254.5, 22255}, {8000.25, 8000},    {192000, 192000}, {2147483647, 2147483647},
                {2, 2},           {2.5, 3},           {1, 0x80000000}};  // the exponent's low byte is 255:
                                                                         // not shifted
    for (const auto& row : rows)
        EXPECT_EQ(CAIFFileParser::extendedToULong(Bytes().extended(row.rate).view().data()), row.expected)
            << row.rate;
    // Only the low byte of the exponent counts, and the sign does not.
    const std::string negative = std::string("\xC0\x0E\xAC\x44", 4) + std::string(6, '\0');
    EXPECT_EQ(CAIFFileParser::extendedToULong(negative.data()), 44100u);
    const std::string huge = std::string("\x00\xFF\xFF\xFF\xFF\xFF", 6) + std::string(4, '\xFF');
    EXPECT_EQ(CAIFFileParser::extendedToULong(huge.data()), 0xFFFFFFFFu);
}

TEST(AIFFParser, FindsTheSamples) {
    AIFFContents plain = loop(), aligned24 = loop(), moved24 = loop(), behind = loop();
    plain.basicTagging.reset();
    aligned24 = {.common = CommonChunk{.bitsPerChannel = 24}, .samples = Bytes().zeros(60)};
    moved24 = {.common = CommonChunk{.bitsPerChannel = 24}, .name = "", .samples = Bytes().zeros(60)};
    behind.chunksAfterSamples = Bytes().bigChunk("junk", Bytes().zeros(100));
    const Bytes whole = aiffFile(plain);
    const struct {
        const char* name;
        Bytes file;
        unsigned offset;
        int length;
    } rows[] = {
        {"16 bits", whole, 54, 4000},
        {"24 bits at a multiple of 6", aiffFile(aligned24), 54, 60},
        // The bytes skipped are taken off the end, where other chunks may follow.
        {"24 bits from the next multiple of 6", aiffFile(moved24), 66, 56},
        {"not the chunk behind them", aiffFile(behind), 146, 4000},
        {"no more than the file holds", whole.first(1054), 54, 1000},
        {"none", whole.first(54), 54, 0},
        {"none, in a chunk without a body", whole.first(46), 54, 0},
        {"a chunk of size 0", Bytes(whole.first(42).view()).big32(0).zeros(100), 54, 0},
        {"a chunk of the largest size", Bytes(whole.first(42).view()).big32(0xFFFFFFFF).zeros(100), 54, 92},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        OpenedFile opened("a.aif", row.file);
        const IFileParser& parser = opened.parsed();
        EXPECT_EQ(parser.getSampleOffset(), row.offset);
        EXPECT_EQ(parser.getSampleLengthInBytes(), row.length);
        EXPECT_EQ(opened.parser().verifyFile(), row.length > 0);
    }
}

TEST(AIFFParser, ReadsBasicTagging) {
    const struct {
        const char* name;
        BasicTagging tagging;
        int beats, rootNote, fileType, sourceBeats;
    } rows[] = {
        {"a loop", {.beats = 7, .rootNote = 50, .numerator = 7, .denominator = 8}, 7, 50, 1, 7},
        {"no root note", {.beats = 8, .rootNote = -1}, 8, 0, 1, 8},
        // Two seconds: four beats; the root note stays.
        {"a one-shot's beats come from its length", {.beats = 8, .rootNote = 60, .fileType = 2}, 4, 60, 2, 8},
        {"another version counts as absent", {.version = 2, .beats = 8, .rootNote = 60}, 4, 0, 1, 0},
        {"hostile numbers stay numbers",
         {.beats = -1, .rootNote = -32768, .scaleType = -1, .denominator = 0},
         -1,
         -32768,
         1,
         -1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        AIFFContents contents = loop();
        contents.basicTagging = row.tagging;
        OpenedFile opened("a.aif", aiffFile(contents));
        const IFileParser& parser = opened.parsed();
        EXPECT_EQ(parser.getNaturalNumberOfBeats(), row.beats);
        EXPECT_EQ(parser.getMidiRootNote(), row.rootNote);
        EXPECT_EQ(parser.getFileType(), row.fileType);
        EXPECT_EQ(parser.getSourceFileNumberOfBeats(), row.sourceBeats);
    }
}

TEST(AIFFParser, DerivesWhatACutTaggingChunkLacks) {
    AIFFContents contents = loop();
    contents.basicTagging.reset();
    contents.chunksBeforeSamples = Bytes().bigChunk("basc", support::basicTaggingBody({}).first(83));
    OpenedFile opened("a.aif", aiffFile(contents));
    EXPECT_EQ(opened.parsed().getNaturalNumberOfBeats(), 4);
    EXPECT_EQ(opened.parser().getSourceFileNumberOfBeats(), 0);
}

TEST(AIFFParser, ReadsSearchTags) {
    AIFFContents contents = loop();
    contents.categories = support::Categories{.instrument = "Drum Kit",
                                              .instrumentSubType = "Breakbeat",
                                              .genre = "Funk",
                                              .descriptors = {"Dry", "Acoustic"}};
    OpenedFile opened("a.aif", aiffFile(contents));
    const IFileParser& parser = opened.parsed();
    EXPECT_EQ(parser.getInstrument().type.view(), "Drum Kit");
    EXPECT_EQ(parser.getInstrument().subType.view(), "Breakbeat");
    EXPECT_EQ(parser.getGenre().view(), "Funk");
    ASSERT_EQ(parser.getDescriptors().size(), 2u);
    EXPECT_EQ(parser.getDescriptors()[1].view(), "Acoustic");
    EXPECT_TRUE(parser.didSourceFileHaveSearchTags());
}

TEST(AIFFParser, TakesOnlyTheDescriptorsThatAreThere) {
    const struct {
        int claimed;
        std::size_t taken;
    } rows[] = {{-1, 0}, {-32768, 0}, {0, 0}, {1, 1}, {2, 2}, {3, 2}, {32767, 2}};
    for (const auto& row : rows) {
        AIFFContents contents = loop();
        contents.categories = support::Categories{
            .genre = "Funk", .descriptors = {"Dry", "Clean"}, .claimedCount = row.claimed};
        OpenedFile opened("a.aif", aiffFile(contents));
        EXPECT_EQ(opened.parsed().getDescriptors().size(), row.taken) << row.claimed;
        EXPECT_EQ(opened.parser().getGenre().view(), "Funk");
    }
}

TEST(AIFFParser, LeavesTagsOfAnotherVersionOrACutChunk) {
    const Bytes body = support::categoriesBody({.genre = "Funk", .descriptors = {"Dry"}});
    const struct {
        Bytes body;
        bool read;
    } rows[] = {{body, true},
                {body.first(222), true},
                {body.first(221), true},
                {body.first(154), true},
                {body.first(153), false},
                {body.first(3), false},
                {Bytes(), false},
                {support::categoriesBody({.version = 2, .genre = "Funk"}), false}};
    for (const auto& row : rows) {
        AIFFContents contents = loop();
        contents.chunksBeforeSamples = Bytes().bigChunk("cate", row.body);
        OpenedFile opened("a.aif", aiffFile(contents));
        EXPECT_EQ(opened.parsed().didSourceFileHaveSearchTags(), row.read);
        EXPECT_EQ(opened.parser().getGenre().view(), row.read ? "Funk" : "");
    }
}

TEST(AIFFParser, KeepsAKeywordThatFillsItsField) {
    const std::string fifty(50, 'x');
    Bytes body = support::categoriesBody({.genre = "Funk", .descriptors = {"Dry"}});
    body.overwrite(104, Bytes(fifty)).overwrite(222, Bytes(fifty));
    AIFFContents contents = loop();
    contents.chunksBeforeSamples = Bytes().bigChunk("cate", body);
    OpenedFile opened("a.aif", aiffFile(contents));
    EXPECT_EQ(opened.parsed().getGenre().view(), fifty);
    EXPECT_EQ(opened.parser().getDescriptors().at(0).view(), fifty);
}

TEST(AIFFParser, ReadsSlicePoints) {
    using Records = std::vector<support::TransientRecord>;
    const std::vector<long long> grid{0, 250, 500, 750, 1000, 1250, 1500, 1750};
    const struct {
        const char* name;
        support::TransientChunk chunk;
        std::vector<long long> positions;
        bool fromFile;
    } rows[] = {
        {"as they are", {.records = Records{{1, 0}, {2, 700}, {3, 2000}}}, {0, 700, 2000}, true},
        {"those that do not rise are skipped",
         {.records = Records{{0, 5}, {0, 5}, {0, 3}, {0, 9}}},
         {5, 9},
         true},
        {"one beyond the end spoils all",
         {.forcedDivisions = 4, .records = Records{{0, 0}, {0, 2001}}},
         grid,
         false},
        {"one is too few", {.forcedDivisions = 4, .records = Records{{0, 0}}}, grid, false},
        {"another version",
         {.version = 2, .forcedDivisions = 4, .records = Records{{0, 0}, {0, 9}}},
         {},
         false},
        {"an older state of the file",
         {.forcedDivisions = 4, .modificationDate = 77, .records = Records{{0, 0}, {0, 9}}},
         grid,
         false},
        {"a count of -1",
         {.forcedDivisions = 4, .records = Records{{0, 0}, {0, 9}}, .claimedCount = -1},
         grid,
         false},
        {"more than there are",
         {.forcedDivisions = 4, .records = Records{{0, 0}, {0, 9}}, .claimedCount = 3},
         grid,
         false},
        {"a count of 2^31 - 1",
         {.forcedDivisions = 4, .records = Records{{0, 0}}, .claimedCount = 0x7FFFFFFF},
         grid,
         false},
        {"a position of 2^32 - 1",
         {.forcedDivisions = 4, .records = Records{{0, 0}, {0, 0xFFFFFFFF}}},
         grid,
         false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        AIFFContents contents = loop();
        contents.transients = row.chunk;
        OpenedFile opened("a.aif", aiffFile(contents));
        opened.parser().parse(IFileParser::kTransients);
        if (!row.positions.empty()) {
            EXPECT_EQ(support::transientPositions(opened.parser()), row.positions);
        }
        EXPECT_EQ(opened.parser().didSourceFileHaveTransients(), row.fromFile);
        if (row.chunk.version == 1) {
            EXPECT_EQ(opened.parser().getTransientDetectionPercentage(), 50);
            EXPECT_EQ(opened.parser().getForceDivisionsAt(), row.chunk.forcedDivisions);
        }
    }
}

TEST(AIFFParser, SurvivesAFormatWithoutFramesThatAHostHasSet) {
    AIFFContents contents = loop();
    contents.transients = support::TransientChunk{.records = {{0, 0}, {0, 9}}};
    OpenedFile opened("a.aif", aiffFile(contents));
    opened.parser().parse(IFileParser::kNoFlags);
    IFileParser::FormatInfo format;
    format.mSampleRate = 44100;
    opened.parser().setFormatInfo(format);
    opened.parser().parse(IFileParser::kTransients);
    EXPECT_TRUE(opened.parser().getTransients().empty());
}

TEST(AIFFParser, KeepsTheValueOfASlicePoint) {
    AIFFContents contents = loop();
    contents.transients = support::TransientChunk{.records = {{-7, 0}, {9, 100}}};
    OpenedFile opened("a.aif", aiffFile(contents));
    EXPECT_EQ(opened.parsed().getTransients().at(0).value, -7);
    EXPECT_EQ(opened.parser().getTransients().at(1).value, 9);
}

TEST(AIFFParser, AcceptsSlicePointsOfTheFilesOwnDate) {
    support::TemporaryFolder folder;
    const std::string path = folder.path("a.aif");
    const timespec times[2] = {{1000000000, 5}, {1000000000, 123456789}};
    for (const std::uint64_t date : {(1000000000ull << 32 | 123456789), (1000000000ull << 32 | 123456788)}) {
        AIFFContents contents = loop();
        contents.transients = support::TransientChunk{.modificationDate = date, .records = {{0, 0}, {0, 9}}};
        folder.write("a.aif", aiffFile(contents));
        ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
        const marl::IFileRef file(marl::IFile::New(support::urlOf(path), false));
        file->getFileParserRef()->parse(IFileParser::kTransients);
        EXPECT_EQ(file->getFileParserRef()->didSourceFileHaveTransients(), (date & 1) != 0);
    }
}

TEST(AIFFParser, GivesAOneShotNoSlicePoints) {
    AIFFContents contents = loop();
    contents.basicTagging = BasicTagging{.fileType = 2};
    contents.transients = support::TransientChunk{.records = {{0, 0}, {0, 9}}};
    OpenedFile opened("a.aif", aiffFile(contents));
    EXPECT_TRUE(opened.parsed().getTransients().empty());
}

TEST(AIFFParser, LooksForSlicePointsWithoutReadingThem) {
    AIFFContents contents = loop();
    OpenedFile without("a.aif", aiffFile(contents));
    contents.transients = support::TransientChunk{};
    OpenedFile with("a.aif", aiffFile(contents));
    for (const OpenedFile* opened : {&without, &with}) {
        opened->parser().parse(IFileParser::kCheckForTransients);
        EXPECT_EQ(opened->parser().didSourceFileHaveTransients(), opened == &with);
        EXPECT_TRUE(opened->parser().getTransients().empty());
    }
}

TEST(AIFFParser, ReadsTextsInBothTheirEncodings) {
    AIFFContents contents = loop();
    contents.name = "Kick";
    contents.author = "J\xC3\xBCrgen";         // UTF-8
    contents.copyright = "\xA9 2004 Caf\x8E";  // Mac Roman
    contents.annotation = std::string("odd\0junk", 8);
    contents.chunksAfterSamples = Bytes().bigChunk("NAME", Bytes("the second one"));
    OpenedFile opened("a.aif", aiffFile(contents));
    const IFileParser::FileInfo& texts = opened.parsed().getFileInfo();
    EXPECT_EQ(textOf(texts.name), "Kick");
    EXPECT_EQ(textOf(texts.author), "J\xC3\xBCrgen");
    EXPECT_EQ(textOf(texts.copyright), "\xC2\xA9 2004 Caf\xC3\xA9");
    EXPECT_EQ(textOf(texts.annotation), "odd") << "up to the first zero byte";
    OpenedFile bare("a.aif", aiffFile(loop()));
    EXPECT_EQ(textOf(bare.parsed().getFileInfo().name), "(null)");
}

TEST(AIFFParser, FindsChunksBehindTheSamplesAndMIDI) {
    AIFFContents contents = loop();
    contents.basicTagging.reset();
    contents.samples = Bytes().zeros(100001);  // odd: a pad byte follows
    contents.chunksAfterSamples = Bytes()
                                      .bigChunk("basc", support::basicTaggingBody({.beats = 5}))
                                      .bigChunk("MIDI", Bytes("MThd"))
                                      .bigChunk("ANNO", Bytes("last"));
    OpenedFile opened("a.aif", aiffFile(contents));
    EXPECT_EQ(opened.parsed().getNaturalNumberOfBeats(), 5);
    EXPECT_TRUE(opened.parser().hasMidiChunk());
    EXPECT_EQ(textOf(opened.parser().getFileInfo().annotation), "last");
    OpenedFile bare("a.aif", aiffFile(loop()));
    EXPECT_FALSE((bare.parsed(), bare.parser().hasMidiChunk()));
}
