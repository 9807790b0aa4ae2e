// SPDX-License-Identifier: MIT
// Everything at once: two threads that read ahead, one that records, and a listener, over a small pool.
#include "StreamedFiles.h"
#include "support/OpenedFile.h"

#include <MarlCore/Files/parsing/CLoopDescription.h>
#include <MarlCore/Files/streaming/CIORequestThread.h>
#include <MarlCore/Files/streaming/CIOWriteThread.h>

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <random>
#include <thread>

using halyard::CParamException;
using marl::CIORequestThread;
using support::PoolOf;
using support::RawFile;
using support::StreamCase;

namespace {

/// A streamed file and what it must sound like.
class Source : public marl::IAudioSource {
public:
    explicit Source(const StreamCase& wanted)
        : m_case(wanted), m_file(wanted), m_data(m_file.streamed()), m_whole(m_file.wholeConversion()) {
        int frames = 0;
        m_data->getSampleConversion(nullptr, &frames, nullptr, nullptr);
        m_samples = frames * wanted.outputChannels;
    }

    marl::IFileDataRef getFileData() override { return m_data; }
    int samples() const noexcept { return m_samples; }

    /// Copies 500 samples, or as many as there are, and compares them. False when none were there.
    bool listen(int first) {
        std::array<std::byte, 500 * sizeof(float)> block;
        const int count = m_data->copySamples(first, first + 499, block.data());
        const std::size_t width = m_case.outputWidth();
        EXPECT_EQ(std::memcmp(block.data(), m_whole.data() + static_cast<std::size_t>(first) * width,
                              static_cast<std::size_t>(count) * width),
                  0)
            << m_case.name() << " at " << first;
        return count > 0;
    }

private:
    StreamCase m_case;
    RawFile m_file;
    halyard::CSharedObjectRef<marl::CDiskFileData> m_data;
    std::string m_whole;
    int m_samples = 0;
};

using SourceRef = halyard::CSharedObjectRef<Source>;

/// Another loader can take a slice away at once where buffers are few. The thread goes on behind it.
void keepRunning(CIORequestThread& thread) {
    if (thread.isThreadRunning()) return;
    EXPECT_THROW(std::rethrow_exception(thread.getFailure()), CParamException);
    thread.skipOutBuffer();
    thread.runWithPriority(0.5, 0);
    thread.postRequest(nullptr, 0, 0);
}

constexpr std::array<std::int16_t, 256> blockOf(int index) {
    std::array<std::int16_t, 256> block;
    block.fill(static_cast<std::int16_t>(index));
    return block;
}

/// Records `blocks` blocks, and streams them back.
void record(const std::string& path, int blocks) {
    const CURLRef url = support::urlOf(path);
    const auto format = platform::makeHostFormat(44100, 2, 16);
    const marl::IFileParserRef description(new marl::CLoopDescription(44100, 2, 16));
    marl::CIOWriteThread thread(url, description, format, 4, sizeof blockOf(0), false, false);
    thread.runWithPriority(0.5, 1);
    for (int posted = 0; posted < blocks && thread.isThreadRunning();) {
        if (!thread.canAcceptBuffer()) {
            std::this_thread::yield();
            continue;
        }
        thread.postBuffer(blockOf(posted++).data(), sizeof blockOf(0));
    }
    thread.sleepUntilThreadExits(true, 0);
    EXPECT_EQ(thread.getFailure(), nullptr);
    thread.runOnce();
    thread.finishFile();
    const marl::IFileRef take(marl::IFile::New(url, false));
    marl::IFileParser& parser = *take->getFileParserRef();
    parser.parse(marl::IFileParser::kBasicTaggingInfo);
    take->useDiskFileData(url, false);
    marl::IFileData& data = *take->getFileDataRef();
    marl::IFileParser::FormatInfo fileFormat;
    parser.getFormatInfo(fileFormat);
    data.setSampleConversion(fileFormat, blocks * 128, parser.getSampleOffset(), format);
    for (int i = 0; i < blocks; ++i) {
        std::array<std::int16_t, 256> block{};
        auto& streamed = static_cast<marl::CDiskFileData&>(data);
        for (int last; streamed.copySamples(i * 256, i * 256 + 255, block.data()) != 256;) {
            try {
                data.readSamples(i * 256, i * 256 + 255, &last, true);
            } catch (const CParamException&) {
            }
        }
        ASSERT_EQ(block, blockOf(i)) << i;
    }
}

}  // namespace

TEST(Soak, HearsWhatIsInTheFilesAndRecordsWhatIsPosted) {
    constexpr int kCopies = 2000, kBlocks = 1000;
    constexpr std::uint32_t kSeed = 11;
    SCOPED_TRACE(testing::Message() << "seed " << kSeed);
    const PoolOf pool(8);
    const StreamCase cases[] = {{.outputBits = 16, .frames = 40000},
                                {.fileBits = 24, .frames = 30000},
                                {.fileBits = 24, .outputBits = 24, .channels = 1, .frames = 25000},
                                {.fileBits = 24, .outputRate = 48000, .frames = 20000},
                                {.outputBits = 16, .outputRate = 22050, .frames = 60000}};
    std::vector<SourceRef> sources;
    for (const StreamCase& row : cases) sources.emplace_back(new Source(row));
    const support::TemporaryFolder folder;
    std::jthread recorder([&] { record(folder.path("take.aif"), kBlocks); });
    std::array<CIORequestThread, 2> readers{CIORequestThread(4), CIORequestThread(3)};
    for (CIORequestThread& reader : readers) reader.runWithPriority(0.5, 0);
    std::mt19937 random(kSeed);
    for (int copies = 0; copies < kCopies;) {
        const SourceRef& source = sources[random() % sources.size()];
        const int first = static_cast<int>(random() % static_cast<std::uint32_t>(source->samples()));
        CIORequestThread& reader = readers[random() % 2];
        if (reader.canAcceptBuffer())
            reader.postRequest(source, first, first + static_cast<int>(random() % 20000));
        keepRunning(reader);
        if (source->listen(static_cast<int>(random() % static_cast<std::uint32_t>(source->samples()))))
            ++copies;
    }
    for (CIORequestThread& reader : readers) reader.sleepUntilThreadExits(true, 0);
}
