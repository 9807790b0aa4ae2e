// SPDX-License-Identifier: MIT
/// \file
/// A folder of loops and a folder of their indexes, for tests of the search engine.
#pragma once

#include "support/LoopFiles.h"
#include "support/TemporaryFolder.h"

#include <MarlCore/SearchEngine/CSearchEngine.h>

#include <set>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>

namespace support {

/// Names no word of the keyword dictionary: files carry what their metadata says and no more.
class SearchLibrary {
public:
    SearchLibrary() { marl::MCsetIndexDirectoryWithNSString(m_indexes.path()); }

    const std::string& root() const noexcept { return m_loops.path(); }
    std::string path(const std::string& name) const { return m_loops.path(name); }
    const TemporaryFolder& indexes() const noexcept { return m_indexes; }

    /// A loop of two seconds with these tags; its time of change is `age` seconds ago.
    std::string addLoop(const std::string& name, const std::string& genre,
                        const std::vector<std::string>& descriptors = {}, int age = 100) const {
        AIFFContents contents;
        contents.common = CommonChunk{.channels = 1, .frames = {}, .bitsPerChannel = 8, .sampleRate = 1000};
        contents.basicTagging = BasicTagging{.beats = 4};
        contents.categories = Categories{.genre = genre, .descriptors = descriptors};
        contents.samples = Bytes().zeros(2000);
        const std::string path = m_loops.write(name, aiffFile(contents));
        setAge(path, age);
        return path;
    }

    static void setAge(const std::string& path, int seconds) {
        const timespec then{::time(nullptr) - seconds, 0};
        const timespec times[] = {then, then};
        ::utimensat(AT_FDCWD, path.c_str(), times, 0);
    }

    /// The names under the root of the files that carry all `keys`, of any folder that is indexed.
    std::set<std::string> find(marl::CSearchEngine& engine, const std::vector<std::string>& keys) const {
        marl::OrganizedSearchResults results;
        std::vector<marl::SearchKey> searchKeys;
        for (const std::string& key : keys) searchKeys.emplace_back(key);
        engine.search(searchKeys, {}, {}, 0, results, true);
        std::set<std::string> names;
        for (const marl::CFileIndexInfo* const record : results.files())
            names.insert(std::string(record->getFileName()).substr(root().size() + 1));
        return names;
    }

    /// An engine that knows the indexes on disk, as another process would have it.
    static marl::CSearchEngineRef newEngine() {
        marl::CSearchEngineRef engine = marl::CSearchEngine::New();
        engine->loadIndexFiles();
        return engine;
    }

    /// A whole pass over the root; what it reports.
    marl::SearchIndexingStatus update(marl::CSearchEngine& engine) const {
        marl::IndexingState state;
        engine.index(engine.createIndexFile(root()), state);
        return state.status;
    }

private:
    TemporaryFolder m_loops;
    TemporaryFolder m_indexes;
};

}  // namespace support
