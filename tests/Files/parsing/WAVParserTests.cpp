// SPDX-License-Identifier: MIT
#include "support/LoopFiles.h"
#include "support/OpenedFile.h"

#include <gtest/gtest.h>

using marl::IFileParser;
using support::AcidChunk;
using support::Bytes;
using support::messageThrownBy;
using support::OpenedFile;
using support::StretchChunk;
using support::WAVContents;
using support::wavFile;
using support::WAVFormat;

namespace {

/// Two seconds of 16-bit mono at 1000 Hz, tagged as a loop of eight beats.
WAVContents loop() {
    WAVContents contents;
    contents.format = WAVFormat{.channels = 1, .sampleRate = 1000};
    contents.acid = AcidChunk{};
    contents.samples = Bytes().zeros(4000);
    return contents;
}

std::string textOf(const halyard::CStringRef& text) {
    return text ? text->getStringRef() : "(null)";
}

}  // namespace

TEST(WAVParser, RefusesWithItsOwnWords) {
    const auto withFormat = [](const WAVFormat& format) {
        WAVContents contents = loop();
        contents.format = format;
        return wavFile(contents);
    };
    WAVContents otherType = loop(), withoutFormat = loop(), withoutData = loop();
    otherType.formType = "AVI ";
    withoutFormat.format.reset();
    withoutData.samples.reset();
    const struct {
        Bytes file;
        const char* refusal;
    } rows[] = {
        {Bytes(), "couldn't find RIFF tag"},
        {Bytes("R"), "couldn't find RIFF tag"},
        {support::aiffFile({}), "couldn't find RIFF tag"},
        {wavFile(loop()).first(8), "WAVE is not in the RIFF tag!"},
        {wavFile(otherType), "WAVE is not in the RIFF tag!"},
        {wavFile(withoutFormat), "couldn't find format tag"},
        {wavFile(loop()).first(35), "couldn't find format tag"},
        {wavFile(withoutData), "couldn't find data tag"},
        {withFormat({.formatTag = 2}), "unsupported WAV format (the 'alwaysOne' flag is 2)"},
        {withFormat({.formatTag = 65534}), "unsupported WAV format (the 'alwaysOne' flag is 65534)"},
        {withFormat({.bitsPerChannel = 4}), "sample size is less than 8 bits (it is 4 bits)"},
        {withFormat({.bitsPerChannel = 0}), "sample size is less than 8 bits (it is 0 bits)"},
        {withFormat({.bitsPerChannel = 32}), "sample size is greater than 24 bits (it is 32 bits)"},
        {withFormat({.bitsPerChannel = 65535}), "sample size is greater than 24 bits (it is 65535 bits)"},
        {withFormat({.bitsPerChannel = 12}), "sample size is not a whole number of bytes (it is 12 bits)"},
        {withFormat({.channels = 0}), "the sample format has no channels"},
        {withFormat({.sampleRate = 0}), "the sample format has no sample rate"},
    };
    for (const auto& row : rows) {
        OpenedFile opened("a.wav", row.file);
        EXPECT_EQ(messageThrownBy([&] { opened.parsed(); }), row.refusal);
        EXPECT_FALSE(opened.parser().verifyFile());
    }
}

TEST(WAVParser, ReadsTheFormatAndFindsTheSamples) {
    WAVContents contents = loop();
    contents.format = WAVFormat{.channels = 2, .sampleRate = 0xFFFFFFFF, .bitsPerChannel = 24};
    contents.chunksBeforeSamples = Bytes().littleChunk("odd ", Bytes().zeros(3));
    const Bytes whole = wavFile(contents);
    const auto offset = static_cast<unsigned>(whole.offsetOf("data") + 8);
    for (const std::size_t cut : {std::size_t{0}, std::size_t{1000}, std::size_t{4000}}) {
        OpenedFile opened("a.wav", whole.first(whole.size() - cut));
        IFileParser::FormatInfo format;
        opened.parsed().getFormatInfo(format);
        EXPECT_EQ(format.mSampleRate, 4294967296.0) << "through single precision";
        EXPECT_EQ(format.mFormatFlags, 6u);
        EXPECT_EQ(format.mBytesPerFrame, 6u);
        EXPECT_EQ(opened.parser().getSampleOffset(), offset) << "no alignment here";
        EXPECT_EQ(opened.parser().getSampleLengthInBytes(), static_cast<int>(4000 - cut));
    }
}

TEST(WAVParser, ReadsTheLoopChunk) {
    const struct {
        const char* name;
        AcidChunk acid;
        int beats, rootNote, fileType, sourceBeats;
    } rows[] = {
        {"a loop, in 4/4 whatever it says", {.beats = 8, .numerator = 3, .denominator = 4}, 8, 60, 1, 8},
        {"a root note that is not valid", {.flags = 0, .beats = 8}, 8, 0, 1, 8},
        {"a one-shot", {.flags = 1, .beats = 8}, 8, 0, 2, 8},
        {"no beats: from the length", {.flags = 3, .beats = 0}, 4, 0, 1, 0},
        {"the highest root note", {.rootNote = 255}, 8, 255, 1, 8},
        {"a count that is no count", {.beats = 0xFFFFFFFF}, -1, 60, 1, -1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        WAVContents contents = loop();
        contents.acid = row.acid;
        OpenedFile opened("a.wav", wavFile(contents));
        const IFileParser& parser = opened.parsed();
        EXPECT_EQ(parser.getNaturalNumberOfBeats(), row.beats);
        EXPECT_EQ(parser.getMidiRootNote(), row.rootNote);
        EXPECT_EQ(parser.getFileType(), row.fileType);
        EXPECT_EQ(parser.getSourceFileNumberOfBeats(), row.sourceBeats);
        EXPECT_EQ(parser.getTimeSignature(), (marl::tagging::TimeSignature{4, 4}));
        EXPECT_EQ(parser.getBasicTaggingChunk().scaleType, 3);
        EXPECT_EQ(opened.file().isDiskFileDataNeeded(), row.fileType == 2);
    }
}

TEST(WAVParser, DerivesWhatAnAbsentOrCutLoopChunkLacks) {
    const Bytes body = support::acidBody({.beats = 8});
    for (const std::size_t size : {std::size_t{0}, std::size_t{15}}) {
        WAVContents contents = loop();
        contents.acid.reset();
        if (size > 0) contents.chunksBeforeSamples = Bytes().littleChunk("acid", body.first(size));
        OpenedFile opened("a.wav", wavFile(contents));
        EXPECT_EQ(opened.parsed().getNaturalNumberOfBeats(), 4);
        EXPECT_EQ(opened.parser().getSourceFileNumberOfBeats(), 0);
    }
    WAVContents contents = loop();
    contents.acid.reset();
    contents.chunksBeforeSamples = Bytes().littleChunk("acid", body.first(16));
    OpenedFile opened("a.wav", wavFile(contents));
    EXPECT_EQ(opened.parsed().getNaturalNumberOfBeats(), 8) << "the fields behind the beats are not needed";
}

TEST(WAVParser, ReadsSlicePoints) {
    const std::vector<long long> grid{0, 250, 500, 750, 1000, 1250, 1500, 1750};  // code 2: quarter notes
    const struct {
        const char* name;
        StretchChunk chunk;
        std::vector<long long> positions;
        bool fromFile;
    } rows[] = {
        {"as they are", {.positions = {0, 700, 2000}}, {0, 700, 2000}, true},
        {"from the last one at frame 0 on", {.positions = {5, 0, 9, 0, 3, 4}}, {0, 3, 4}, true},
        {"from the first when none is at frame 0", {.positions = {5, 7}}, {5, 7}, true},
        {"up to the first that goes back", {.positions = {0, 7, 7, 6, 8}}, {0, 7, 7}, true},
        {"one beyond the end spoils all", {.divisionCode = 2, .positions = {0, 2001, 5}}, grid, false},
        {"none", {.divisionCode = 2, .positions = {}}, grid, false},
        {"a position of 2^32 - 1", {.divisionCode = 2, .positions = {0, 0xFFFFFFFF}}, grid, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        WAVContents contents = loop();
        contents.stretch = row.chunk;
        OpenedFile opened("a.wav", wavFile(contents));
        EXPECT_EQ(support::transientPositions(opened.parsed()), row.positions);
        EXPECT_EQ(opened.parser().getTransientDetectionPercentage(), 50);
        opened.parser().parse(IFileParser::kTransients);
        OpenedFile again("a.wav", wavFile(contents));
        again.parser().parse(IFileParser::kTransients);
        EXPECT_EQ(again.parser().didSourceFileHaveTransients(), row.fromFile);
    }
}

TEST(WAVParser, DoesNotTakeSlicePointsFromAChunkThatIsCutOff) {
    const Bytes body = support::stretchBody({.divisionCode = 2, .positions = {0, 100, 200}});
    const struct {
        Bytes chunk;
        std::size_t points;
    } rows[] = {
        {Bytes().littleChunk("strc", body), 3},
        {Bytes().littleChunk("strc", body.first(body.size() - 1)),
         2},  // states two whole records, and has them
        {Bytes().littleChunkClaiming("strc", static_cast<std::int64_t>(body.size()),
                                     body.first(body.size() - 2)),
         8},
        {Bytes().littleChunkClaiming("strc", 0xFFFFFFFF, body), 8},
        {Bytes().littleChunkClaiming("strc", 0x7FFFFFFF, body), 8},
        {Bytes().littleChunkClaiming("strc", 27, body.first(27)), 32},  // no settings either: sixteenths
    };
    for (const auto& row : rows) {
        WAVContents contents = loop();
        contents.chunksAfterSamples = row.chunk;
        OpenedFile opened("a.wav", wavFile(contents));
        EXPECT_EQ(opened.parsed().getTransients().size(), row.points);
    }
}

TEST(WAVParser, TranslatesTheDivisionCode) {
    const std::pair<std::int64_t, int> rows[] = {{0, 1},  {1, 2},  {2, 4}, {3, 8},         {4, 16},
                                                 {5, 32}, {6, 64}, {7, 8}, {0xFFFFFFFF, 8}};
    for (const auto& [code, divisions] : rows) {
        WAVContents contents = loop();
        contents.stretch = StretchChunk{.divisionCode = code, .positions = {0, 5}};
        OpenedFile opened("a.wav", wavFile(contents));
        EXPECT_EQ(opened.parsed().getForceDivisionsAt(), divisions) << code;
    }
}

TEST(WAVParser, ReadsTextsOfTheInfoList) {
    WAVContents contents = loop();
    contents.chunksBeforeSamples =
        Bytes().littleChunk("LIST", Bytes("adtl").littleChunk("labl", Bytes("marker")));
    contents.info = {
        {"ISFT", "odd"}, {"ICOP", "\xA9 2004"}, {"INAM", "Caf\xC3\xA9"}, {"IART", ""}, {"ICOP", "second"}};
    OpenedFile opened("a.wav", wavFile(contents));
    const IFileParser::FileInfo& texts = opened.parsed().getFileInfo();
    EXPECT_EQ(textOf(texts.copyright), "\xC2\xA9 2004") << "code page 1252";
    EXPECT_EQ(textOf(texts.name), "Caf\xC3\xA9") << "UTF-8";
    EXPECT_EQ(textOf(texts.author), "");
    EXPECT_EQ(textOf(texts.annotation), "(null)");
}

TEST(WAVParser, SurvivesInfoListsThatLie) {
    const struct {
        Bytes list;
        const char* copyright;
    } rows[] = {
        {Bytes("INFO").littleChunk("ICOP", Bytes("me")), "me"},
        {Bytes("INFO").littleChunkClaiming("ICOP", 0xFFFFFFFF, Bytes("me")), "me"},
        {Bytes("INFO").littleChunkClaiming("junk", 0xFFFFFFFF, Bytes()).littleChunk("ICOP", Bytes("me")),
         "(null)"},
        {Bytes("INFO").littleChunk("junk", Bytes()).littleChunk("ICOP", Bytes("me")), "me"},
        {Bytes("INFO").text("ICOP").little16(0), "(null)"},
        {Bytes("INF"), "(null)"},
        {Bytes(), "(null)"},
    };
    for (const auto& row : rows) {
        WAVContents contents = loop();
        contents.chunksAfterSamples = Bytes().littleChunk("LIST", row.list);
        OpenedFile opened("a.wav", wavFile(contents));
        EXPECT_EQ(textOf(opened.parsed().getFileInfo().copyright), row.copyright);
    }
}

TEST(WAVParser, LooksForTheInfoListAmongABoundedNumberOfLists) {
    for (const bool found : {true, false}) {
        WAVContents contents = loop();
        for (int i = 0; i < (found ? 4000 : 4200); ++i)
            contents.chunksAfterSamples.littleChunk("LIST", Bytes("adtl"));
        contents.chunksAfterSamples.littleChunk("LIST", Bytes("INFO").littleChunk("ICOP", Bytes("me")));
        OpenedFile opened("a.wav", wavFile(contents));
        EXPECT_EQ(textOf(opened.parsed().getFileInfo().copyright), found ? "me" : "(null)");
    }
}

TEST(WAVParser, ReadsTheSecondListWhenThatIsTheInfoList) {
    WAVContents contents = loop();
    contents.chunksBeforeSamples = Bytes().littleChunk("LIST", Bytes("adt").text("l!!"));
    contents.chunksAfterSamples = Bytes().littleChunk("LIST", Bytes("INFO").littleChunk("ICOP", Bytes("me")));
    OpenedFile opened("a.wav", wavFile(contents));
    EXPECT_EQ(textOf(opened.parsed().getFileInfo().copyright), "me");
}
