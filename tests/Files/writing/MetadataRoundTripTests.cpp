// SPDX-License-Identifier: MIT
/// What is written is read back, field for field.
#include "WrittenFiles.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <random>

namespace support {
namespace {

using marl::IFileParser;
using marl::IFileParserRef;
namespace tagging = marl::tagging;

constexpr WrittenFormat kAIFF{Container::kAIFF, 2, 16};
constexpr WrittenFormat kWAV{Container::kWAV, 2, 16};
constexpr int kFrames = 88200;  // two seconds

std::string textOf(const halyard::CStringRef& text) {
    return text ? "'" + text->getStringRef() + "'" : "null";
}

std::string textsOf(const IFileParser::FileInfo& info) {
    return textOf(info.name) + textOf(info.author) + textOf(info.copyright) + textOf(info.annotation);
}

std::vector<std::uint32_t> positionsOf(const IFileParser& parser) {
    std::vector<std::uint32_t> positions;
    for (const auto& transient : parser.getTransients()) positions.push_back(transient.position);
    return positions;
}

/// `parser`'s metadata with `frames` silent frames, read back.
IFileParserRef writtenAndRead(const WrittenFormat& format, const IFileParserRef& parser,
                              int frames = kFrames) {
    const TemporaryFolder folder;
    const std::string path = folder.path(format.fileName()),
                      samples = silence(format, frames * format.channels);
    const marl::IFileWriterRef writer = newWriter(format.container, path, parser);
    writer->writeSamples(samples.data(), 0, static_cast<unsigned long>(frames * format.channels));
    writer->finish();
    expectTrueHeader(path, format, frames);
    return parsed(path, format.container);
}

// Generated metadata.

class Generator {
public:
    explicit Generator(unsigned seed) : m_random(seed) {}

    int upTo(int most) { return std::uniform_int_distribution(0, most)(m_random); }

    /// Of one- to four-byte characters.
    std::string text(int mostCharacters) {
        static constexpr const char* kCharacters[] = {"a", "Z", " ", "7", "é", "ß", "音", "🥁"};
        std::string result;
        for (int i = upTo(mostCharacters); i > 0; --i) result += kCharacters[upTo(7)];
        return result;
    }
    halyard::CStringRef textOrNull() {
        return upTo(3) == 0 ? halyard::CStringRef() : halyard::CSTR(text(60));
    }
    tagging::Keyword keyword() { return tagging::Keyword(text(40)); }

    /// At least two slice points, or none.
    std::vector<tagging::TransientStruct> transients() {
        std::vector<tagging::TransientStruct> all;
        std::uint32_t position = static_cast<std::uint32_t>(upTo(2));
        for (int i = upTo(1) * (2 + upTo(30)); i > 0; --i) {
            all.emplace_back().value = static_cast<std::int16_t>(upTo(65535) - 32768);
            all.back().position = position;
            position += static_cast<std::uint32_t>(1 + upTo(2000));
        }
        return all;
    }

    LoopDescriptionRef loop(const WrittenFormat& format) {
        const LoopDescriptionRef loop = describe(format);
        loop->setNumberOfBeats(1 + upTo(64));
        loop->setMidiRootNote(upTo(127));
        loop->setInstrument({keyword(), keyword()});
        loop->setGenre(keyword());
        loop->setDescriptors(std::vector<tagging::Descriptor>(static_cast<std::size_t>(upTo(9)), keyword()));
        loop->setFileInfo({textOrNull(), textOrNull(), textOrNull(), textOrNull()});
        loop->setTransients(transients());
        loop->setTransientDetectionPercentage(upTo(100));
        loop->setForceDivisionsAt(1 << upTo(6));
        return loop;
    }

    tagging::TimeSignature meter() {
        return {static_cast<std::int16_t>(1 + upTo(11)), static_cast<std::int16_t>(1 << upTo(4))};
    }

private:
    std::mt19937 m_random;
};

void expectSameTransients(const IFileParser& read, const IFileParser& written) {
    if (written.getTransients().empty()) return;  // readers lay a grid of their own
    EXPECT_EQ(positionsOf(read), positionsOf(written));
    EXPECT_EQ(read.getTransientDetectionPercentage(), written.getTransientDetectionPercentage());
    EXPECT_EQ(read.getForceDivisionsAt(), written.getForceDivisionsAt());
    EXPECT_TRUE(read.didSourceFileHaveTransients());
}

TEST(MetadataRoundTrip, BringsBackEveryFieldOfAnAIFFLoop) {
    for (unsigned seed = 0; seed < 60; ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        Generator generator(seed);
        const LoopDescriptionRef loop = generator.loop(kAIFF);
        loop->setTimeSignature(generator.meter());
        tagging::BasicTaggingChunk basic = loop->getBasicTaggingChunk();
        basic.scaleType = static_cast<std::int16_t>(generator.upTo(5));
        basic.reserved.fill(std::byte{0x5A});
        loop->setBasicTaggingChunk(basic);
        const IFileParserRef read = writtenAndRead(kAIFF, loop);
        basic.version = 1;
        EXPECT_EQ(read->getBasicTaggingChunk(), basic);
        EXPECT_EQ(read->getSourceFileNumberOfBeats(), basic.numberOfBeats);
        EXPECT_EQ(read->getInstrument(), loop->getInstrument());
        EXPECT_EQ(read->getGenre(), loop->getGenre());
        EXPECT_EQ(read->getDescriptors(), loop->getDescriptors());
        EXPECT_EQ(textsOf(read->getFileInfo()), textsOf(loop->getFileInfo()));
        expectSameTransients(*read, *loop);
        EXPECT_TRUE(loop->getTransients().empty() || read->getTransients() == loop->getTransients());
    }
}

TEST(MetadataRoundTrip, BringsBackWhatAWAVLoopCanHold) {
    for (unsigned seed = 0; seed < 60; ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        Generator generator(seed);
        const LoopDescriptionRef loop = generator.loop(kWAV);
        const IFileParserRef read = writtenAndRead(kWAV, loop);
        tagging::BasicTaggingChunk basic;
        basic.numberOfBeats = loop->getNaturalNumberOfBeats();
        basic.rootNote = static_cast<std::int16_t>(loop->getMidiRootNote());
        EXPECT_EQ(read->getBasicTaggingChunk(), basic);
        EXPECT_EQ(read->getSourceFileNumberOfBeats(), basic.numberOfBeats);
        EXPECT_EQ(textsOf(read->getFileInfo()), textsOf(loop->getFileInfo()));
        EXPECT_FALSE(read->didSourceFileHaveSearchTags());
        expectSameTransients(*read, *loop);
    }
}

TEST(MetadataRoundTrip, LeavesAPlainRecordingPlain) {
    const struct {
        WrittenFormat format;
        std::size_t headSize;
    } rows[] = {{kAIFF, 12 + 26 + 16}, {kWAV, 12 + 24 + 8}};
    for (const auto& [format, headSize] : rows) {
        const IFileParserRef read = writtenAndRead(format, describe(format));
        EXPECT_EQ(read->getSampleOffset(), headSize);
        EXPECT_EQ(read->getSourceFileNumberOfBeats(), 0);
        EXPECT_FALSE(read->didSourceFileHaveTransients());
        EXPECT_FALSE(read->didSourceFileHaveSearchTags());
        EXPECT_EQ(textsOf(read->getFileInfo()), "nullnullnullnull");
    }
}

TEST(MetadataRoundTrip, KeepsTheFormatOfEveryFile) {
    for (const WrittenFormat& format : writtenFormats()) {
        if (format.bits == 32) continue;  // floats, as the file says, but not what is described to the writer
        Generator generator(1);
        IFileParser::FormatInfo written, read;
        const LoopDescriptionRef loop = generator.loop(format);
        loop->getFormatInfo(written);
        writtenAndRead(format, loop, 3)->getFormatInfo(read);
        EXPECT_TRUE(marl::IFileData::AudioDescriptionsAreEquivalent(read, written)) << format;
    }
}

// The parser of a file as the source: a copy of a loop is the loop.

TEST(MetadataRoundTrip, MakesACopyOfACopyTheSameFile) {
    for (const WrittenFormat& format : {kAIFF, kWAV, WrittenFormat{Container::kAIFF, 1, 24}}) {
        for (unsigned seed = 0; seed < 20; ++seed) {
            SCOPED_TRACE(testing::Message() << format << ", seed " << seed);
            const TemporaryFolder folder;
            const std::string samples = silence(format, kFrames * format.channels);
            const auto write = [&](const char* name, const IFileParserRef& parser) {
                const auto writer = newWriter(format.container, folder.path(name), parser);
                writer->writeSamples(samples.data(), 0,
                                     static_cast<unsigned long>(kFrames * format.channels));
                return parsed(folder.path(name), format.container);
            };
            Generator generator(seed);
            const LoopDescriptionRef source = generator.loop(format);
            if (seed % 4 == 0) source->setFileType(tagging::kFileTypeOneShot);
            if (seed % 2 == 0) source->setTimeSignature({6, 8});
            // The first copy has the slice points that readers lay where the source has none.
            const IFileParserRef copy = write("copy", write("first", source));
            write("copy of copy", copy);
            EXPECT_TRUE(contentsOf(folder.path("copy")) == contentsOf(folder.path("copy of copy")));
        }
    }
}

TEST(MetadataRoundTrip, WritesSlicePointsAtTheDeliveredRate) {
    for (const WrittenFormat& format : {kAIFF, kWAV}) {
        const LoopDescriptionRef loop = describe(format);
        loop->setNumberOfBeats(4);
        loop->setTransients({{.position = 0}, {.position = 1}, {.position = 40000}});
        loop->setSampleRateConversion(0.5);
        // Frames 0 and 1 become one.
        EXPECT_EQ(positionsOf(*writtenAndRead(format, loop)), (std::vector<std::uint32_t>{0, 20000}));
    }
}

// What does not go through as it is.

TEST(MetadataRoundTrip, TellsAOneShotByItsTypeAndGivesItNoSlicePoints) {
    for (const WrittenFormat& format : {kAIFF, kWAV}) {
        const LoopDescriptionRef loop = describe(format);
        loop->setNumberOfBeats(7);
        loop->setSourceFileNumberOfBeats(5);
        loop->setMidiRootNote(60);
        loop->setFileType(tagging::kFileTypeOneShot);
        loop->setTransients({{.position = 0}, {.position = 100}});
        const IFileParserRef read = writtenAndRead(format, loop);
        EXPECT_EQ(read->getFileType(), tagging::kFileTypeOneShot);
        // An AIFF parser has derived a one-shot's beats, so its source's are the true ones.
        EXPECT_EQ(read->getSourceFileNumberOfBeats(), format.container == Container::kAIFF ? 5 : 7);
        EXPECT_EQ(read->getMidiRootNote(), 60);
        EXPECT_TRUE(read->getTransients().empty());
        EXPECT_FALSE(read->didSourceFileHaveTransients());
    }
}

TEST(MetadataRoundTrip, CountsTheBeatsOfAWAVLoopInQuarterNotes) {
    const struct {
        int beats, denominator, quarterNotes;
    } rows[] = {{8, 4, 8}, {8, 8, 4}, {7, 8, 3}, {15, 16, 4}, {13, 16, 3}, {1, 16, 1}, {3, 2, 6}};
    for (const auto& row : rows) {
        const LoopDescriptionRef loop = describe(kWAV);
        loop->setNumberOfBeats(row.beats);
        loop->setTimeSignature({5, static_cast<std::int16_t>(row.denominator)});
        const IFileParserRef read = writtenAndRead(kWAV, loop);
        EXPECT_EQ(read->getNaturalNumberOfBeats(), row.quarterNotes) << row.beats << "/" << row.denominator;
        EXPECT_EQ(read->getTimeSignature(), tagging::TimeSignature{});
    }
}

TEST(MetadataRoundTrip, TakesTheRootNoteForAMIDINote) {
    const struct {
        int written, inAIFF, inWAV;
    } rows[] = {{0, 0, 0}, {-1, 0, 0}, {1, 1, 1}, {127, 127, 127}, {128, 128, 0}, {-2, -2, 0}};
    for (const auto& row : rows) {
        for (const WrittenFormat& format : {kAIFF, kWAV}) {
            const LoopDescriptionRef loop = describe(format);
            loop->setNumberOfBeats(4);
            loop->setMidiRootNote(row.written);
            const int expected = format.container == Container::kAIFF ? row.inAIFF : row.inWAV;
            EXPECT_EQ(writtenAndRead(format, loop)->getMidiRootNote(), expected) << row.written;
        }
    }
}

TEST(MetadataRoundTrip, TakesTheNearestDivisionThatAWAVFileKnows) {
    const int rows[][2] = {{-5, 1},  {0, 1},   {1, 1},   {2, 2},   {3, 4},   {5, 4},   {6, 8},
                           {12, 16}, {16, 16}, {24, 32}, {45, 32}, {46, 64}, {64, 64}, {9999, 64}};
    for (const auto& [written, expected] : rows) {
        const LoopDescriptionRef loop = describe(kWAV);
        loop->setTransients({{.position = 0}, {.position = 100}});
        loop->setForceDivisionsAt(written);
        EXPECT_EQ(writtenAndRead(kWAV, loop)->getForceDivisionsAt(), expected) << written;
    }
}

TEST(MetadataRoundTrip, CutsWhatReadersWouldNotTake) {
    const std::string odd = std::string(15999, 'x').append("é!"), longer = std::string(70000, 'y');
    for (const WrittenFormat& format : {kAIFF, kWAV}) {
        const std::size_t limit = format.container == Container::kAIFF ? 65536 : 16000;
        const LoopDescriptionRef loop = describe(format);
        loop->setNumberOfBeats(4);
        loop->setFileInfo({halyard::CSTR(odd), halyard::CSTR(longer), halyard::CSTR(std::string("a\0b", 3)),
                           halyard::CSTR(longer)});
        loop->setDescriptors(std::vector<tagging::Descriptor>(32768, tagging::Descriptor("x")));
        std::vector<tagging::TransientStruct> transients(kFrames);
        for (std::uint32_t i = 0; i < transients.size(); ++i) transients[i].position = i;
        loop->setTransients(transients);
        const IFileParserRef read = writtenAndRead(format, loop);
        EXPECT_EQ(read->getFileInfo().name->getStringRef(), limit == 16000 ? std::string(15999, 'x') : odd);
        EXPECT_EQ(read->getFileInfo().author->getStringRef().size(), limit);
        EXPECT_EQ(read->getFileInfo().copyright->getStringRef(), "a");
        EXPECT_EQ(read->getFileInfo().annotation->getStringRef().size(), limit);
        EXPECT_EQ(read->getDescriptors().size(), limit == 16000 ? 0u : 32767u);
        EXPECT_EQ(read->getTransients().size(), IFileParser::kMaximumTransients);
    }
}

}  // namespace
}  // namespace support
