// SPDX-License-Identifier: MIT
// The overview of ten minutes of stereo, 16 bits: beside a bare read with the same kernel, and beside
// libsndfile, which only reads. And the drawing of a picture.
//
// Everything comes from the page cache: the file is written first, into a folder that goes at the end. Run
// with
// --benchmark_enable_random_interleaving=true --benchmark_repetitions=9
// --benchmark_report_aggregates_only=true so that the versions take turns, and compare medians.
#include <MarlCore/Files/IFile.h>
#include <MarlCore/Files/parsing/CLoopDescription.h>
#include <MarlCore/Files/streaming/CDiskFileData.h>
#include <MarlCore/Files/writing/CWAVWriter.h>
#include <MarlCore/MediaManager/PeakKernels.h>
#include <MarlCore/MediaManager/PeaksManager.h>

#include <benchmark/benchmark.h>

#include <sndfile.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <memory>
#include <random>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using marl::Peak;

constexpr int kFrames = 600 * 44100;
constexpr std::size_t kInterval = 256;
constexpr std::size_t kBlockBytes = 32768;
constexpr int kBuffers = 8;  // of the pool, as `marl peaks` has it

class LongFile {
public:
    LongFile() : m_path(fs::temp_directory_path() / ("marl-peaks-" + std::to_string(::getpid()) + ".wav")) {
        const marl::IFileParserRef description(new marl::CLoopDescription(44100, 2, 16));
        const marl::IFileWriterRef writer(new marl::CWAVWriter(halyard::CSTR(path()), description, true));
        std::vector<std::int16_t> samples(2 * 44100);
        std::minstd_rand random(1);
        for (auto& sample : samples) sample = static_cast<std::int16_t>(random());
        for (unsigned long second = 0; second < 600; ++second)
            writer->writeSamples(samples.data(), second * samples.size(), samples.size());
        writer->finish();
    }
    LongFile(const LongFile&) = delete;
    LongFile& operator=(const LongFile&) = delete;
    ~LongFile() { fs::remove(m_path); }

    std::string path() const { return m_path.string(); }
    CURLRef url() const { return CURLRef(new CURL(halyard::CSTR(path()), CURL::kPOSIXPathStyle, false)); }

private:
    fs::path m_path;
};

class Source : public marl::PeaksAudioSource {
public:
    explicit Source(const LongFile& file) {
        marl::CDiskFileData::AllocateBufferPool(kBuffers);
        const marl::IFileRef opened(marl::IFile::New(file.url(), false));
        opened->getFileParserRef()->parse(marl::IFileParser::kParseAll);
        marl::IFileParser::FormatInfo format;
        opened->getFileParserRef()->getFormatInfo(format);
        m_offset = opened->getFileParserRef()->getSampleOffset();
        opened->useDiskFileData(file.url(), false);
        m_data = opened->getFileDataRef();
        m_data->setSampleConversion(format, kFrames, m_offset, platform::makeHostFormat(44100, 2, 16));
        m_audio = new Audio(m_data);
    }
    unsigned numberOfChannels() override { return 2; }
    std::uint32_t lengthInFrames() override { return kFrames; }
    bool offline() override { return false; }
    marl::IAudioSourceRef sourceRef() override { return m_audio; }
    long long sampleOffset() const { return m_offset; }

private:
    struct Audio : marl::IAudioSource {
        explicit Audio(marl::IFileDataRef samples) : data(std::move(samples)) {}
        marl::IFileDataRef getFileData() override { return data; }
        marl::IFileDataRef data;
    };
    long long m_offset = 0;
    marl::IFileDataRef m_data;
    marl::IAudioSourceRef m_audio;
};

void setRate(benchmark::State& state) {
    state.counters["frames/s"] = benchmark::Counter(kFrames, benchmark::Counter::kIsIterationInvariantRate);
}

void tableWithMarl(benchmark::State& state, const LongFile& file) {
    for (auto _ : state) {
        Source source(file);
        marl::PeaksManager manager(source);
        manager.createPeakTable();
        if (!manager.isPeaksTableBuilt()) state.SkipWithError("no table");
    }
    setRate(state);
}

/// A tick at a time. The longest one, but for the first, is to take three quarters of a period of 67 ms.
void tableOnTimer(benchmark::State& state, const LongFile& file) {
    double longest = 0;  // seconds
    for (auto _ : state) {
        Source source(file);
        marl::PeaksManager manager(source);
        manager.startPeriodicPeakBuilding();
        manager.peakBuildingTimer();
        while (!manager.isPeaksTableBuilt()) {
            const double before = manager.secondsSpentInTicks();
            manager.peakBuildingTimer();
            longest = std::max(longest, manager.secondsSpentInTicks() - before);
        }
    }
    setRate(state);
    state.counters["longest tick, ms"] = longest * 1000;
}

/// read(2) into one block that stays in the cache, and the kernel, an entry at a time.
void tableBare(benchmark::State& state, const LongFile& file) {
    const auto kernel = marl::peaks::peakKernels().stereo16;
    std::vector<Peak> table;
    alignas(64) static std::array<std::byte, kBlockBytes> block;
    const long long offset = Source(file).sampleOffset();
    for (auto _ : state) {
        table.assign(2 * (kFrames / kInterval + 1), Peak{-1, 1});
        const int fd = ::open(file.path().c_str(), O_RDONLY);
        ::lseek(fd, offset, SEEK_SET);
        std::size_t entry = 0;
        for (ssize_t bytes; (bytes = ::read(fd, block.data(), block.size())) > 0;) {
            const auto frames = static_cast<std::size_t>(bytes) / 4;
            for (std::size_t frame = 0; frame < frames; frame += kInterval, ++entry)
                kernel(block.data() + frame * 4, std::min(kInterval, frames - frame), &table[2 * entry]);
        }
        ::close(fd);
        benchmark::DoNotOptimize(table.data());
    }
    setRate(state);
}

sf_count_t readSome(SNDFILE* file, std::vector<float>& block) {
    return sf_readf_float(file, block.data(), static_cast<sf_count_t>(block.size() / 2));
}
sf_count_t readSome(SNDFILE* file, std::vector<short>& block) {
    return sf_readf_short(file, block.data(), static_cast<sf_count_t>(block.size() / 2));
}

template <typename Sample>
void readWithSndfile(benchmark::State& state, const LongFile& file) {
    std::vector<Sample> block(kBlockBytes / sizeof(Sample));
    for (auto _ : state) {
        SF_INFO info{};
        SNDFILE* const opened = sf_open(file.path().c_str(), SFM_READ, &info);
        sf_count_t frames = 0;
        while (const auto read = readSome(opened, block)) frames += read;
        sf_close(opened);
        if (frames != kFrames) state.SkipWithError("frames are missing");
    }
    setRate(state);
}

/// From finished peaks into a finished bitmap.
void drawStereo(benchmark::State& state, const LongFile& file) {
    Source source(file);
    marl::PeaksManager manager(source);
    const auto width = static_cast<unsigned>(state.range(0)), height = static_cast<unsigned>(state.range(1));
    const auto peaks = manager.getStereoPeaksFromFrame(0, kFrames - 1, static_cast<int>(width), false);
    const auto bitmap = marl::PeaksManager::createEmptyBitmapWithWidth(width, height);
    const platform::Size size{static_cast<float>(width), static_cast<float>(height)};
    for (auto _ : state) {
        manager.drawStereoWaveform(peaks, size, *bitmap);
        benchmark::DoNotOptimize(bitmap->pixels().data());
        benchmark::ClobberMemory();
    }
}

/// The peaks of a picture from the finished table.
void peaksOfColumns(benchmark::State& state, const LongFile& file) {
    Source source(file);
    marl::PeaksManager manager(source);
    manager.createPeakTable();
    for (auto _ : state)
        benchmark::DoNotOptimize(
            manager.getStereoPeaksFromFrame(0, kFrames - 1, static_cast<int>(state.range(0)), false).get());
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    const LongFile file;
    const auto add = [&](const char* name, auto function) {
        return benchmark::RegisterBenchmark(
                   name, [&file, function](benchmark::State& state) { function(state, file); })
            ->Unit(benchmark::kMicrosecond);
    };
    add("table/marl", tableWithMarl);
    add("table on timer/marl", tableOnTimer);
    add("table/read+kernel", tableBare);
    add("read only/libsndfile float", readWithSndfile<float>);
    add("read only/libsndfile short", readWithSndfile<short>);
    add("columns/marl", peaksOfColumns)->Arg(1000)->Arg(30000);
    add("draw/marl", drawStereo)->Args({1000, 200})->Args({30000, 200});
    benchmark::RunSpecifiedBenchmarks();
}
