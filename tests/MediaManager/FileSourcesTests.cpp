// SPDX-License-Identifier: MIT
// Sources of files that are there, missing, or going away.
#include <MarlCore/Common/MarlPreferenceKeys.h>
#include <MarlCore/Files/streaming/CDiskFileData.h>
#include <MarlCore/Files/streaming/CSharedOffline.h>
#include <MarlCore/MediaManager/AudioSource.h>
#include <MarlCore/MediaManager/ProjectFormat.h>
#include <MarlCore/MediaManager/VideoSource.h>
#include <MarlCore/platform/Exception.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <limits>

#include "MediaManager/MediaFiles.h"
#include "MediaManager/SampledSource.h"
#include "support/MovieFiles.h"
#include "support/OpenedFile.h"

namespace marl {
namespace {

using platform::NotificationCenter;
using support::CountingFile;
using support::messageThrownBy;
using support::samplesOf;
using support::urlOf;

class FileSources : public support::PeaksTest {
protected:
    ~FileSources() override { ProjectFormat::setCurrent({}); }

    CFileAudioSourceRef open(const std::string& path) {
        return CFileAudioSourceRef(new CFileAudioSource(urlOf(path), false));
    }

    const support::TemporaryFolder m_folder;
};

std::vector<int> counted(int frames, int channels, int first) {
    std::vector<int> values;
    for (int i = 0; i < frames * channels; ++i) values.push_back(first + i / channels);
    return values;
}

TEST_F(FileSources, DeliverEachFileInTheFormatOfTheProject) {
    const struct {
        CountingFile file;
        ProjectFormat project;
        unsigned channels;
        std::uint32_t bits, length;
    } cases[] = {
        {{.channels = 1}, {}, 1, 32, 1000},
        {{.channels = 2}, {44100, 16, 0}, 2, 16, 1000},
        {{.channels = 1}, {44100, 16, 2}, 2, 16, 1000},
        {{.channels = 3}, {44100, 32, 2}, 3, 32, 1000},
        {{.channels = 2, .isOneShot = true}, {44100, 32, 2}, 2, 32, 1000},
        {{.frames = 20000, .channels = 1, .isOneShot = true}, {44100, 16, 2}, 2, 16, 20000},
        {{.channels = 1}, {44100, 24, 0}, 1, 32, 1000},  // nothing makes 24 bits of 16
        {{.channels = 2}, {88200, 16, 0}, 2, 16, 2000},
        {{.channels = 1, .isOneShot = true, .sampleRate = 88200}, {44100, 32, 0}, 1, 32, 500},
    };
    for (const auto& [file, project, channels, bits, length] : cases) {
        SCOPED_TRACE(testing::PrintToString(&file - &cases[0].file));
        const std::string path = m_folder.write("a.aif", file.bytes());
        // Once opened in that format, and once brought into it.
        ProjectFormat::setCurrent(project);
        const CFileAudioSourceRef source = open(path);
        ProjectFormat::setCurrent({22050, 16, 0});
        const CFileAudioSourceRef changed = open(path);
        ProjectFormat::setCurrent(project);
        changed->projectFormatDidChange();
        for (const CFileAudioSourceRef& each : {source, changed}) {
            EXPECT_FALSE(each->isOffline());
            EXPECT_EQ(each->isStreamed(), file.isOneShot);
            EXPECT_EQ(each->isStreamed(), each->getFileData().dynamicCast<CDiskFileData>() != nullptr);
            EXPECT_EQ(each->getNumberOfChannels(), channels);
            EXPECT_EQ(each->getLengthInFrames(), length);
            AudioStreamBasicDescription format;
            ASSERT_TRUE(each->getFileData()->getSampleConversion(nullptr, nullptr, nullptr, &format));
            EXPECT_EQ(format.mBitsPerChannel, bits);
            EXPECT_EQ(format.mSampleRate, project.sampleRate);
            const std::vector<int> samples = samplesOf(*each->getFileData());
            EXPECT_EQ(samples.size(), length * channels);
            if (project.sampleRate != file.sampleRate) continue;
            EXPECT_EQ(samples, counted(file.frames, static_cast<int>(channels), file.first));
        }
    }
}

TEST_F(FileSources, RefuseFormatsThatNoProjectHas) {
    for (const ProjectFormat& format : {ProjectFormat{0, 32, 0}, ProjectFormat{2e6, 32, 0},
                                        ProjectFormat{std::numeric_limits<double>::quiet_NaN(), 32, 0},
                                        ProjectFormat{44100, 8, 0}, ProjectFormat{44100, 16, 3}}) {
        EXPECT_NE(messageThrownBy([&] { ProjectFormat::setCurrent(format); }), "");
        EXPECT_EQ(ProjectFormat::current(), ProjectFormat());
    }
}

TEST_F(FileSources, TellMissingFilesFromThoseThatAreNone) {
    const std::string text = m_folder.write("text.txt", "x"), broken = m_folder.write("broken.wav", "x"),
                      noMovie = m_folder.write("a.aif", "x");
    std::filesystem::create_symlink("loop.aif", m_folder.path("loop.aif"));
    for (const std::string& path : {m_folder.path("missing.aif"), m_folder.path("no/such/folder.mov"),
                                    text + "/under a file.wav", m_folder.path("loop.aif")}) {
        const IMediaSourceRef source(IMediaSource::New(urlOf(path), false));
        EXPECT_TRUE(source->isOffline()) << path;
        EXPECT_NE(source->getOfflineReason(), "");
        EXPECT_EQ(source->getFileSize(), std::nullopt);
        EXPECT_EQ(source->getDisplayName()->getStringRef(), path.substr(path.rfind('/') + 1));
        EXPECT_EQ(source->getKind() == MediaKind::kVideo, path.ends_with(".mov"));
    }
    for (const std::string& path : {text, broken})
        EXPECT_NE(messageThrownBy([&] { open(path); }), "") << path;
    EXPECT_EQ(messageThrownBy([&] { CFileVideoSource(urlOf(noMovie), false); }),
              "'" + noMovie + "' is no movie");
    EXPECT_EQ(messageThrownBy([] { IMediaSource::New({}, true); }), "Error: fileURL is null!");
    EXPECT_TRUE(IMediaSourceRef(IMediaSource::New(urlOf(broken), true))->isOffline()) << "not looked at";
}

TEST_F(FileSources, AreSilentWhileOfflineAndKeepTheirLength) {
    const CountingFile file{.frames = 2000, .channels = 2, .isOneShot = true};
    const std::string path = m_folder.write("a.aif", file.bytes());
    const CFileAudioSourceRef source = open(path);
    const IFileDataRef playing = source->getFileData();
    std::filesystem::remove(path);
    EXPECT_FALSE(source->checkFile());
    EXPECT_NE(source->getOfflineReason().find(path), std::string::npos);
    EXPECT_EQ(source->getFile(), CSharedOffline::getOfflineIFile());
    EXPECT_EQ(source->getFileData(), CSharedOffline::getOfflineIFile()->getFileDataRef());
    EXPECT_EQ(source->getLengthInFrames(), 2000u);
    EXPECT_EQ(source->getNumberOfChannels(), 2u);
    EXPECT_EQ(source->getFileSize(), file.bytes().size());
    EXPECT_EQ(samplesOf(*playing), counted(2000, 2, 0)) << "who plays it plays on";
    ProjectFormat::setCurrent({22050, 32, 0});
    source->projectFormatDidChange();
    EXPECT_EQ(source->getLengthInFrames(), 1000u);

    const CFileAudioSourceRef never(new CFileAudioSource(urlOf(path), true));
    never->projectFormatDidChange();
    EXPECT_EQ(never->getLengthInFrames() + never->getNumberOfChannels(), 0u);
}

TEST_F(FileSources, KeepTheirLengthInAFormatThatHasNoSuchLength) {
    ProjectFormat::setCurrent({4, 32, 0});
    const CFileAudioSourceRef source =
        open(m_folder.write("a.aif", CountingFile{.frames = 10000, .sampleRate = 4}.bytes()));
    for (const bool isOffline : {false, true}) {  // once it goes offline by that
        ProjectFormat::setCurrent({1e6, 32, 0});
        source->projectFormatDidChange();
        EXPECT_TRUE(source->isOffline()) << isOffline;
        EXPECT_EQ(source->getLengthInFrames(), 10000u);
    }
}

TEST_F(FileSources, ReconnectWholeOrNotAtAll) {
    const std::string path = m_folder.write("a.aif", CountingFile{}.bytes());
    const CURLRef longer = urlOf(m_folder.write("b.aif", CountingFile{.frames = 1500, .first = 7}.bytes()));
    const CFileAudioSourceRef source = open(path);
    for (const bool isOffline : {false, true}) {
        if (isOffline) source->goOffline();
        const IFileDataRef before = source->getFileData();
        for (const CURLRef& bad : {CURLRef(), urlOf(m_folder.path("missing.aif")), urlOf(m_folder.path()),
                                   urlOf(m_folder.write("broken.aif", "x"))})
            EXPECT_NE(messageThrownBy([&] { source->reconnect(bad); }), "");
        EXPECT_EQ(source->isOffline(), isOffline);
        EXPECT_EQ(source->getFileData(), before);
        EXPECT_EQ(*source->getURL(), *urlOf(path));
    }
    source->reconnect(longer);
    EXPECT_FALSE(source->isOffline());
    EXPECT_EQ(*source->getURL(), *longer);
    EXPECT_EQ(source->getLengthInFrames(), 1500u);
    EXPECT_EQ(samplesOf(*source->getFileData()), counted(1500, 1, 7));
}

TEST_F(FileSources, GoOfflineWhenANewFormatFindsTheFileGone) {
    const std::string path = m_folder.write("a.aif", CountingFile{}.bytes());
    const CFileAudioSourceRef source = open(path);
    std::filesystem::remove(path);
    ProjectFormat::setCurrent({48000, 32, 0});
    source->projectFormatDidChange();
    EXPECT_TRUE(source->isOffline());
    EXPECT_EQ(source->getLengthInFrames(), 1088u) << "at the new rate, as when it was offline before";
}

TEST_F(FileSources, HaveOneWrapperAsLongAsItIsHeld) {
    const std::string path = m_folder.write("a.aif", CountingFile{}.bytes());
    const IMediaSourceRef audio = open(path);
    MediaSourcePtr wrapper = MediaSource::wrapperOf(audio);
    EXPECT_EQ(MediaSource::wrapperOf(audio), wrapper);
    EXPECT_TRUE(std::dynamic_pointer_cast<AudioSource>(wrapper));
    EXPECT_EQ(wrapper->URL(), platform::URL::fromPath(path, false));
    EXPECT_EQ(wrapper->displayName(), "a.aif");
    wrapper.reset();
    EXPECT_EQ(audio->getObjectiveCWrapper(), nullptr);
    EXPECT_THROW(MediaSource::wrapperOf(nullptr), platform::Exception);
    EXPECT_THROW(AudioSource{CFileAudioSourceRef()}, platform::Exception);
}

/// The loudest value of all columns.
float loudest(AudioSource& source) {
    float maximum = 0;
    const auto peaks = source.peaksManager().getPeaksFromFrame(0, source.lengthInFrames() - 1, 20, false);
    for (const Peak& peak : peaks->peaks()) maximum = std::max(maximum, peak.maximum);
    return maximum;
}

/// Has the table made, by as many ticks as that takes.
void buildOnTimer(AudioSource& source) {
    source.buildPeaksOnTimer();
    for (int ticks = 0; ticks < 100 && !source.peaksManager().isPeaksTableBuilt(); ++ticks)
        source.peaksManager().peakBuildingTimer();
}

TEST_F(FileSources, DrawTheFileThatTheyHave) {
    // Of one length, so that only the exchange itself can tell.
    const std::string quiet = m_folder.write("a.aif", CountingFile{.frames = 800}.bytes());
    const CURLRef loud = urlOf(m_folder.write("b.aif", CountingFile{.frames = 800, .first = 20000}.bytes()));
    for (const bool onTimer : {false, true}) {
        AudioSource source(open(quiet));
        if (onTimer) buildOnTimer(source);
        EXPECT_FLOAT_EQ(loudest(source), 799 / 32768.f);
        const platform::Image before = source.waveformImageForSize({20, 20});
        source.goOffline();
        EXPECT_TRUE(source.offline());
        EXPECT_FLOAT_EQ(loudest(source), 799 / 32768.f) << "the waveform stays";
        source.mediaSourceRef()->reconnect(loud);
        EXPECT_FALSE(source.peaksManager().isPeaksTableBuilt());
        if (onTimer) buildOnTimer(source);
        EXPECT_FLOAT_EQ(loudest(source), 20799 / 32768.f);
        const platform::Image after = source.waveformImageForSize({20, 20});
        EXPECT_FALSE(
            std::ranges::equal(after.representations()[0]->bytes(), before.representations()[0]->bytes()));
    }
}

TEST_F(FileSources, HaveNoPeaksOfAFileOfOtherChannels) {
    const std::string mono = m_folder.write("a.aif", CountingFile{.frames = 800}.bytes());
    const CURLRef stereo =
        urlOf(m_folder.write("b.aif", CountingFile{.frames = 8000, .channels = 2}.bytes()));
    for (const bool onTimer : {false, true}) {
        AudioSource source(open(mono));
        if (onTimer) buildOnTimer(source);
        loudest(source);
        source.mediaSourceRef()->reconnect(stereo);
        if (onTimer) buildOnTimer(source);
        EXPECT_TRUE(source.peaksManager().getStereoPeaksFromFrame(0, 7999, 20, false));
        EXPECT_FALSE(source.peaksManager().getPeaksFromFrame(0, 7999, 20, false));
    }
}

TEST_F(FileSources, MayBeDroppedByThoseWhoHearOfAChange) {
    const CURLRef url = urlOf(m_folder.write("a.mov", "x"));
    MediaSourcePtr source;
    const std::function<void()> changes[] = {[&] { source->goOffline(); },
                                             [&] { source->mediaSourceRef()->reconnect(url); }};
    auto& center = NotificationCenter::defaultCenter();
    center.addObserver(
        this, [&](const platform::Notification&) { source.reset(); },
        MarlCoreVideoSourceWillGoOfflineNotification, nullptr);
    for (const auto& change : changes) {
        source = MediaSource::wrapperOf(IMediaSourceRef(new CFileVideoSource(url, false)));
        change();
        EXPECT_FALSE(source);
    }
    center.removeObserver(this);
}

TEST_F(FileSources, HearMoviesThatHaveNothingToSee) {
    using namespace support;
    const Bytes samples = atom("mdat", Bytes().big16(1).big16(2).big16(3));
    const MovieTrackContents sound = plainTrack(8, 3);
    MovieTrackContents picture = sound;
    picture.handler = "vide";
    const auto write = [&](const char* name, const Bytes& tracks) {
        return m_folder.write(name, Bytes(samples.view()).append(movieHeader(tracks)));
    };
    ProjectFormat::setCurrent({1000, 16, 0});
    const IMediaSourceRef heard(IMediaSource::New(urlOf(write("a.mov", movieTrack(sound))), false));
    auto* const audio = heard.dynamicCast<CFileAudioSource>();
    ASSERT_TRUE(audio);
    EXPECT_TRUE(audio->isStreamed());
    EXPECT_EQ(samplesOf(*audio->getFileData()), (std::vector{1, 2, 3}));
    const std::string both = write("b.mov", movieTrack(sound).append(movieTrack(picture)));
    for (const auto& [path, isOffline] : {std::pair(both, false),
                                          {write("c.mov", movieTrack(picture)), false},
                                          {m_folder.path("a.mov"), true}})
        EXPECT_EQ(IMediaSourceRef(IMediaSource::New(urlOf(path), isOffline))->getKind(), MediaKind::kVideo);
}

TEST_F(FileSources, TellThoseWhoShowAMovie) {
    const std::string path = m_folder.write("a.mov", "x");
    VideoSource source(CFileVideoSourceRef(new CFileVideoSource(urlOf(path), false)));
    std::vector<std::string> news;
    auto& center = NotificationCenter::defaultCenter();
    for (const std::string_view name :
         {MarlCoreVideoSourceWillGoOfflineNotification, MarlCoreVideoSourceDidGoOnlineNotification})
        center.addObserver(
            this,
            [&](const platform::Notification& notification) {
                news.push_back(std::string(notification.name) + (source.isOffline() ? " (offline)" : ""));
            },
            name, static_cast<const MediaSource*>(&source));
    source.goOffline();
    source.goOffline();
    source.mediaSourceRef()->reconnect(urlOf(path));
    std::filesystem::remove(path);
    EXPECT_FALSE(source.checkFile());
    center.removeObserver(this);
    const std::string goes(MarlCoreVideoSourceWillGoOfflineNotification),
        comes(MarlCoreVideoSourceDidGoOnlineNotification);
    EXPECT_EQ(news, (std::vector{goes, comes, goes}));
}

}  // namespace
}  // namespace marl
