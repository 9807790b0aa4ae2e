// SPDX-License-Identifier: MIT
/// Random changes to a folder, each followed by a pass, beside a model of what the index must hold then.
#include "SearchLibrary.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <random>

namespace support {
namespace {

namespace fs = std::filesystem;

constexpr int kChanges = 2000;
constexpr int kNames = 24;
constexpr int kGenres = 5;

class FolderModel {
public:
    explicit FolderModel(std::uint32_t seed) : m_random(seed) {}

    void changeSomething() {
        const std::string name = anyName();
        switch (below(6)) {
            case 0:
            case 1:
                return put(name);  // new, or changed
            case 2:
                return remove(name);
            case 3:
                return rename(name, anyName());
            case 4:
                return replaceByFolder(name);
            default:
                return putBack(name);
        }
    }

    void expectIndexed(marl::CSearchEngine& engine) {
        const marl::SearchIndexingStatus status = m_library.update(engine);
        EXPECT_TRUE(status.isComplete);
        noteUpdate();
        const marl::CIndexFileRef file = engine.getIndexFile(0);
        ASSERT_EQ(file->getFileCount(), static_cast<int>(m_pathOfID.size()));
        std::map<std::string, std::set<std::string>> namesOfGenre;
        for (const auto& [id, name] : m_pathOfID) {
            const bool exists = m_files.contains(name);
            marl::CFileIndexInfo record;
            file->readFileInfo(id, record);
            ASSERT_EQ(record.getFileID(), exists ? id : -id) << name;
            ASSERT_EQ(record.getFileName(), m_library.path(name));
            ASSERT_EQ(record.getGenre().view(), m_indexed.at(name));
            if (exists) namesOfGenre[m_indexed.at(name)].insert(name);
        }
        for (int i = 0; i < kGenres; ++i)
            ASSERT_EQ(m_library.find(engine, {genre(i)}), namesOfGenre[genre(i)]);
    }

private:
    static std::string genre(int number) {
        return "Xgenre" + std::string(1, static_cast<char>('a' + number));
    }
    int below(int limit) { return static_cast<int>(m_random() % static_cast<unsigned>(limit)); }
    std::string anyName() {
        std::string name = below(2) ? "sub/" : "";
        return name += static_cast<char>('a' + below(kNames)), name += ".aif";
    }

    void clearTheWay(const std::string& name) { fs::remove_all(m_library.path(name)); }

    void put(const std::string& name) {
        clearTheWay(name);
        m_files[name] = genre(below(kGenres));
        m_library.addLoop(name, m_files[name], {}, -60);  // younger than any record
    }

    void remove(const std::string& name) {
        if (m_files.erase(name) != 0) clearTheWay(name);
    }

    void rename(const std::string& name, const std::string& to) {
        if (name == to || !m_files.contains(name)) return;
        clearTheWay(to);
        fs::create_directories(fs::path(m_library.path(to)).parent_path());
        fs::rename(m_library.path(name), m_library.path(to));
        m_files[to] = m_files.extract(name).mapped();
        SearchLibrary::setAge(m_library.path(to), -60);  // an older one than the record would go unnoticed
    }

    void replaceByFolder(const std::string& name) {
        remove(name);
        fs::create_directories(m_library.path(name));
    }

    /// What a record was made of, older than the record: it is not examined again.
    void putBack(const std::string& name) {
        if (m_files.contains(name) || !m_indexed.contains(name)) return;
        clearTheWay(name);
        m_files[name] = m_indexed[name];
        m_library.addLoop(name, m_files[name], {}, 1000);
    }

    /// New paths get the next identifiers in their order.
    void noteUpdate() {
        for (const auto& [name, tag] : m_files) {
            if (!m_indexed.contains(name)) m_pathOfID[static_cast<int>(m_pathOfID.size()) + 1] = name;
            m_indexed[name] = tag;
        }
    }

    SearchLibrary m_library;
    std::mt19937 m_random;
    std::map<std::string, std::string> m_files;    // name and genre
    std::map<std::string, std::string> m_indexed;  // the same of every file that has a record
    std::map<int, std::string> m_pathOfID;
};

TEST(IndexingModel, AgreesAfterEveryChange) {
    constexpr std::uint32_t kSeed = 20261121;
    FolderModel model(kSeed);
    marl::CSearchEngineRef engine = SearchLibrary::newEngine();
    for (int i = 0; i < kChanges; ++i) {
        model.changeSomething();
        if (i % 100 == 99) engine = SearchLibrary::newEngine();  // as the next process finds it
        model.expectIndexed(*engine);
        ASSERT_FALSE(testing::Test::HasFailure()) << "change " << i << " of seed " << kSeed;
    }
}

}  // namespace
}  // namespace support
