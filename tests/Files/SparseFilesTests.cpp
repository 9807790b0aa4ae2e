// SPDX-License-Identifier: MIT
// Loop files of gigabytes, made of holes: what lies behind 2 and 4 GiB is found, and nothing in between read.
#include "support/LoopFiles.h"
#include "support/OpenedFile.h"
#include "support/ParsedFile.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

using marl::IFileParser;
using support::Bytes;
using support::TemporaryFolder;

namespace {

constexpr long long kGiB = 1LL << 30;
constexpr int kMostBytes = std::numeric_limits<int>::max();

/// A file that is zero but for the pieces that are put into it.
class SparseFile {
public:
    SparseFile(const std::string& name, long long size) : m_path(m_folder.path(name)) {
        m_fd = ::open(m_path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
        if (m_fd < 0 || ::ftruncate(m_fd, size) != 0)
            throw std::runtime_error(
                "these tests need a folder for temporary files that holds a sparse file of " +
                std::to_string(size) + " bytes: " + std::strerror(errno));
    }
    SparseFile(const SparseFile&) = delete;
    SparseFile& operator=(const SparseFile&) = delete;
    ~SparseFile() { ::close(m_fd); }

    SparseFile& put(long long offset, const Bytes& bytes) {
        const ssize_t written = ::pwrite(m_fd, bytes.view().data(), bytes.size(), offset);
        if (written != static_cast<ssize_t>(bytes.size())) throw std::runtime_error("cannot write " + m_path);
        return *this;
    }
    marl::IFileRef open() const { return marl::IFileRef(marl::IFile::New(support::urlOf(m_path), false)); }

private:
    TemporaryFolder m_folder;
    std::string m_path;
    int m_fd;
};

/// What differs between the two formats: names, byte order, and bytes between a header and the samples.
struct Format {
    const char* file;
    const char* samplesID;
    long long samplesHead;
    Bytes start;  // container and format: 16-bit mono at 44100 Hz
    bool aiff;

    Bytes chunk(const char* id, std::int64_t size, const Bytes& body = {}) const {
        return aiff ? Bytes().bigChunkClaiming(id, size, body) : Bytes().littleChunkClaiming(id, size, body);
    }
    Bytes sample(int value) const { return aiff ? Bytes().big16(value) : Bytes().little16(value); }
};

std::vector<Format> formats() {
    const support::AIFFContents aiff{.common = support::CommonChunk{.channels = 1}, .samples = std::nullopt};
    const support::WAVContents wav{.format = support::WAVFormat{.channels = 1}, .samples = std::nullopt};
    return {{"a.aif", "SSND", 8, support::aiffFile(aiff), true},
            {"a.wav", "data", 0, support::wavFile(wav), false}};
}

/// Frame `frame` as a float, converted on its own.
float frameAt(const marl::IFileRef& file, long long frame) {
    const IFileParser& parser = *file->getFileParserRef();
    IFileParser::FormatInfo format;
    parser.getFormatInfo(format);
    file->getFileDataRef()->setSampleConversion(format, 1, parser.getSampleOffset() + frame * 2,
                                                platform::makeHostFormat(44100, 1, 32));
    int last = -1;
    return *static_cast<const float*>(file->getFileDataRef()->readSamples(0, 0, &last, false));
}

std::string refusalOf(const marl::IFileRef& file) {
    return support::messageThrownBy([&] { file->getFileParserRef()->parse(IFileParser::kParseAll); });
}

}  // namespace

TEST(SparseFile, CountsNoMoreBytesThanAnIntHolds) {
    for (const Format& format : formats()) {
        SCOPED_TRACE(format.file);
        const auto header = static_cast<long long>(format.start.size());
        const long long samples = header + 8 + format.samplesHead;
        const long long lastFrame = kMostBytes / 2 - 1;
        SparseFile sparse(format.file, 5 * kGiB);
        sparse.put(0, format.start).put(header, format.chunk(format.samplesID, 0xFFFFFFFF));
        sparse.put(samples + lastFrame * 2, format.sample(0x4000));
        const marl::IFileRef file = sparse.open();
        ASSERT_EQ(refusalOf(file), "");
        EXPECT_EQ(file->getFileDataRef()->getFileLength(), 5 * kGiB);
        EXPECT_EQ(file->getFileParserRef()->getSampleLengthInBytes(), kMostBytes);
        EXPECT_EQ(file->getFileParserRef()->getLengthInFrames(), lastFrame + 1);
        EXPECT_TRUE(file->getFileParserRef()->verifyFile());
        EXPECT_EQ(frameAt(file, lastFrame), 0.5f);
    }
}

TEST(SparseFile, ReadsSamplesThatBeginBeyondTwoGiB) {
    for (const Format& format : formats()) {
        for (const long long skipped : {2 * kGiB, 3 * kGiB, 0xFFFFFF00LL}) {
            SCOPED_TRACE(std::string(format.file) + " behind " + std::to_string(skipped));
            const auto header = static_cast<long long>(format.start.size());
            const long long chunk = header + 8 + skipped, samples = chunk + 8 + format.samplesHead;
            SparseFile sparse(format.file, samples + 2000);
            sparse.put(0, format.start).put(header, format.chunk("skip", skipped));
            sparse.put(chunk, format.chunk(format.samplesID, 2000 + format.samplesHead));
            sparse.put(samples, format.sample(-0x4000)).put(samples + 1998, format.sample(0x4000));
            const marl::IFileRef file = sparse.open();
            ASSERT_EQ(refusalOf(file), "");
            EXPECT_EQ(file->getFileParserRef()->getSampleOffset(), samples);
            EXPECT_EQ(file->getFileParserRef()->getLengthInFrames(), 1000);
            EXPECT_EQ(frameAt(file, 0), -0.5f);
            EXPECT_EQ(frameAt(file, 999), 0.5f);
        }
    }
}

TEST(SparseFile, RefusesSamplesThatBeginBeyondFourGiB) {
    for (const Format& format : formats()) {
        SCOPED_TRACE(format.file);
        const auto header = static_cast<long long>(format.start.size());
        const long long beyond = 4 * kGiB;
        // The largest odd chunk, whose pad byte lies behind it: the samples cannot begin before 4 GiB.
        const long long chunk = header + 8 + 0xFFFFFFFFLL + 1, samples = chunk + 8 + format.samplesHead;
        SparseFile sparse(format.file, samples + 100);
        sparse.put(0, format.start).put(header, format.chunk("skip", 0xFFFFFFFF));
        sparse.put(chunk, format.chunk(format.samplesID, 100 + format.samplesHead));
        ASSERT_GT(samples, beyond);
        EXPECT_EQ(refusalOf(sparse.open()),
                  "the sound data begins beyond 4 GiB (at byte " + std::to_string(samples) + ")");
        EXPECT_FALSE(sparse.open()->getFileParserRef()->verifyFile());
    }
}

TEST(SparseFile, FindsMetadataBehindGigabytesOfSamples) {
    for (const Format& format : formats()) {
        SCOPED_TRACE(format.file);
        const auto header = static_cast<long long>(format.start.size());
        const Bytes metadata = format.aiff ? support::basicTaggingBody({.beats = 24, .rootNote = 57})
                                           : support::acidBody({.rootNote = 57, .beats = 24});
        const Bytes chunk =
            format.chunk(format.aiff ? "basc" : "acid", static_cast<std::int64_t>(metadata.size()), metadata);
        const long long behind = header + 8 + 3 * kGiB;
        SparseFile sparse(format.file, behind + static_cast<long long>(chunk.size()));
        sparse.put(0, format.start).put(header, format.chunk(format.samplesID, 3 * kGiB)).put(behind, chunk);
        const marl::IFileRef file = sparse.open();
        ASSERT_EQ(refusalOf(file), "");
        EXPECT_EQ(file->getFileParserRef()->getNaturalNumberOfBeats(), 24);
        EXPECT_EQ(file->getFileParserRef()->getMidiRootNote(), 57);
        EXPECT_EQ(file->getFileParserRef()->getSampleLengthInBytes(), kMostBytes);
    }
}

TEST(SparseFile, GivesUpAmongThousandsOfChunks) {
    constexpr long long kSpacing = 4096;  // a page for each header: no read serves two of them
    constexpr long long kChunks = 5000;
    for (const Format& format : formats()) {
        SCOPED_TRACE(format.file);
        const auto header = static_cast<long long>(format.start.size());
        SparseFile sparse(format.file, 4 * kGiB);
        sparse.put(0, format.start);
        for (long long i = 0; i < kChunks; ++i)
            sparse.put(header + i * kSpacing, format.chunk("skip", kSpacing - 8));
        sparse.put(header + kChunks * kSpacing, format.chunk(format.samplesID, 1000));
        EXPECT_EQ(refusalOf(sparse.open()),
                  format.aiff ? "couldn't find sound data chunk tag" : "couldn't find data tag");
    }
}
