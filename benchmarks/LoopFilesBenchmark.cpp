// SPDX-License-Identifier: MIT
// Loop files beside libsndfile, and beside the system calls that either needs: opening 10,000 loops for all
// their metadata, and reading two minutes of stereo as floats into memory.
//
// Everything comes from the page cache: the files are written first, into a folder that goes at the end. Run
// with
// --benchmark_enable_random_interleaving=true --benchmark_repetitions=9
// --benchmark_report_aggregates_only=true so that the versions take turns, and compare medians.
#include "LoopFiles.h"

#include <MarlCore/Files/IFile.h>

#include <benchmark/benchmark.h>

#include <sndfile.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using benchmarks::Folder;
using benchmarks::writeLoop;

constexpr int kLoops = 10000;
constexpr int kLoopFrames = 12500;        // 50 KB at 16 bits
constexpr int kLongFrames = 120 * 44100;  // two minutes

std::vector<std::string> loopPaths(const Folder& folder, const std::string& extension) {
    std::vector<std::string> paths;
    for (int i = 0; i < kLoops; ++i) paths.push_back(folder.path(std::to_string(i) + extension));
    return paths;
}

CURLRef urlOf(const std::string& path) {
    return CURLRef(new CURL(halyard::CSTR(path), CURL::kPOSIXPathStyle, false));
}

// ---- Opening ----

void openWithMarl(const std::string& path) {
    const marl::IFileRef file(marl::IFile::New(urlOf(path), false));
    file->getFileParserRef()->parse(marl::IFileParser::kParseAll);
    benchmark::DoNotOptimize(file->getFileParserRef()->getTransients().data());
}

void openWithSndfile(const std::string& path) {
    SF_INFO info{};
    SNDFILE* const file = sf_open(path.c_str(), SFM_READ, &info);
    benchmark::DoNotOptimize(sf_get_string(file, SF_STR_TITLE));
    sf_close(file);
}

/// What any reader has to ask of the system: is it a file, open it, how long is it, its first bytes.
void openBare(const std::string& path) {
    struct stat status;
    char head[4096];
    benchmark::DoNotOptimize(::stat(path.c_str(), &status));
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    benchmark::DoNotOptimize(::fstat(fd, &status));
    benchmark::DoNotOptimize(::pread(fd, head, sizeof head, 0));
    ::close(fd);
}

void openAll(benchmark::State& state, const std::vector<std::string>& paths,
             void (*open)(const std::string&)) {
    for (auto _ : state) {
        for (const std::string& path : paths) open(path);
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(paths.size()));
}

// ---- Reading, into memory that is new each time, as a program does that opens one file after another ----

void readWithMarl(const std::string& path) {
    const marl::IFileRef file(marl::IFile::New(urlOf(path), false));
    marl::IFileParser& parser = *file->getFileParserRef();
    parser.parse(marl::IFileParser::kNoFlags);
    marl::IFileParser::FormatInfo format;
    parser.getFormatInfo(format);
    file->getFileDataRef()->setSampleConversion(format, static_cast<int>(parser.getLengthInFrames()),
                                                parser.getSampleOffset(),
                                                platform::makeHostFormat(format.mSampleRate, 2, 32));
    int last;
    benchmark::DoNotOptimize(file->getFileDataRef()->readSamples(0, 0, &last, true));
}

void readWithSndfile(const std::string& path) {
    constexpr sf_count_t kBlock = 8192;
    SF_INFO info{};
    SNDFILE* const file = sf_open(path.c_str(), SFM_READ, &info);
    const std::unique_ptr<float, decltype(&std::free)> samples(
        static_cast<float*>(std::malloc(static_cast<std::size_t>(info.frames) * 2 * sizeof(float))),
        &std::free);
    for (sf_count_t frame = 0; frame < info.frames;)
        frame += sf_readf_float(file, samples.get() + frame * 2, std::min(kBlock, info.frames - frame));
    benchmark::DoNotOptimize(samples.get());
    sf_close(file);
}

/// Reads through one block, whose floats are thrown away: the time of system calls and conversion alone.
void readBlocksWithSndfile(const std::string& path) {
    constexpr sf_count_t kBlock = 8192;
    SF_INFO info{};
    SNDFILE* const file = sf_open(path.c_str(), SFM_READ, &info);
    std::vector<float> block(kBlock * 2);
    while (sf_readf_float(file, block.data(), kBlock) > 0) benchmark::DoNotOptimize(block.data());
    sf_close(file);
}

void read(benchmark::State& state, const std::string& path, void (*readFile)(const std::string&)) {
    for (auto _ : state) readFile(path);
    state.counters["Msamples/s"] = benchmark::Counter(
        2e-6 * kLongFrames * static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}

void addOpening(const std::vector<std::string>& paths, const std::string& name) {
    const std::pair<const char*, void (*)(const std::string&)> versions[] = {
        {"marl", openWithMarl}, {"libsndfile", openWithSndfile}, {"bare", openBare}};
    for (const auto& [version, open] : versions)
        benchmark::RegisterBenchmark(
            (name + "/" + version).c_str(),
            [&paths, open = open](benchmark::State& state) { openAll(state, paths, open); })
            ->Unit(benchmark::kMillisecond)
            ->UseRealTime();
}

void addReading(const std::string& path, const std::string& name) {
    const std::pair<const char*, void (*)(const std::string&)> versions[] = {
        {"marl", readWithMarl},
        {"libsndfile", readWithSndfile},
        {"libsndfile_one_block", readBlocksWithSndfile}};
    for (const auto& [version, readFile] : versions)
        benchmark::RegisterBenchmark(
            (name + "/" + version).c_str(),
            [path, readFile = readFile](benchmark::State& state) { read(state, path, readFile); })
            ->Unit(benchmark::kMillisecond)
            ->UseRealTime();
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
    const Folder folder;
    const std::vector<std::string> aiffs = loopPaths(folder, ".aif"), wavs = loopPaths(folder, ".wav");
    for (const auto& path : aiffs) writeLoop(path, 16, kLoopFrames);
    for (const auto& path : wavs) writeLoop(path, 16, kLoopFrames);
    addOpening(aiffs, "open_aiff");
    addOpening(wavs, "open_wav");
    for (const std::uint32_t bits : {16u, 24u}) {
        for (const char* extension : {".aif", ".wav"}) {
            const std::string path = folder.path("long" + std::to_string(bits) + extension);
            writeLoop(path, bits, kLongFrames);
            addReading(path, "read_" + std::to_string(bits) + extension);
        }
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
