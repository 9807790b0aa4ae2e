// SPDX-License-Identifier: MIT
// A source that comes and goes while it is played.
#include <MarlCore/Files/streaming/CIORequestThread.h>
#include <MarlCore/MediaManager/CFileAudioSource.h>
#include <MarlCore/MediaManager/ProjectFormat.h>

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <thread>

#include "MediaManager/MediaFiles.h"
#include "support/OpenedFile.h"

namespace marl {
namespace {

TEST(SourceThreads, PlayWhileTheSourceGoesOfflineAndComesBack) {
    constexpr int kRounds = 60;
    const support::TemporaryFolder folder;
    const std::string bytes(support::CountingFile{.frames = 20000, .isOneShot = true}.bytes().view());
    const std::string paths[] = {folder.write("a.aif", bytes), folder.write("b.aif", bytes)};
    const CFileAudioSourceRef source(new CFileAudioSource(support::urlOf(paths[0]), false));
    CIORequestThread requests(16);
    requests.runWithPriority(0, -1);
    requests.startProcessing();
    std::atomic<bool> done{false};
    std::atomic<int> wrong{0}, played{0};
    std::thread player([&] {
        while (!done) {
            if (requests.canAcceptBuffer()) requests.postRequest(source, 0, 19999);
            const std::vector<int> samples = support::samplesOf(*source->getFileData());
            const bool isWhole = samples.empty() || samples.size() == 20000 || samples.size() == 10000;
            if (!isWhole || (samples.size() == 20000 && samples[12345] != 12345)) ++wrong;
            ++played;
        }
    });
    for (int round = 0; round < kRounds || played < kRounds; ++round) {
        const std::string& path = paths[static_cast<std::size_t>(round) % 2];
        std::filesystem::remove(path);  // while it is played
        source->goOffline();
        folder.write(path.substr(path.rfind('/') + 1), bytes);
        source->reconnect(support::urlOf(path));
        ProjectFormat::setCurrent({round % 3 == 0 ? 22050.0 : 44100.0, 32, 0});
        source->projectFormatDidChange();
    }
    done = true;
    player.join();
    EXPECT_EQ(wrong, 0);
    EXPECT_FALSE(requests.getFailure());
    ProjectFormat::setCurrent({});
}

}  // namespace
}  // namespace marl
