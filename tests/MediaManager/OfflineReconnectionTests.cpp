// SPDX-License-Identifier: MIT
// Files that were moved, among others that look like them.
#include <MarlCore/Common/MarlPreferenceKeys.h>
#include <MarlCore/MediaManager/AudioSource.h>
#include <MarlCore/MediaManager/FolderListing.h>
#include <MarlCore/MediaManager/MediaManager.h>
#include <MarlCore/platform/Exception.h>
#include <MarlCore/platform/NotificationCenter.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <filesystem>
#include <functional>

#include "MediaManager/MediaFiles.h"
#include "MediaManager/SampledSource.h"

namespace marl {
namespace {

namespace fs = std::filesystem;
using platform::URL;
using support::CountingFile;
using Action = OfflineFileResolver::Action;

/// Answers as it was told beforehand, then with `kSkip`, and writes down what it hears.
struct ScriptedResolver : OfflineFileResolver {
    Answer resolveMissingFile(const MissingFile& file) override {
        log.push_back("? " + file.displayName);
        if (answers.empty()) return {};
        const Answer answer = answers.front();
        answers.pop_front();
        return answer;
    }
    bool willSearchFolder(const std::string& folder) override {
        return !beforeFolder || beforeFolder(folder);
    }
    void folderIsUnreadable(const std::string& folder) override {
        log.push_back("unreadable " + nameOf(folder));
    }
    void searchWasInVain(const MissingFile& file, const std::vector<std::string>& candidates,
                         bool wasComplete) override {
        log.push_back("in vain " + file.displayName + " " + std::to_string(candidates.size()) +
                      (wasComplete ? "" : " incomplete"));
    }
    void fileIsNotUsable(const MissingFile&, const std::string& path, const std::string& reason) override {
        log.push_back("not usable " + nameOf(path) + (reason.empty() ? " without reason" : ""));
    }
    void didReconnect(const MissingFile& file, const URL& newURL) override {
        log.push_back(file.displayName + " -> " + nameOf(newURL.path().value()));
    }
    static std::string nameOf(const std::string& path) { return path.substr(path.rfind('/') + 1); }

    std::deque<Answer> answers;
    std::function<bool(const std::string&)> beforeFolder;
    std::vector<std::string> log;
};

using Log = std::vector<std::string>;

class MissingFiles : public support::PeaksTest {
protected:
    /// Opens the file there, and moves it to `newName`, or away.
    std::shared_ptr<AudioSource> openAndMove(const std::string& name, const CountingFile& file,
                                             const std::string& newName) {
        const std::string path = m_folder.write(name, file.bytes());
        const auto source =
            std::dynamic_pointer_cast<AudioSource>(m_manager.sourceWithURL(URL::fromPath(path, false)));
        if (newName.empty())
            fs::remove(path);
        else
            m_folder.write(newName, file.bytes()), fs::remove(path);
        m_manager.checkFiles();
        return source;
    }
    std::string pathOf(const std::string& name) const { return m_folder.path(name); }
    URL urlOf(const std::string& name) const { return URL::fromPath(pathOf(name), false); }

    const support::TemporaryFolder m_folder;
    MediaManager m_manager;
    ScriptedResolver m_resolver;
};

TEST_F(MissingFiles, FindsAMovedFileAmongDecoysAndInCircles) {
    const CountingFile kick{.frames = 900, .first = 5};
    const auto source = openAndMove("old/Kick.aif", kick, "new/a/b/Kick.aif");
    m_folder.write("new/Kick.aif", CountingFile{.frames = 901}.bytes());         // its name, another size
    m_folder.write("new/a/Snare.aif", kick.bytes());                             // its size, another name
    m_folder.write("new/.trash/Kick.aif", CountingFile{.frames = 900}.bytes());  // thrown away
    fs::create_directory(pathOf("new/a/b/c"));
    fs::create_directory_symlink("../../..", pathOf("new/a/b/c/circle"));
    fs::create_symlink("nowhere", pathOf("new/a/Kick.aif"));
    m_resolver.answers = {{Action::kSearchFolder, pathOf("new")}};
    EXPECT_EQ(m_manager.reconnectOfflineSources(m_resolver), 1u);
    EXPECT_EQ(m_resolver.log, (Log{"? Kick.aif", "Kick.aif -> Kick.aif"}));
    EXPECT_EQ(source->URL(), urlOf("new/a/b/Kick.aif"));
    EXPECT_EQ(support::samplesOf(*source->sourceRef()->getFileData()).at(0), 5);
    for (const char* const name :
         {"new/a/b/Kick.aif", "old/Kick.aif"})  // more regions may ask for the old one
        EXPECT_EQ(m_manager.sourceWithURL(urlOf(name)), source);
    EXPECT_EQ(m_manager.sources().size(), 1u);
}

TEST_F(MissingFiles, FindsTheOthersWhereOneWasFound) {
    const CountingFile file;
    for (const std::string name : {"a", "b", "c"})
        openAndMove("old/" + name + ".aif", file, "new/" + name + "/" + name + ".aif");
    openAndMove("old/d.aif", file, "");
    m_resolver.answers = {{Action::kSearchFolder, pathOf("new")}};
    EXPECT_EQ(m_manager.reconnectOfflineSources(m_resolver), 3u);
    EXPECT_EQ(std::ranges::count(m_resolver.log, "? a.aif"), 1);
    EXPECT_EQ(std::ranges::count_if(m_resolver.log, [](const auto& line) { return line.starts_with("?"); }),
              2)
        << "for one that is there and for one that is nowhere";
    // In a later round too, and when only the file itself was shown.
    m_folder.write("other/d.aif", file.bytes());
    m_resolver.answers = {{Action::kLocate, pathOf("other/d.aif")}};
    EXPECT_EQ(m_manager.reconnectOfflineSources(m_resolver), 1u);
    openAndMove("old/e.aif", file, "new/x/e.aif");
    openAndMove("old/f.aif", file, "other/f.aif");
    openAndMove("old/g.aif", file, "other/below/g.aif");
    m_resolver.log.clear();
    EXPECT_EQ(m_manager.reconnectOfflineSources(m_resolver), 2u);
    EXPECT_EQ(m_resolver.log, (Log{"e.aif -> e.aif", "f.aif -> f.aif", "? g.aif"}));
}

TEST_F(MissingFiles, TellsFilesOfOneNameAndSizeByTheirFolders) {
    const std::shared_ptr<AudioSource> sources[] = {
        openAndMove("old/Drums/1.aif", {.first = 1}, "new/deep/down/Drums/1.aif"),
        openAndMove("old/Bass/1.aif", {.first = 2}, "new/Bass/1.aif"),
        openAndMove("old/Keys/1.aif", {.first = 3}, "new/Piano/1.aif")};
    m_resolver.answers = {{Action::kSearchFolder, pathOf("new")}};
    EXPECT_EQ(m_manager.reconnectOfflineSources(m_resolver), 3u);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(support::samplesOf(*sources[i]->sourceRef()->getFileData()).at(0), i + 1);
}

TEST_F(MissingFiles, AsksUntilItKnows) {
    const auto source = openAndMove("old/a.aif", {}, "new/other name.aif");
    m_folder.write("new/broken.aif", "x");
    m_folder.write("new/taken.aif", CountingFile{}.bytes());
    const MediaSourcePtr taken = m_manager.sourceWithURL(urlOf("new/taken.aif"));
    m_folder.write("new/gone/x", "");
    m_resolver.beforeFolder = [this](const std::string& folder) {
        if (folder.ends_with("gone")) fs::remove_all(folder);
        return !folder.ends_with("stop");
    };
    fs::create_directory(pathOf("stop"));
    m_resolver.answers = {
        {Action::kLocate, pathOf("missing.aif")},       {Action::kLocate, pathOf("new/broken.aif")},
        {Action::kLocate, pathOf("new/taken.aif")},     {Action::kSearchFolder, pathOf("missing")},
        {Action::kSearchFolder, pathOf("new")},         {Action::kSearchFolder, pathOf("stop")},
        {Action::kLocate, pathOf("new/other name.aif")}};
    const void* reconnected = nullptr;
    auto& center = platform::NotificationCenter::defaultCenter();
    center.addObserver(
        this, [&](const platform::Notification& news) { reconnected = news.object; },
        MarlDidReconnectMediaSource, nullptr);
    EXPECT_EQ(m_manager.reconnectOfflineSources(m_resolver), 1u);
    center.removeObserver(this);
    EXPECT_EQ(m_resolver.log,
              (Log{"? a.aif", "not usable missing.aif", "? a.aif", "not usable broken.aif", "? a.aif",
                   "not usable taken.aif", "? a.aif", "unreadable missing", "in vain a.aif 0", "? a.aif",
                   "unreadable gone", "in vain a.aif 0", "? a.aif", "in vain a.aif 0 incomplete", "? a.aif",
                   "a.aif -> other name.aif"}));
    EXPECT_EQ(reconnected, static_cast<const CObjectiveCWrappedObject::Wrapper*>(source.get()));
    EXPECT_EQ(m_manager.sourceWithURL(urlOf("new/taken.aif")), taken);
    EXPECT_THROW(m_manager.reconnect(*source, urlOf("new/taken.aif")), platform::Exception);
}

TEST_F(MissingFiles, LeavesOfflineWhatIsToStaySo) {
    const auto source = openAndMove("a.aif", {}, "");
    m_resolver.answers = {{Action::kSkip}, {Action::kStayOffline}};
    for (int round = 0; round < 3; ++round) EXPECT_EQ(m_manager.reconnectOfflineSources(m_resolver), 0u);
    EXPECT_EQ(m_resolver.log, (Log{"? a.aif", "? a.aif"}));
    m_folder.write("a.aif", CountingFile{.frames = 77}.bytes());  // back in its place, whatever it is now
    EXPECT_EQ(m_manager.reconnectOfflineSources(m_resolver), 1u);
    EXPECT_EQ(m_resolver.log.back(), "a.aif -> a.aif");
    EXPECT_EQ(source->lengthInFrames(), 77u);
}

TEST_F(MissingFiles, LetsAPersonChooseWhereTheSizeWasNeverKnown) {
    const MediaSourcePtr source = m_manager.sourceWithURL(urlOf("old/a.aif"));
    m_folder.write("new/1/a.aif", CountingFile{}.bytes());
    m_folder.write("new/2/a.aif", CountingFile{.frames = 50}.bytes());
    m_resolver.answers = {{Action::kSearchFolder, pathOf("new")}, {Action::kSearchFolder, pathOf("new/2")}};
    EXPECT_EQ(m_manager.reconnectOfflineSources(m_resolver), 1u);
    EXPECT_EQ(m_resolver.log, (Log{"? a.aif", "in vain a.aif 2", "? a.aif", "a.aif -> a.aif"}));
    EXPECT_EQ(source->URL(), urlOf("new/2/a.aif"));
}

TEST_F(MissingFiles, RaisesWhatAHostCanCatch) {
    const MediaSourcePtr source = m_manager.sourceWithURL(urlOf("a.aif"));
    EXPECT_THROW(MediaManager(), platform::Exception) << "a second one";
    EXPECT_THROW(m_manager.sourceWithURL(URL::fromString("http://host/a.aif")), platform::Exception);
    EXPECT_THROW(m_manager.reconnect(*source, urlOf("b.aif")), platform::Exception);
    EXPECT_THROW(m_manager.setProjectFormat({0, 0, 0}), platform::Exception);
    m_manager.removeSource(*source);
    EXPECT_FALSE(m_manager.haveSourceWithURL(urlOf("a.aif")));
}

TEST_F(MissingFiles, HandsANewFormatToEverySource) {
    const auto present = std::dynamic_pointer_cast<AudioSource>(
        m_manager.sourceWithURL(URL::fromPath(m_folder.write("a.aif", CountingFile{}.bytes()), false)));
    const auto missing = openAndMove("b.aif", {}, "");
    m_manager.setProjectFormat({22050, 16, 2});
    for (const auto& source : {present, missing}) EXPECT_EQ(source->lengthInFrames(), 500u);
    EXPECT_EQ(present->numberOfChannels(), 2u);
    m_manager.setProjectFormat({});
    EXPECT_EQ(present->numberOfChannels(), 1u);
}

TEST(FolderListing, StopsAtItsLimits) {
    const support::TemporaryFolder folder;
    for (const char* const name : {"a", "1/a", "1/2/a", "1/2/3/a", "4/a"}) folder.write(name, "");
    const struct {
        FolderListing::Limits limits;
        std::size_t found;
        bool isComplete;
    } cases[] = {{{}, 5, true},
                 {{.depth = 0}, 1, true},
                 {{.depth = 1}, 3, true},
                 {{.depth = 32, .entries = 3}, 1, false}};
    for (const auto& [limits, found, isComplete] : cases) {
        const FolderListing listing(folder.path(), limits);
        EXPECT_EQ(listing.find("a", 0).size(), found) << limits.depth << " " << limits.entries;
        EXPECT_EQ(listing.isComplete(), isComplete);
        EXPECT_EQ(listing.find("a", {}).front(), folder.path("a")) << "nearest first";
        EXPECT_TRUE(listing.find("a", 1).empty());
    }
}

}  // namespace
}  // namespace marl
