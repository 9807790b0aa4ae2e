// SPDX-License-Identifier: MIT
// Loop files cut off at every byte, with every byte damaged and with sizes that lie: each is read for what it
// holds or refused in the parser's own words.
#include "support/OpenedFile.h"
#include "support/ParsedFile.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>

#include <sys/stat.h>
#include <unistd.h>

using support::Bytes;
using support::isRefusalOfAParser;
using support::ParsedFile;
using support::parseFile;
using support::Picture;
using support::seedFile;
using support::TemporaryFolder;

namespace {

constexpr const char* kSeeds[] = {
    "aiff_fuzzer/bare.aif",  "aiff_fuzzer/one-shot.aif", "aiff_fuzzer/stereo.aif",
    "aiff_fuzzer/wide.aif",  "aiff_fuzzer/surround.aif", "aiff_fuzzer/two-seconds.aif",
    "wav_fuzzer/bare.wav",   "wav_fuzzer/narrow.wav",    "wav_fuzzer/one-shot.wav",
    "wav_fuzzer/stereo.wav", "wav_fuzzer/wide.wav",      "wav_fuzzer/two-seconds.wav",
};

/// Files of one format, written and read one after the other.
class Workbench {
public:
    explicit Workbench(const std::string& name)
        : m_name(std::filesystem::path("a").replace_extension(support::extensionOf(name))) {}

    ParsedFile parse(const Bytes& contents) const {
        // A new file each time: some file systems wait for the disk when an old one is overwritten.
        std::filesystem::remove(m_folder.path(m_name));
        return parseFile(m_folder.write(m_name, contents));
    }

private:
    TemporaryFolder m_folder;
    std::string m_name;
};

bool isAIFF(const std::string& name) {
    return support::extensionOf(name) == ".aif";
}

/// What a file cut off at `length` is refused with; "" when enough of it is left.
std::string refusalOfPrefix(const Bytes& file, std::size_t length, bool aiff) {
    const std::size_t samples = file.offsetOf(aiff ? "SSND" : "data") + 8;
    if (length < 8) return aiff ? "couldn't find FORM master chunk" : "couldn't find RIFF tag";
    if (length < 12 && !aiff) return "WAVE is not in the RIFF tag!";
    if (length < 12) return "the format tag is '" + std::string("AIFF", length - 8) + "', not AIFF!";
    if (length < (aiff ? 38u : 36u)) return aiff ? "couldn't find common chunk" : "couldn't find format tag";
    if (length < samples) return aiff ? "couldn't find sound data chunk tag" : "couldn't find data tag";
    return "";
}

/// Where the last slice point of every seed lies, frames: 0, 3 and 6 are stated. A file that is shorter
/// states nonsense, and has a grid instead.
constexpr long long kLastSlicePoint = 6;

/// What is left of `whole` when only its first `length` bytes are there; a grid is taken from `cut`.
Picture prefixOf(Picture whole, std::size_t length, const Picture& cut) {
    const auto there = std::max(static_cast<int>(length) - static_cast<int>(whole.sampleOffset), 0);
    whole.sampleLengthInBytes = std::min(whole.sampleLengthInBytes, there);
    whole.frames = whole.sampleLengthInBytes / static_cast<int>(whole.channels * whole.bitsPerChannel / 8);
    whole.samples.resize(static_cast<std::size_t>(whole.frames) * whole.channels);
    if (whole.frames < kLastSlicePoint) whole.transients = cut.transients;
    return whole;
}

struct Chunk {
    std::string id;
    std::size_t start;  // of its header
};

/// The chunks of a sound file, the container that holds them included.
std::vector<Chunk> chunksOf(const Bytes& file, bool aiff) {
    std::vector<Chunk> chunks{{std::string(file.view().substr(0, 4)), 0}};
    for (std::size_t at = 12; at + 8 <= file.size();) {
        chunks.push_back({std::string(file.view().substr(at, 4)), at});
        std::size_t size = 0;
        for (std::size_t i = 0; i < 4; ++i)
            size |= std::size_t{static_cast<unsigned char>(file.view()[at + 4 + i])}
                    << 8 * (aiff ? 3 - i : i);
        at += 8 + size + size % 2;
    }
    return chunks;
}

Bytes withSize(Bytes file, const Chunk& chunk, std::int64_t size, bool aiff) {
    return file.overwrite(chunk.start + 4, aiff ? Bytes().big32(size) : Bytes().little32(size));
}

/// The file with the chunks of `more` behind its own.
Bytes withChunksOf(Bytes file, const Bytes& more) {
    return file.zeros(file.size() % 2).text(more.view().substr(12));
}

void expectReadOrRefused(const ParsedFile& parsed) {
    EXPECT_TRUE(parsed.picture || isRefusalOfAParser(parsed.refusal)) << parsed.refusal;
}

}  // namespace

class HostileSeed : public testing::TestWithParam<const char*> {};

INSTANTIATE_TEST_SUITE_P(Seeds, HostileSeed, testing::ValuesIn(kSeeds),
                         [](const auto& seed) { return "Seed" + std::to_string(seed.index); });

TEST_P(HostileSeed, IsReadAsFarAsItGoesWhereverItIsCutOff) {
    const Bytes file = seedFile(GetParam());
    const bool aiff = isAIFF(GetParam());
    const Workbench bench(GetParam());
    const ParsedFile whole = bench.parse(file);
    ASSERT_TRUE(whole.picture) << whole.refusal;
    ASSERT_GT(whole.picture->frames, 0);
    for (std::size_t length = 0; length < file.size(); ++length) {
        SCOPED_TRACE(std::string(GetParam()) + " cut off at byte " + std::to_string(length));
        const ParsedFile cut = bench.parse(file.first(length));
        ASSERT_EQ(cut.refusal, refusalOfPrefix(file, length, aiff));
        if (cut.picture) {
            ASSERT_EQ(*cut.picture, prefixOf(*whole.picture, length, *cut.picture));
        }
    }
}

TEST_P(HostileSeed, SurvivesChunkSizesThatLie) {
    const Bytes file = seedFile(GetParam());
    const bool aiff = isAIFF(GetParam());
    const Workbench bench(GetParam());
    // The samples come last, and with them the pad byte of an odd size.
    const Chunk last = chunksOf(file, aiff).back();
    const auto behind = static_cast<std::int64_t>(file.size() - last.start - 8);
    const Picture toTheEnd = bench.parse(withSize(file, last, behind, aiff)).picture.value();
    const Picture whole = bench.parse(file).picture.value();
    for (const Chunk& chunk : chunksOf(file, aiff)) {
        for (const std::int64_t size : {0LL, 1LL, 7LL, 0x7FFFFFFFLL, 0x80000000LL, 0xFFFFFFFFLL}) {
            SCOPED_TRACE(std::string(GetParam()) + ", '" + chunk.id + "' of " + std::to_string(size));
            const ParsedFile lying = bench.parse(withSize(file, chunk, size, aiff));
            const bool samples = chunk.start == last.start;
            expectReadOrRefused(lying);
            if (chunk.start == 0) {
                EXPECT_EQ(lying.picture, whole) << "the size of the container does not count";
            } else if (samples && size > 0x7FFFFFF0) {
                EXPECT_EQ(lying.picture, toTheEnd) << "what there is of it is read";
            } else if (samples) {
                ASSERT_TRUE(lying.picture);
                EXPECT_EQ(lying.picture->sampleLengthInBytes, aiff ? 0 : size);
            } else if (size > 0x7FFFFFF0) {
                EXPECT_EQ(lying.refusal, refusalOfPrefix(file, 38, aiff)) << "nothing is behind its end";
            }
        }
    }
}

TEST(HostileFile, SurvivesDamageToAnyByte) {
    for (const std::string name : {"aiff_fuzzer/two-seconds.aif", "wav_fuzzer/stereo.wav"}) {
        const Bytes file = seedFile(name);
        const Workbench bench(name);
        for (std::size_t at = 0; at < file.size(); ++at) {
            for (const int value : {0x00, 0x7F, 0x80, 0xFF}) {
                SCOPED_TRACE(name + ", byte " + std::to_string(at) + " = " + std::to_string(value));
                expectReadOrRefused(bench.parse(Bytes(file).overwrite(at, Bytes().byte(value))));
            }
        }
    }
}

TEST(HostileFile, TakesTheFirstOfChunksThatComeTwice) {
    const struct {
        const char* first;
        const char* second;
    } rows[] = {{"aiff_fuzzer/stereo.aif", "aiff_fuzzer/two-seconds.aif"},
                {"aiff_fuzzer/two-seconds.aif", "aiff_fuzzer/stereo.aif"},
                {"aiff_fuzzer/one-shot.aif", "aiff_fuzzer/surround.aif"},
                {"wav_fuzzer/stereo.wav", "wav_fuzzer/two-seconds.wav"},
                {"wav_fuzzer/two-seconds.wav", "wav_fuzzer/stereo.wav"},
                {"wav_fuzzer/one-shot.wav", "wav_fuzzer/narrow.wav"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.first) + " before " + row.second);
        const Workbench bench(row.first);
        const Bytes first = seedFile(row.first);
        EXPECT_EQ(bench.parse(withChunksOf(first, seedFile(row.second))).picture, bench.parse(first).picture);
    }
}

TEST(HostileFile, RefusesWhatIsNoFileWithSoundInIt) {
    const TemporaryFolder folder;
    folder.write("file.aif", "x");
    for (const char* extension : {".aif", ".wav"}) {
        const auto path = [&](const char* name) { return folder.path(std::string(name) + extension); };
        ASSERT_TRUE(std::filesystem::create_directory(path("folder")));
        ASSERT_EQ(::mkfifo(path("pipe").c_str(), 0600), 0);
        ASSERT_EQ(::symlink("nowhere", path("dangling").c_str()), 0);
        ASSERT_EQ(::symlink("/dev/zero", path("endless").c_str()), 0);
        const std::string below = folder.path("file.aif/below") + extension;
        const auto refusal = [](const std::string& file) {
            return support::messageThrownBy([&] { marl::IFile::New(support::urlOf(file), false); });
        };
        for (const char* name : {"folder", "pipe", "dangling", "endless"})
            EXPECT_TRUE(refusal(path(name)).starts_with("was not able to allocate IFile subclass for URL"))
                << name;
        for (const std::string& file : {path("missing"), below})
            EXPECT_EQ(refusal(file), "failed to open file '" + file + "'");
    }
}

TEST(HostileFile, RefusesFilesOfNoByteAndOfOne) {
    for (const std::string name : {"a.aif", "a.wav"}) {
        for (const char* contents : {"", "F", "R", "\xFF"}) {
            const ParsedFile parsed = Workbench(name).parse(Bytes(contents));
            EXPECT_EQ(parsed.refusal,
                      isAIFF(name) ? "couldn't find FORM master chunk" : "couldn't find RIFF tag");
        }
    }
}
