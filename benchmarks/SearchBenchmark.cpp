// SPDX-License-Identifier: MIT
// Keyword searches in an index of a million loops beside SQLite, which holds the same records in memory: as a
// table of keys that covers the filters, and as a full-text index. Then opening that index, and putting
// 100,000 loops in order.
//
// Each search asks for keys, a meter and a range of root notes, and gets all that is known of each loop. One
// iteration is one search, and the searches of a class are the same for everybody; `median_ms` and `p99_ms`
// are over them, in processor time, and `rows` is the mean.
//
// Run with --benchmark_enable_random_interleaving=true --benchmark_repetitions=5
// --benchmark_report_aggregates_only=true so that the engines take turns, and compare medians. It takes 2 GB
// of disk space for temporary files, and 1 GB of memory.
#include "LoopFiles.h"
#include "SearchIndexes.h"
#include "SearchPeers.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <random>
#include <span>
#include <string>
#include <vector>

#include <malloc.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using namespace searching;
using benchmarks::Folder;

constexpr int kRecords = 1'000'000;
constexpr int kRecordsToOrder = 100'000;
constexpr std::uint32_t kSeed = 7;

// ---- Searches ----

/// Searches with so many descriptors of these ranks, the most frequent being of rank 0.
struct QueryClass {
    const char* name;
    int firstRank, endRank;
    int descriptors;
    bool instrumentAndGenre;
    int queries;
};

constexpr QueryClass kClasses[] = {
    {"rare_1", 150, 200, 1, false, 400}, {"rare_2", 150, 200, 2, false, 400},
    {"rare_3", 150, 200, 3, false, 400}, {"medium_1", 30, 60, 1, false, 400},
    {"medium_2", 30, 60, 2, false, 400}, {"medium_3", 30, 60, 3, false, 400},
    {"frequent_1", 0, 5, 1, false, 100}, {"frequent_2", 0, 5, 2, false, 100},
    {"frequent_3", 0, 5, 3, false, 100}, {"instrument_genre_frequent", 0, 5, 1, true, 200},
};

std::vector<Query> makeQueries(const QueryClass& kind) {
    const Vocabulary words;
    std::mt19937 random(kSeed);
    const auto pick = [&](const auto& list) -> const auto& {
        return list[random() % list.size()];
    };
    std::vector<std::string> ranks(words.descriptors.begin() + kind.firstRank,
                                   words.descriptors.begin() + kind.endRank);
    std::vector<Query> queries;
    for (int i = 0; i < kind.queries; ++i) {
        std::ranges::shuffle(ranks, random);
        Query query{{ranks.begin(), ranks.begin() + kind.descriptors},
                    kLowestRoot + kTolerance +
                        static_cast<int>(random() % (kHighestRoot - kLowestRoot + 1 - 2 * kTolerance))};
        if (kind.instrumentAndGenre) {
            query.keys.push_back(pick(words.instruments).name);
            query.keys.push_back(pick(words.genres));
        }
        queries.push_back(query);
    }
    return queries;
}

struct Searcher {
    const char* name;
    std::unique_ptr<ISearcher> engine;
};

std::vector<std::int32_t> sortedResult(ISearcher& engine, const Query& query) {
    std::vector<std::int32_t> fileIDs;
    engine.search(query, &fileIDs);
    std::ranges::sort(fileIDs);
    return fileIDs;
}

/// Whether all find the same files, for some of the searches of each class.
bool allAgree(const std::vector<Searcher>& searchers) {
    constexpr std::size_t kChecked = 20;
    for (const QueryClass& kind : kClasses) {
        const std::vector<Query> queries = makeQueries(kind);
        for (const Query& query : std::span(queries).first(kChecked)) {
            const auto expected = sortedResult(*searchers.front().engine, query);
            for (const Searcher& searcher : searchers) {
                if (sortedResult(*searcher.engine, query) == expected) continue;
                std::cerr << kind.name << ": " << searcher.name << " finds other files\n";
                return false;
            }
        }
    }
    return true;
}

/// The value that a share of them does not exceed.
double quantile(std::vector<double>& values, double share) {
    const auto place = static_cast<std::ptrdiff_t>(share * static_cast<double>(values.size() - 1));
    std::nth_element(values.begin(), values.begin() + place, values.end());
    return values[static_cast<std::size_t>(place)];
}

/// Of this thread: the rows come from memory, so nobody waits, and other programs on the machine do not
/// count.
double processorMilliseconds() {
    timespec time{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return 1e3 * static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_nsec);
}

void search(benchmark::State& state, ISearcher& engine, const std::vector<Query>& queries) {
    constexpr std::size_t kToWarmUp = 10;
    for (const Query& query : std::span(queries).first(kToWarmUp)) engine.search(query, nullptr);
    std::vector<double> milliseconds;
    std::size_t rows = 0;
    auto query = queries.begin();
    for (auto _ : state) {
        const double start = processorMilliseconds();
        rows += engine.search(*query++, nullptr);
        milliseconds.push_back(processorMilliseconds() - start);
    }
    state.counters["median_ms"] = quantile(milliseconds, 0.5);
    state.counters["p99_ms"] = quantile(milliseconds, 0.99);
    state.counters["rows"] = static_cast<double>(rows) / static_cast<double>(queries.size());
}

void addSearches(const std::vector<Searcher>& searchers) {
    for (const QueryClass& kind : kClasses) {
        for (const Searcher& searcher : searchers)
            benchmark::RegisterBenchmark((std::string(kind.name) + "/" + searcher.name).c_str(),
                                         [engine = searcher.engine.get(), queries = makeQueries(kind)](
                                             benchmark::State& state) { search(state, *engine, queries); })
                ->Iterations(kind.queries)
                ->Unit(benchmark::kMillisecond)
                ->UseRealTime();
    }
}

// ---- Opening, and putting in order ----

double residentMiB() {
    std::ifstream statm("/proc/self/statm");
    double pages = 0;
    statm >> pages >> pages;
    return pages * static_cast<double>(::sysconf(_SC_PAGESIZE)) / (1 << 20);
}

void open(benchmark::State& state, const std::string& path) {
    for (auto _ : state) {
        ::malloc_trim(0);
        const double before = residentMiB();
        const IndexSearcher opened(path);
        state.counters["resident_MiB"] = residentMiB() - before;
    }
}

/// Every loop of an index, under each of its keys, in the order of paths.
void organize(benchmark::State& state, const std::string& path) {
    const marl::CIndexFileRef index(new marl::CIndexFile(halyard::CSTR(path), false));
    index->readHeader();
    index->readSearchKeySet();
    for (auto _ : state) {
        const marl::OrganizedSearchResultsRef results(new marl::OrganizedSearchResults);
        index->search({}, {}, {}, 0, *results, true);
        benchmark::DoNotOptimize(results->recordsByKey().size());
    }
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
    const Folder folder;
    const std::string path = folder.path("Search Index 1.txt"), small = folder.path("Search Index 2.txt");
    writeIndex(path, kRecords);
    writeIndex(small, kRecordsToOrder);
    std::vector<Searcher> searchers;
    searchers.push_back({"marl", std::make_unique<IndexSearcher>(path)});
    searchers.push_back({"sqlite_key_table", std::make_unique<KeyTableSearcher>(kRecords)});
    searchers.push_back({"sqlite_fts5", std::make_unique<FullTextSearcher>(kRecords)});
    if (!allAgree(searchers)) return 1;
    addSearches(searchers);
    const auto add = [](const char* name, auto body, const std::string& file) {
        benchmark::RegisterBenchmark(name, [=](benchmark::State& state) { body(state, file); })
            ->Iterations(1)
            ->Unit(benchmark::kMillisecond)
            ->UseRealTime();
    };
    add("open_1000000", open, path);
    add("organize_100000", organize, small);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
