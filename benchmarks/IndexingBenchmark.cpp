// SPDX-License-Identifier: MIT
// Bringing an index up to date beside what any program has to ask of the system: 10,000 new loops beside a
// walk that opens each, reads its front and closes it, and 100,000 unchanged ones beside a walk with one stat
// each.
//
// Everything comes from the page cache. Run with
// --benchmark_enable_random_interleaving=true --benchmark_repetitions=9
// --benchmark_report_aggregates_only=true so that the versions take turns, and compare medians.
#include "LoopFiles.h"

#include <MarlCore/SearchEngine/CSearchEngine.h>

#include <benchmark/benchmark.h>

#include <filesystem>
#include <functional>
#include <memory>
#include <string>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

namespace {

namespace fs = std::filesystem;
using benchmarks::Folder;

constexpr int kNew = 10000, kUnchanged = 100000, kFilesAFolder = 100;
constexpr int kLoopFrames = 1500;  // 6 KB: nothing reads them

/// A tree of copies of one loop.
std::string makeTree(const Folder& folder, const std::string& name, int files) {
    const std::string loop = folder.path("loop.aif");
    benchmarks::writeLoop(loop, 16, kLoopFrames);
    for (int i = 0; i < files; ++i) {
        const std::string path = folder.path(name + "/" + std::to_string(i / kFilesAFolder));
        if (i % kFilesAFolder == 0) fs::create_directories(path);
        fs::copy_file(loop, path + "/" + std::to_string(i) + ".aif");
    }
    return folder.path(name);
}

// ---- Bare ----

void readFront(const std::string& path) {
    struct stat status;
    char front[4096];
    const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    benchmark::DoNotOptimize(::fstat(file, &status));
    benchmark::DoNotOptimize(::pread(file, front, sizeof front, 0));
    ::close(file);
}

void askStatus(const std::string& path) {
    struct stat status;
    benchmark::DoNotOptimize(::stat(path.c_str(), &status));
}

/// Visits each file below `folder`; the entries say which are folders.
void walk(const std::string& folder, void (*visit)(const std::string&)) {
    const std::unique_ptr<DIR, int (*)(DIR*)> stream(::opendir(folder.c_str()), ::closedir);
    while (const dirent* const entry = ::readdir(stream.get())) {
        if (entry->d_name[0] == '.') continue;
        const std::string path = folder + "/" + entry->d_name;
        if (entry->d_type == DT_DIR)
            walk(path, visit);
        else
            visit(path);
    }
}

void walkBare(benchmark::State& state, const std::string& tree, int files,
              void (*visit)(const std::string&)) {
    for (auto _ : state) walk(tree, visit);
    state.SetItemsProcessed(state.iterations() * files);
}

// ---- The index ----

void indexNew(benchmark::State& state, const std::string& tree) {
    const marl::CSearchEngineRef engine = marl::CSearchEngine::New();
    for (auto _ : state) {
        engine->index1Directory(tree);
        state.PauseTiming();
        engine->removeIndexFile(engine->findIndexFileForDirectory(tree));
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * kNew);
}

/// Opens the index too, as a program does that is started for it.
void verifyUnchanged(benchmark::State& state, const std::string& tree) {
    marl::CSearchEngine::New()->index1Directory(tree);
    for (auto _ : state) {
        const marl::CSearchEngineRef engine = marl::CSearchEngine::New();
        engine->loadIndexFiles();
        marl::IndexingState pass;
        engine->index(engine->findIndexFileForDirectory(tree), pass);
        if (pass.status.filesUnchanged != kUnchanged) state.SkipWithError("files have changed");
    }
    state.SetItemsProcessed(state.iterations() * kUnchanged);
}

void add(const char* name, const std::function<void(benchmark::State&)>& run) {
    benchmark::RegisterBenchmark(name, run)->Unit(benchmark::kMillisecond)->UseRealTime();
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
    const Folder folder;
    marl::MCsetIndexDirectoryWithNSString(folder.path("indexes"));
    const std::string small = makeTree(folder, "new", kNew),
                      large = makeTree(folder, "unchanged", kUnchanged);
    add("new/bare_walk", [&](benchmark::State& state) { walkBare(state, small, kNew, readFront); });
    add("new/marl", [&](benchmark::State& state) { indexNew(state, small); });
    add("unchanged/bare_walk",
        [&](benchmark::State& state) { walkBare(state, large, kUnchanged, askStatus); });
    add("unchanged/marl", [&](benchmark::State& state) { verifyUnchanged(state, large); });
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
