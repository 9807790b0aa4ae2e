// SPDX-License-Identifier: MIT
// Streamed files beside libsndfile, and beside the bare system calls and kernels that either needs: random
// slices of many files, what a playback thread calls, the pool, and streaming at another rate.
//
// Everything comes from the page cache: the files are written first, into a folder that goes at the end. Run
// with --benchmark_enable_random_interleaving=true --benchmark_repetitions=9
// --benchmark_report_aggregates_only=true so that the versions take turns, and compare medians.
#include <MarlCore/Files/CMemoryFileData.h>
#include <MarlCore/Files/IFile.h>
#include <MarlCore/Files/conversion/SampleKernels.h>
#include <MarlCore/Files/parsing/CLoopDescription.h>
#include <MarlCore/Files/streaming/CDiskFileData.h>
#include <MarlCore/Files/writing/CAIFWriter.h>

#include <benchmark/benchmark.h>

#include <sndfile.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

using FileDataRef = halyard::CSharedObjectRef<marl::CDiskFileData>;

constexpr int kFiles = 100;
constexpr int kFileSlices = 50;
constexpr int kSliceFrames = 4096;  // stereo float: 32768 bytes
constexpr int kSliceSamples = 2 * kSliceFrames;
constexpr std::size_t kFileSliceBytes = kSliceSamples * 3;
constexpr int kFileFrames = kFileSlices * kSliceFrames;
constexpr long long kSampleOffset = 54;  // in the files that CAIFWriter writes here

class Folder {
public:
    Folder() : m_path(fs::temp_directory_path() / ("marl-benchmark-" + std::to_string(::getpid()))) {
        fs::create_directories(m_path);
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    ~Folder() { fs::remove_all(m_path); }
    std::string path(const std::string& name) const { return (m_path / name).string(); }

private:
    fs::path m_path;
};

/// Stereo noise, 24 bits at 44.1 kHz.
void writeFile(const std::string& path, int frames) {
    const marl::IFileParserRef description(new marl::CLoopDescription(44100, 2, 24));
    const marl::IFileWriterRef writer(new marl::CAIFWriter(halyard::CSTR(path), description, true));
    std::vector<unsigned char> samples(static_cast<std::size_t>(frames) * 6);
    std::mt19937 random(1);
    for (auto& byte : samples) byte = static_cast<unsigned char>(random());
    writer->writeSamples(samples.data(), 0, static_cast<unsigned long>(frames) * 2);
    writer->finish();
}

CURLRef urlOf(const std::string& path) {
    return CURLRef(new CURL(halyard::CSTR(path), CURL::kPOSIXPathStyle, false));
}

template <typename FileData = marl::CDiskFileData>
halyard::CSharedObjectRef<FileData> open(const std::string& path, int frames, double rate = 44100) {
    const halyard::CSharedObjectRef<FileData> data(new FileData(urlOf(path), false, true));
    data->setSampleConversion(platform::makeHostFormat(44100, 2, 24), frames, kSampleOffset,
                              platform::makeHostFormat(rate, 2, 32));
    return data;
}

// ---- Random slices ----

/// All slices of all files in an order in which each comes back when the pool has long given it away.
struct SliceOrder {
    struct Slice {
        std::size_t file;
        int first;  // frame
    };
    std::vector<Slice> slices;
    std::size_t next = 0;

    SliceOrder() {
        for (std::size_t file = 0; file < kFiles; ++file)
            for (int i = 0; i < kFileSlices; ++i) slices.push_back({file, i * kSliceFrames});
        std::ranges::shuffle(slices, std::mt19937(1));
    }
    const Slice& operator()() {
        const Slice& slice = slices[next];
        next = (next + 1) % slices.size();
        return slice;
    }
};

void sliceWithMarl(benchmark::State& state, const std::vector<std::string>& paths) {
    std::vector<FileDataRef> files;
    for (const auto& path : paths) files.push_back(open(path, kFileFrames));
    SliceOrder order;
    for (auto _ : state) {
        const auto [file, frame] = order();
        int last;
        benchmark::DoNotOptimize(
            files[file]->readSamples(2 * frame, 2 * frame + kSliceSamples - 1, &last, true));
    }
    state.SetItemsProcessed(state.iterations());
}

/// `buffers` blocks take turns: one that stays in the cache, or as many as the pool has.
void sliceBare(benchmark::State& state, const std::vector<std::string>& paths, std::size_t buffers) {
    std::vector<int> files;
    for (const auto& path : paths) files.push_back(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    std::vector<float> samples(buffers * kSliceSamples);
    alignas(64) static std::byte bytes[kFileSliceBytes];
    SliceOrder order;
    std::size_t buffer = 0;
    for (auto _ : state) {
        const auto [file, frame] = order();
        float* const target = samples.data() + buffer * kSliceSamples;
        if (::pread(files[file], bytes, sizeof bytes, kSampleOffset + 6LL * frame) !=
            static_cast<ssize_t>(sizeof bytes))
            return state.SkipWithError("short read");
        marl::conversion::sampleKernels().reversed24ToFloat(bytes, target, kSliceSamples);
        benchmark::DoNotOptimize(target);
        buffer = (buffer + 1) % buffers;
    }
    for (const int file : files) ::close(file);
    state.SetItemsProcessed(state.iterations());
}

void sliceWithSndfile(benchmark::State& state, const std::vector<std::string>& paths) {
    std::vector<SNDFILE*> files;
    for (const auto& path : paths) {
        SF_INFO info{};
        files.push_back(sf_open(path.c_str(), SFM_READ, &info));
    }
    std::vector<float> samples(kSliceSamples);
    SliceOrder order;
    for (auto _ : state) {
        const auto [file, frame] = order();
        sf_seek(files[file], frame, SEEK_SET);
        if (sf_readf_float(files[file], samples.data(), kSliceFrames) != kSliceFrames)
            return state.SkipWithError("short read");
        benchmark::DoNotOptimize(samples.data());
    }
    for (SNDFILE* const file : files) sf_close(file);
    state.SetItemsProcessed(state.iterations());
}

// ---- Playback and the pool ----

/// A block of 512 samples of a slice that is there.
void readResident(benchmark::State& state, const std::string& path) {
    const FileDataRef data = open(path, kFileFrames);
    int last = 0, first = 0;
    data->readSamples(0, kSliceSamples - 1, &last, true);
    for (auto _ : state) {
        benchmark::DoNotOptimize(data->readSamples(first, first + 511, &last, false));
        first = (first + 512) % kSliceSamples;
    }
}

void copyResident(benchmark::State& state, const std::string& path) {
    const FileDataRef data = open(path, kFileFrames);
    std::vector<float> block(512);
    int last = 0, first = 0;
    data->readSamples(0, kSliceSamples - 1, &last, true);
    for (auto _ : state) {
        benchmark::DoNotOptimize(data->copySamples(first, first + 511, block.data()));
        first = (first + 512) % kSliceSamples;
    }
}

/// From a pool in which every buffer is owned: find the oldest, take it away, give it to another slice.
void assignFromFullPool(benchmark::State& state) {
    marl::CDiskFileData::AllocateBufferPool(marl::CDiskFileData::kPoolSize);
    std::vector<marl::CPartialFileDataRef> slices;
    for (int i = 0; i < 2 * marl::CDiskFileData::kPoolSize; ++i)
        slices.emplace_back(new marl::CPartialFileData(0, kSliceSamples - 1));
    const auto load = [](marl::CPartialFileData& slice) {
        slice.setSampleBufferRef(marl::CDiskFileData::assignBufferRef(&slice));
        slice.updateAccessTime();
    };
    std::ranges::shuffle(slices, std::mt19937(1));
    for (const auto& slice : slices) load(*slice);
    std::size_t next = 0;
    for (auto _ : state) {
        load(*slices[next]);
        next = (next + 1) % slices.size();
    }
}

double residentMiB() {
    std::ifstream statm("/proc/self/statm");
    double total = 0, resident = 0;
    statm >> total >> resident;
    return resident * static_cast<double>(::sysconf(_SC_PAGESIZE)) / (1024 * 1024);
}

/// Opens `state.range(0)` files, and loads slices of each.
void openMany(benchmark::State& state, const std::vector<std::string>& paths) {
    const rlim_t wanted = static_cast<rlim_t>(state.range(0)) + 100;
    rlimit limit{};
    ::getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = std::max(limit.rlim_cur, std::min(wanted, limit.rlim_max));
    ::setrlimit(RLIMIT_NOFILE, &limit);
    if (limit.rlim_cur < wanted) return state.SkipWithError("too few descriptors are allowed");
    for (auto _ : state) {
        std::vector<FileDataRef> files;
        const double before = residentMiB();
        for (std::int64_t i = 0; i < state.range(0); ++i)
            files.push_back(open(paths[static_cast<std::size_t>(i) % kFiles], kFileFrames));
        const double opened = residentMiB();
        for (int slice = 0; slice < 10; ++slice) {
            for (const FileDataRef& file : files) {
                int last;
                benchmark::DoNotOptimize(
                    file->readSamples(slice * kSliceSamples, slice * kSliceSamples + 1, &last, true));
            }
        }
        state.counters["MiB_to_open"] = opened - before;
        state.counters["MiB_to_load"] = residentMiB() - opened;
    }
}

// ---- Another rate ----

void convertWhole(benchmark::State& state, const std::string& path, int frames, double rate) {
    for (auto _ : state) benchmark::DoNotOptimize(open<marl::CMemoryFileData>(path, frames, rate).get());
    state.SetItemsProcessed(state.iterations() * frames);
}

/// The converter alone: floats to floats that lie in memory.
void convertBare(benchmark::State& state, const std::string& path, int frames, double rate) {
    const auto data = open<marl::CMemoryFileData>(path, frames);
    int last;
    const void* const samples = data->readSamples(0, 0, &last, true);
    const marl::CBufferRef input(
        new halyard::CBuffer(samples, static_cast<std::size_t>(last + 1) * sizeof(float), false));
    for (auto _ : state) {
        benchmark::DoNotOptimize(data->convertSampleRates(input, static_cast<long long>(input->getSize()),
                                                          platform::makeHostFormat(44100, 2, 32),
                                                          platform::makeHostFormat(rate, 2, 32)));
    }
    state.SetItemsProcessed(state.iterations() * frames);
}

void stream(benchmark::State& state, const std::string& path, int frames, double rate, bool shuffled) {
    const FileDataRef data = open(path, frames, rate);
    int converted;
    data->getSampleConversion(nullptr, &converted, nullptr, nullptr);
    std::vector<int> starts;
    for (int first = 0; first < 2 * converted; first += kSliceSamples) starts.push_back(first);
    if (shuffled) std::ranges::shuffle(starts, std::mt19937(1));
    for (auto _ : state) {
        for (const int first : starts) {
            int last;
            benchmark::DoNotOptimize(data->readSamples(first, first + 1, &last, true));
        }
    }
    state.SetItemsProcessed(state.iterations() * frames);
}

template <typename Function, typename... Arguments>
void add(const std::string& name, benchmark::TimeUnit unit, Function function, Arguments... arguments) {
    benchmark::RegisterBenchmark(name.c_str(), function, arguments...)->Unit(unit)->UseRealTime();
}

void addRates(const std::string& path, int frames) {
    for (const double rate : {48000.0, 22050.0, 96000.0}) {
        const std::string name = "44100to" + std::to_string(static_cast<int>(rate));
        add(name + "/converter", benchmark::kMillisecond, convertBare, path, frames, rate);
        add(name + "/in_memory", benchmark::kMillisecond, convertWhole, path, frames, rate);
        add(name + "/streamed", benchmark::kMillisecond, stream, path, frames, rate, false);
        add(name + "/streamed_shuffled", benchmark::kMillisecond, stream, path, frames, rate, true);
    }
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
    constexpr int kLongFrames = 180 * 44100;  // more slices than the pool holds
    const Folder folder;
    std::vector<std::string> paths;
    for (int i = 0; i < kFiles; ++i) {
        paths.push_back(folder.path(std::to_string(i) + ".aif"));
        writeFile(paths.back(), kFileFrames);
    }
    const std::string longPath = folder.path("long.aif");
    writeFile(longPath, kLongFrames);
    add("slices/marl", benchmark::kMicrosecond, sliceWithMarl, paths);
    add("slices/bare", benchmark::kMicrosecond, sliceBare, paths, std::size_t{1000});
    add("slices/bare_one_buffer", benchmark::kMicrosecond, sliceBare, paths, std::size_t{1});
    add("slices/libsndfile", benchmark::kMicrosecond, sliceWithSndfile, paths);
    add("resident/readSamples", benchmark::kNanosecond, readResident, paths[0]);
    add("resident/copySamples", benchmark::kNanosecond, copyResident, paths[0]);
    add("pool/assign", benchmark::kNanosecond, assignFromFullPool);
    for (const int count : {100, 1000, 10000}) {
        benchmark::RegisterBenchmark("open_files", openMany, paths)
            ->Arg(count)
            ->Iterations(1)
            ->Unit(benchmark::kMillisecond);
    }
    addRates(longPath, kLongFrames);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
