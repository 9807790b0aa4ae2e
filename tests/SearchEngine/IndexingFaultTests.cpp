// SPDX-License-Identifier: MIT
// Passes in which a write goes wrong, at each write in turn: what is found is true, and the next pass makes
// the index whole.
#include "Files/writing/FaultyDisk.h"
#include "SearchLibrary.h"

#include <MarlCore/foundation/CException.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <map>

#include <sys/wait.h>
#include <unistd.h>

namespace support {
namespace {

using halyard::CException;
using marl::CSearchEngine;
using marl::CSearchEngineRef;
using Fault = FaultyDisk::Fault;
using Names = std::set<std::string>;
using NamesByKey = std::map<std::string, Names>;

/// A folder that is indexed, and has changed since.
class ChangedFolder {
public:
    explicit ChangedFolder(bool isIndexed) {
        m_library.addLoop("kept.aif", "Xkept", {"Xall"});
        m_library.addLoop("changed.aif", "Xbefore", {"Xall"});
        m_library.addLoop("gone.aif", "Xgone", {"Xall"});
        if (isIndexed) m_library.update(*SearchLibrary::newEngine());
        m_library.addLoop("changed.aif", "Xafter", {"Xall"}, -5);
        m_library.addLoop("new.aif", "Xnew", {"Xall"});
        std::filesystem::remove(m_library.path("gone.aif"));
    }

    void update(CSearchEngine& engine) const { m_library.update(engine); }

    NamesByKey found(CSearchEngine& engine) const {
        NamesByKey names;
        for (const auto& [key, files] : kOfEitherTime) names[key] = m_library.find(engine, {key});
        return names;
    }

    /// What another process does next: a damaged index is made anew.
    NamesByKey foundAfterTheNextPass() const {
        const CSearchEngineRef engine = SearchLibrary::newEngine();
        if (engine->indexFileCount() > 0 && engine->getIndexFile(0)->getState() == marl::kIndexIsDamaged)
            engine->removeIndexFile(engine->getIndexFile(0));
        update(*engine);
        return found(*SearchLibrary::newEngine());
    }

    static const NamesByKey kOfEitherTime, kNow;

private:
    SearchLibrary m_library;
};

const NamesByKey ChangedFolder::kOfEitherTime = {
    {"Xkept", {"kept.aif"}},     {"Xbefore", {"changed.aif"}},
    {"Xafter", {"changed.aif"}}, {"Xgone", {"gone.aif"}},
    {"Xnew", {"new.aif"}},       {"Xall", {"kept.aif", "changed.aif", "gone.aif", "new.aif"}},
};
const NamesByKey ChangedFolder::kNow = {
    {"Xkept", {"kept.aif"}}, {"Xbefore", {}},       {"Xafter", {"changed.aif"}},
    {"Xgone", {}},           {"Xnew", {"new.aif"}}, {"Xall", {"kept.aif", "changed.aif", "new.aif"}},
};

void expectNothingWrong(const NamesByKey& found) {
    for (const auto& [key, names] : found)
        EXPECT_TRUE(std::ranges::includes(ChangedFolder::kOfEitherTime.at(key), names)) << key;
}

class FaultyPass : public testing::TestWithParam<bool> {};

TEST_P(FaultyPass, TellsOfAFailedWriteAndIsMadeGood) {
    for (const Fault fault :
         {Fault::kError, Fault::kFull, Fault::kHalfThenError, Fault::kShort, Fault::kInterrupted}) {
        const bool isError = fault != Fault::kShort && fault != Fault::kInterrupted;
        for (int call = 1, calls = call; calls >= call; ++call) {
            SCOPED_TRACE(testing::Message() << "fault " << static_cast<int>(fault) << " at write " << call);
            const ChangedFolder folder(GetParam());
            const CSearchEngineRef engine = SearchLibrary::newEngine();
            int code = 0;
            {
                const FaultyDisk disk(fault, call);
                try {
                    folder.update(*engine);
                } catch (const CException& exception) {
                    code = exception.getCode();
                    EXPECT_TRUE(exception.getMessage().starts_with("failed to ")) << exception.what();
                }
                calls = disk.calls();
            }
            EXPECT_EQ(code, isError && calls >= call ? ENOSPC : 0);
            expectNothingWrong(folder.found(*engine));
            expectNothingWrong(folder.found(*SearchLibrary::newEngine()));
            EXPECT_EQ(folder.foundAfterTheNextPass(), ChangedFolder::kNow);
            engine->loadIndexFiles();  // the new one, if the old one was damaged
            EXPECT_EQ(folder.found(*engine), ChangedFolder::kNow);
        }
    }
}

TEST_P(FaultyPass, MayBeKilled) {
    for (int call = 1, status = 1; status != 0; ++call) {
        SCOPED_TRACE(testing::Message() << "at write " << call);
        const ChangedFolder folder(GetParam());
        const pid_t child = ::fork();
        if (child == 0) {
            const CSearchEngineRef engine = SearchLibrary::newEngine();
            const FaultyDisk disk(Fault::kKill, call);
            folder.update(*engine);
            ::_exit(0);
        }
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        ASSERT_TRUE(status == 0 || WIFSIGNALED(status));
        expectNothingWrong(folder.found(*SearchLibrary::newEngine()));
        EXPECT_EQ(folder.foundAfterTheNextPass(), ChangedFolder::kNow);
    }
}

INSTANTIATE_TEST_SUITE_P(Indexing, FaultyPass, testing::Bool(), [](const auto& over) {
    return over.param ? "OverAnOldIndex" : "OfAFolderThatIsNew";
});

}  // namespace
}  // namespace support
