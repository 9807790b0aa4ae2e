// SPDX-License-Identifier: MIT
// Random operations on an index file, compared with a list of loops that is searched as plainly as can be.
#include "IndexedLoops.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <random>

namespace marl {
namespace {

using support::IndexedLoop;
using Paths = std::vector<std::string>;

std::string upper(std::string text) {
    for (char& c : text)
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    return text;
}

struct Query {
    Paths keys = {};
    SearchFilters filters = {};
    std::string name = {};
    int projectKey = 0;
};

class Model {
public:
    struct Loop {
        IndexedLoop loop;
        bool isThere;
    };

    std::vector<Loop> loops;  // of file n at n - 1
    std::multiset<CSearchKeyIndex, CSearchKeyIndexLess> entries;

    void addEntries(std::int32_t fileID, const IndexedLoop& loop) {
        for (const SearchKeyInfo& tag : support::tagsOf(loop)) entries.insert({tag.key, fileID});
    }
    void removeEntries(std::int32_t fileID) {
        std::erase_if(entries, [&](const auto& entry) { return entry.getFileID() == fileID; });
    }

    Paths search(const Query& query) const {
        Paths paths;
        for (const auto& [loop, isThere] : loops)
            if (isThere && carries(loop, query.keys) && passes(loop, query)) paths.push_back(loop.path);
        std::ranges::sort(paths);
        return paths;
    }

private:
    static bool carries(const IndexedLoop& loop, const Paths& keys) {
        Paths own{upper(loop.instrument), upper(loop.subType), upper(loop.genre)};
        for (const std::string& descriptor : loop.descriptors) own.push_back(upper(descriptor));
        return std::ranges::all_of(keys, [&](const std::string& key) {
            return !key.empty() && std::ranges::count(own, upper(key)) > 0;
        });
    }
    static bool passes(const IndexedLoop& loop, const Query& query) {
        const SearchFilters& filters = query.filters;
        if (filters.keyType != 0 && loop.rootNote != 0 && loop.keyType != filters.keyType) return false;
        const bool anyTime = filters.timeSignature == tagging::TimeSignature{0, 0};
        if (!anyTime && !(loop.timeSignature == filters.timeSignature)) return false;
        if (query.projectKey != 0 && loop.contentFileType == 0 && loop.rootNote != 0 &&
            std::abs(loop.rootNote - query.projectKey) > filters.keyTolerance)
            return false;
        const std::string path = upper(loop.path), name = upper(query.name);
        if (name.size() == 1) return path.substr(path.rfind('/') + 1).starts_with(name);
        return path.find(name) != std::string::npos;
    }
};

class RandomIndex {
public:
    explicit RandomIndex(unsigned seed) : m_random(seed), m_file(support::makeIndex(m_path)) {
        m_file->flushChanges();
    }

    void step() {
        const std::size_t operation = below(12);
        const auto fileID =
            static_cast<std::int32_t>(1 + below(std::max<std::size_t>(1, model.loops.size())));
        if (operation < 4 || model.loops.empty()) {
            model.loops.push_back({anyLoop(), true});
            const IndexedLoop& loop = model.loops.back().loop;
            ASSERT_EQ(support::add(*m_file, loop), static_cast<std::int32_t>(model.loops.size()));
            model.addEntries(static_cast<std::int32_t>(model.loops.size()), loop);
        } else if (operation < 6) {
            Model::Loop& old = model.loops[static_cast<std::size_t>(fileID - 1)];
            old = {anyLoop(), true};
            support::rewrite(*m_file, fileID, old.loop);
            model.removeEntries(fileID);
            model.addEntries(fileID, old.loop);
        } else if (operation < 8) {
            Model::Loop& loop = model.loops[static_cast<std::size_t>(fileID - 1)];
            loop.isThere = !loop.isThere;
            support::setThere(*m_file, fileID, loop.isThere);
        } else if (operation == 8) {
            m_file->flushChanges();
        } else if (operation == 9) {
            m_file = {};
            m_file = support::openIndex(m_path);
            ASSERT_EQ(m_file->getState(), kIndexIsComplete);
            ASSERT_FALSE(m_file->matchKeysToRecords());
        }
    }

    void compareSearch() {
        const Query query{.keys = anyKeys(3),
                          .filters = {.timeSignature = one<tagging::TimeSignature>({{0, 0}, {4, 4}, {3, 4}}),
                                      .keyType = one<std::int16_t>({0, 0, 1, 2}),
                                      .keyTolerance = one<std::int32_t>({0, 1, 3})},
                          .name = one<std::string>({"", "", "A", "b", "ab", "/Loops/b", "nowhere"}),
                          .projectKey = one<int>({0, 0, 60, 62})};
        EXPECT_EQ(support::pathsFound(*m_file, query.keys, query.filters, query.name, query.projectKey),
                  model.search(query));
    }

    void compareEntries() const {
        std::vector<std::pair<std::string, std::int32_t>> entries;
        for (const auto& entry : model.entries)
            entries.emplace_back(entry.getSearchKey().view(), entry.getFileID());
        EXPECT_EQ(support::entriesOf(*m_file), entries);
    }

    Model model;

private:
    std::size_t below(std::size_t end) { return m_random() % end; }
    template <typename Value>
    Value one(std::initializer_list<Value> values) {
        return values.begin()[below(values.size())];
    }
    std::string anyWord() {
        return one<std::string>(
            {"Bass", "bass", "Drums", "DRUMS", "Funk", "funk", "Jazz", "Single Drum Hit", "Dry"});
    }
    Paths anyKeys(std::size_t most) {
        Paths keys;
        for (std::size_t left = below(most + 1); left > 0; --left) keys.push_back(anyWord());
        return keys;
    }
    IndexedLoop anyLoop() {
        IndexedLoop loop{.path = "/Loops/" + one<std::string>({"a", "A", "b", "\xC3\xA9"}) + "b" +
                                 std::to_string(++m_names),
                         .instrument = one<std::string>({"", "Bass", "drums"}),
                         .genre = one<std::string>({"", "Jazz", "funk"}),
                         .descriptors = anyKeys(4),
                         .timeSignature = one<tagging::TimeSignature>({{4, 4}, {3, 4}, {6, 8}}),
                         .keyType = one<std::int16_t>({1, 2, 3}),
                         .contentFileType = one<std::int16_t>({0, 0, 2}),
                         .rootNote = one<std::int32_t>({0, 58, 60, 61, 63})};
        if (!loop.instrument.empty()) loop.subType = one<std::string>({"", "Synthetic Bass"});
        return loop;
    }

    std::mt19937 m_random;
    support::TemporaryFolder m_folder;
    std::string m_path = m_folder.path("Search Index.txt");
    int m_names = 0;
    CIndexFileRef m_file;
};

TEST(IndexFileModel, AgreesWithAListOfLoops) {
    constexpr int kSearchesAStep = 7;  // 10,500 in all
    for (unsigned seed = 1; seed <= 10; ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        RandomIndex index(seed);
        for (int step = 0; step < 150 && !testing::Test::HasFailure(); ++step) {
            SCOPED_TRACE(testing::Message() << "step " << step);
            index.step();
            index.compareEntries();
            for (int i = 0; i < kSearchesAStep; ++i) index.compareSearch();
        }
    }
}

}  // namespace
}  // namespace marl
