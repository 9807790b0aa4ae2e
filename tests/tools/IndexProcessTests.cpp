// SPDX-License-Identifier: MIT
// The program beside others of its kind, and ended before its time.
#include <nlohmann/json.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <random>
#include <thread>

#include "SearchEngine/SearchLibrary.h"
#include "tools/Program.h"

namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using support::Outcome;
using support::runMarl;
using support::RunningMarl;
using support::SearchLibrary;
using Names = std::set<std::string>;
using Arguments = std::vector<std::string>;

/// Whether it comes true before a minute has passed.
bool comesTrue(const std::function<bool()>& condition) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

class IndexProcess : public testing::Test {
protected:
    Arguments command(const std::string& name, const Arguments& rest) const {
        Arguments arguments{name, "--index-dir", m_library.indexes().path()};
        arguments.insert(arguments.end(), rest.begin(), rest.end());
        return arguments;
    }

    Outcome index() const { return runMarl(command("index", {m_library.root()})); }

    /// The names that a search finds, each of which must come once.
    Names found(const Arguments& keys = {}) const {
        Arguments rest{"--json"};
        rest.insert(rest.end(), keys.begin(), keys.end());
        const Outcome outcome = runMarl(command("search", rest));
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        const json object = json::parse(outcome.out);
        Names names;
        for (const json& result : object["results"])
            EXPECT_TRUE(
                names.insert(result["path"].get<std::string>().substr(m_library.root().size() + 1)).second);
        EXPECT_EQ(object["count"], names.size());
        return names;
    }

    /// Records of the one index, those of files that have gone included.
    int records() const {
        const marl::CSearchEngineRef engine = SearchLibrary::newEngine();
        EXPECT_EQ(engine->indexFileCount(), 1);
        return engine->indexFileCount() == 1 ? engine->getIndexFile(0)->getFileCount() : -1;
    }

    Names addLoops(int count, const std::string& key) const {
        Names names;
        for (int i = 0; i < count; ++i) {
            names.insert(std::to_string(i) + ".aif");
            m_library.addLoop(std::to_string(i) + ".aif", key);
        }
        return names;
    }

    SearchLibrary m_library;
};

/// More files than a pass stores at once.
constexpr int kManyFiles = 1500;

TEST_F(IndexProcess, EndsByTheSignalThatStopsItAndKeepsWhatItHas) {
    const Names all = addLoops(kManyFiles, "Xa");
    const struct {
        int signal;
        bool isHeld;  // by a reader, to the end
    } kRows[] = {{SIGINT, false}, {SIGTERM, false}, {SIGHUP, false}, {SIGTERM, true}};
    for (const auto& row : kRows) {
        const marl::CSearchEngineRef engine = SearchLibrary::newEngine();
        const marl::CIndexFileRef file = engine->createIndexFile(m_library.root());
        // It waits with what it would store for as long as this test reads.
        std::optional<marl::CIndexFile::ContentsScope> reading(std::in_place, *file, false);
        RunningMarl marl(command("index", {m_library.root()}));
        EXPECT_TRUE(comesTrue([&] { return file->isBeingUpdated(); }));
        marl.sendSignal(row.signal);
        if (!row.isHeld) reading.reset();
        const Outcome outcome = marl.await();
        reading.reset();
        EXPECT_EQ(outcome.signal, row.signal);
        EXPECT_TRUE(outcome.err.starts_with("marl: " + m_library.root() + ": stopped; ")) << outcome.err;
        if (!row.isHeld) {
            EXPECT_LT(records(), kManyFiles);
            EXPECT_EQ(found().size(), static_cast<std::size_t>(records()));
        }
        EXPECT_EQ(index().status, 0);
        EXPECT_EQ(found({"xa"}), all);
        EXPECT_EQ(records(), kManyFiles);
        EXPECT_EQ(runMarl(command("index", {"--remove", m_library.root()})).status, 0);
    }
}

TEST_F(IndexProcess, OneOfManyAtOnceDoesTheWork) {
    const Names all = addLoops(300, "Xa");
    for (const bool rebuild : {false, true}) {
        std::vector<std::unique_ptr<RunningMarl>> running;
        for (int i = 0; i < 4; ++i)
            running.push_back(std::make_unique<RunningMarl>(command(
                "index", rebuild ? Arguments{"--rebuild", m_library.root()} : Arguments{m_library.root()})));
        int done = 0;
        for (const auto& marl : running) {
            const Outcome outcome = marl->await();
            if (outcome.status == 0) {
                ++done;
                continue;
            }
            EXPECT_EQ(outcome.status, 1);
            EXPECT_EQ(outcome.err, "marl: " + m_library.root() + ": another process is indexing it\n");
        }
        EXPECT_GE(done, 1);
        EXPECT_EQ(found({"Xa"}), all);
        EXPECT_EQ(records(), 300);
    }
}

TEST_F(IndexProcess, KilledAtAnyMomentLosesNoFileAndDoublesNone) {
    constexpr unsigned kSeed = 20;
    SCOPED_TRACE("seed " + std::to_string(kSeed));
    std::minstd_rand random(kSeed);
    Names all = addLoops(kManyFiles, "Xa");
    for (int round = 0; round < 8; ++round) {
        SCOPED_TRACE("round " + std::to_string(round));
        for (int i = round % 2; i < kManyFiles; i += 2) {  // half of them go, or come back
            const std::string here = m_library.path(std::to_string(i) + ".aif"), away = here + ".away";
            const bool goes = fs::exists(here);
            fs::rename(goes ? here : away, goes ? away : here);
            goes ? all.erase(std::to_string(i) + ".aif") : all.insert(std::to_string(i) + ".aif").second;
        }
        if (round % 3 == 2) {  // a first pass
            EXPECT_EQ(runMarl(command("index", {"--remove", m_library.root()})).status, 0);
        }
        {
            const RunningMarl marl(command("index", {m_library.root()}));
            std::this_thread::sleep_for(std::chrono::microseconds(random() % 200000));
        }  // killed
        // There is an answer, and no path comes twice.
        if (SearchLibrary::newEngine()->indexFileCount() > 0) found();
        EXPECT_EQ(index().status, 0);
        EXPECT_EQ(found(), all);
        EXPECT_EQ(found({"xA"}), all);
        EXPECT_LE(records(), kManyFiles);
    }
}

TEST_F(IndexProcess, AnswersWhileAnotherFollowsTheFolder) {
    constexpr int kFiles = 200;
    Names all = addLoops(kFiles, "Xa");
    RunningMarl watch(command("index", {"--watch", m_library.root()}));
    EXPECT_TRUE(comesTrue([&] { return watch.err().find("watching 1 folder") != std::string::npos; }));
    EXPECT_EQ(found(), all);
    Names everSeen = all;
    for (int step = 0; step < 5; ++step) {
        const std::string name = "new " + std::to_string(step) + "/a.aif",
                          old = std::to_string(step) + ".aif";
        m_library.addLoop(name, "Xnew");
        fs::remove(m_library.path(old));
        all.erase(old);
        all.insert(name);
        everSeen.insert(name);
        EXPECT_TRUE(comesTrue([&] {
            const Names seen = found();
            EXPECT_TRUE(std::ranges::includes(everSeen, seen));
            EXPECT_GE(seen.size(), kFiles - 10U);
            return seen == all;
        }));
    }
    fs::rename(m_library.path("new 0"), m_library.path("renamed"));
    EXPECT_TRUE(comesTrue([&] { return found({"Xnew"}).contains("renamed/a.aif"); }));
    watch.sendSignal(SIGTERM);
    const Outcome outcome = watch.await();
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err, "marl: watching 1 folder\n");
    EXPECT_EQ(outcome.out.find("folder\n"), outcome.out.rfind("folder\n"));  // one head for all rows
}

TEST_F(IndexProcess, FollowsTheOtherFoldersWhenOneIsMissing) {
    m_library.addLoop("here/a.aif", "Xa");
    const std::string missing = m_library.path("missing");
    RunningMarl watch(command("index", {"--watch", missing, m_library.path("here")}));
    EXPECT_TRUE(comesTrue([&] { return watch.err().find("watching") != std::string::npos; }));
    m_library.addLoop("here/b.aif", "Xb");
    EXPECT_TRUE(comesTrue([&] { return found() == Names{"here/a.aif", "here/b.aif"}; }));
    watch.sendSignal(SIGINT);
    const Outcome outcome = watch.await();
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err, "marl: " + missing +
                               ": cannot be indexed: No such file or directory\nmarl: watching 1 folder\n");
}

TEST_F(IndexProcess, FollowsNoFolderThatNeverWasThere) {
    const std::string missing = m_library.path("missing"), file = m_library.addLoop("a.aif", "Xa");
    const Outcome outcome = runMarl(command("index", {"--watch", missing, file}));
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err, "marl: " + missing + ": cannot be indexed: No such file or directory\nmarl: " +
                               file + ": cannot be indexed: Not a directory\n");
}

TEST_F(IndexProcess, FollowsADriveThatIsAway) {
    const std::string drive = m_library.path("drive"), away = m_library.path("away");
    m_library.addLoop("drive/a.aif", "Xa");
    EXPECT_EQ(runMarl(command("index", {drive})).status, 0);
    fs::rename(drive, away);
    RunningMarl watch(command("index", {"--watch", drive}));
    EXPECT_TRUE(comesTrue([&] { return watch.err().find("look") != std::string::npos; }));
    watch.sendSignal(SIGINT);
    const Outcome outcome = watch.await();
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err,
              "marl: " + drive + ": cannot be indexed: No such file or directory\n" +
                  "marl: watching 1 folder\nmarl: " + drive +
                  ": note: looked through every 30 seconds, since changes cannot be told: No such "
                  "file or directory\n");
}

TEST_F(IndexProcess, TwoThatFollowOneFolderTakeTurns) {
    addLoops(10, "Xa");
    RunningMarl one(command("index", {"--watch", m_library.root()}));
    RunningMarl two(command("index", {"--watch", m_library.root()}));
    for (RunningMarl* const watch : {&one, &two})
        EXPECT_TRUE(comesTrue([&] { return watch->err().find("watching") != std::string::npos; }));
    m_library.addLoop("new.aif", "Xnew");
    EXPECT_TRUE(comesTrue([&] { return found().contains("new.aif"); }));
    for (RunningMarl* const watch : {&one, &two}) {
        watch->sendSignal(SIGINT);
        EXPECT_EQ(watch->await().status, 0);
    }
    EXPECT_EQ(records(), 11);
}

TEST_F(IndexProcess, FollowsAFolderWhoseIndexIsRemoved) {
    const Names all = addLoops(10, "Xa");
    RunningMarl watch(command("index", {"--watch", m_library.root()}));
    EXPECT_TRUE(comesTrue([&] { return watch.err().find("watching") != std::string::npos; }));
    EXPECT_EQ(runMarl(command("index", {"--remove", m_library.root()})).status, 0);
    m_library.addLoop("new.aif", "Xnew");
    EXPECT_TRUE(
        comesTrue([&] { return SearchLibrary::newEngine()->indexFileCount() == 1 && found().size() == 11; }));
}

TEST_F(IndexProcess, TellsTheFilesThatItMayNotRead) {
    const std::string secret = m_library.addLoop("secret.aif", "Xa");
    fs::permissions(secret, fs::perms::none);
    const auto isRefused = [&](const std::string& path, const std::string& reason) {
        const Outcome outcome = runMarl(command("index", {m_library.root()}), {.obeysPermissions = true});
        EXPECT_TRUE(outcome.err.starts_with("marl: " + path + reason + ": Permission denied\n"))
            << outcome.err;
    };
    isRefused(secret, ": cannot be read");
    for (const auto& index : fs::directory_iterator(m_library.indexes().path())) {
        fs::permissions(index, fs::perms::none);
        isRefused(index.path(), ": cannot be used");
    }
}

TEST_F(IndexProcess, BlamesTheIndexesWhenTheirDiskIsFull) {
    addLoops(100, "Xa");
    const Outcome outcome = runMarl(command("index", {m_library.root()}), {.mostFileBytes = 5000});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err,
              "marl: " + m_library.indexes().path() + ": indexes cannot be written: File too large\n");
}

TEST_F(IndexProcess, TellsAFolderThatItMayNotReadAndKeepsItsFiles) {
    m_library.addLoop("open/a.aif", "Xa");
    m_library.addLoop("closed/b.aif", "Xb");
    EXPECT_EQ(index().status, 0);
    fs::permissions(m_library.path("closed"), fs::perms::none);
    const Outcome outcome = runMarl(command("index", {m_library.root()}), {.obeysPermissions = true});
    fs::permissions(m_library.path("closed"), fs::perms::owner_all);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err, "marl: " + m_library.path("closed") +
                               ": cannot be read, what is known of its files stays: Permission denied\n");
    EXPECT_EQ(found(), (Names{"closed/b.aif", "open/a.aif"}));
}

}  // namespace
