// SPDX-License-Identifier: MIT
#include <MarlCore/MediaManager/CMediaManager.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "support/OpenedFile.h"
#include "support/TemporaryFolder.h"

namespace marl {
namespace {

using halyard::CSTR;
using support::messageThrownBy;
using support::urlOf;

constexpr char kExists[] = "can't add source, one exists with that url";

CURLRef urlFrom(const std::string& text) {
    return CURLRef(new CURL(CSTR(text), true));
}

IMediaSourceRef offlineSource(const CURLRef& url) {
    return IMediaSourceRef(IMediaSource::New(url, true));
}

class MediaRegistry : public testing::Test {
protected:
    const CMediaManagerRef m_manager{new CMediaManager};
    const CURLRef m_a = urlOf("/missing/a.aif"), m_b = urlOf("/missing/b.aif"), m_c = urlOf("/missing/c.aif");
};

TEST(SharedMediaManager, IsTheOnlyOne) {
    EXPECT_EQ(CMediaManager::getSharedCMediaManager(), nullptr);
    {
        const CMediaManagerRef first(new CMediaManager);
        EXPECT_EQ(messageThrownBy([] { new CMediaManager; }),
                  "OI OI OI! CAN'T SET ANOTHER GLOBAL CMEDIAMANAGER");
        EXPECT_EQ(CMediaManager::getSharedCMediaManager(), first.get());
        CMediaManager::setSharedCMediaManager(nullptr);
        const CMediaManagerRef second(new CMediaManager);
        EXPECT_EQ(CMediaManager::getSharedCMediaManager(), second.get());
    }
    EXPECT_EQ(CMediaManager::getSharedCMediaManager(), nullptr);
}

TEST_F(MediaRegistry, MakesOneSourceAFile) {
    EXPECT_FALSE(m_manager->haveSourceWithURL(m_a, m_a));
    const IMediaSourceRef source = m_manager->getSource(m_a, m_b, true);
    EXPECT_EQ(*source->getURL(), *m_a);
    EXPECT_EQ(m_manager->getSource(m_a, nullptr, true), source);
    EXPECT_EQ(m_manager->getSource(m_b, m_c, true), source) << "by its second URL";
    EXPECT_FALSE(m_manager->haveSourceWithURL(m_c, m_a)) << "the second URL of a request takes no part";
    EXPECT_EQ(m_manager->numberOfMappedSources(), 1u);
    EXPECT_EQ(m_manager->getMapSourceAtIndex(0), source);
    EXPECT_NE(messageThrownBy([&] { m_manager->getMapSourceAtIndex(1); }), "");
    EXPECT_EQ(messageThrownBy([&] { m_manager->haveSourceWithURL(nullptr, m_a); }), "Error: url is null!");
    EXPECT_NE(messageThrownBy([&] { m_manager->getSource(urlFrom("http://host/a.aif"), m_a, false); }), "");
    EXPECT_EQ(m_manager->numberOfMappedSources(), 1u) << "what cannot be opened is not entered";
}

TEST_F(MediaRegistry, AddsAndRemoves) {
    const IMediaSourceRef a = offlineSource(m_a), other = offlineSource(m_a), b = offlineSource(m_b);
    m_manager->addSource(a);
    for (const IMediaSourceRef& again : {a, other})
        EXPECT_EQ(messageThrownBy([&] { m_manager->addSource(again); }), kExists);
    m_manager->removeSource(b, false);  // absent
    EXPECT_EQ(a->CountReferences(), 2);
    m_manager->removeSource(other, true);  // the one with its URL
    EXPECT_EQ(m_manager->numberOfMappedSources(), 0u);
    EXPECT_EQ(a->CountReferences(), 1);
    EXPECT_EQ(messageThrownBy([&] { m_manager->removeSource(nullptr, false); }), "AudioSource is NULL");
    EXPECT_EQ(messageThrownBy([&] { m_manager->addSource(nullptr); }), "AudioSource is NULL");
}

TEST_F(MediaRegistry, RenamesAndStillKnowsTheNameBefore) {
    const IMediaSourceRef a = offlineSource(m_a), b = offlineSource(m_b);
    m_manager->addSource(a);
    m_manager->addSource(b);
    EXPECT_EQ(messageThrownBy([&] { m_manager->renameSource(a, m_b); }), kExists);
    EXPECT_EQ(messageThrownBy([&] { m_manager->renameSource(nullptr, m_c); }), "AudioSource is NULL");
    EXPECT_EQ(messageThrownBy([&] { m_manager->renameSource(a, nullptr); }), "Error: url is null!");
    for (int time = 0; time < 2; ++time) {  // the second time it has that name
        m_manager->renameSource(a, m_c);
        EXPECT_EQ(m_manager->numberOfMappedSources(), 2u);
        for (const CURLRef& url : {m_c, m_a}) EXPECT_EQ(m_manager->getSource(url, url, true), a);
    }
    const IMediaSourceRef unknown = offlineSource(urlOf("/missing/d.aif"));
    m_manager->renameSource(unknown, urlOf("/missing/e.aif"));
    EXPECT_EQ(m_manager->getSource(urlOf("/missing/e.aif"), nullptr, true), unknown);
    m_manager->removeSource(a, false);
    EXPECT_FALSE(m_manager->haveSourceWithURL(m_c, m_c));
}

TEST_F(MediaRegistry, TakesASecondURLBeforeTheOneOfASource) {
    const IMediaSourceRef renamed = offlineSource(m_b);
    m_manager->renameSource(renamed, m_a);
    EXPECT_EQ(m_manager->getSource(m_b, nullptr, true), renamed) << "which is its own";
    const IMediaSourceRef other = m_manager->getSource(m_c, m_b, true);
    EXPECT_EQ(m_manager->getSource(m_b, nullptr, true), other);
}

TEST_F(MediaRegistry, KnowsAFileByEverySpellingOfItsURL) {
    const support::TemporaryFolder folder;
    folder.write("real/loops/Kick 1.aif", "");
    folder.write("real/Kick 1.aif", "");
    std::filesystem::create_directory_symlink(folder.path("real/loops"), folder.path("link"));
    const std::string root = "file://" + folder.path();
    const struct {
        std::string text;
        bool isTheFile;
    } cases[] = {
        {root + "/real/loops/Kick%201.aif", true},
        {root + "/real/loops/%4bick 1.aif", true},
        {"file://localhost" + folder.path() + "/real/loops/Kick%201.aif", true},
        {root + "/real//./loops/../loops/Kick%201.aif", true},
        {root + "/real/gone/../loops/Kick%201.aif", true},
        {root + "/real/loops/Kick%201.aif/", true},
        {root + "/real/loops/Kick%201.aif/.", true},
        {root + "/link/Kick%201.aif?version=2", true},
        {root + "/link/../loops/Kick%201.aif", true},
        {root + "/link/../Kick%201.aif", false},  // behind the link, not beside it
        {root + "/real/Kick%201.aif", false},
        {root + "/real/loops/kick%201.aif", false},
        {root + "/loops/Kick%201.aif", false},
        {root + "/real/loops/Kick%25201.aif", false},
    };
    for (const auto& first : cases) {
        if (!first.isTheFile) continue;
        const IMediaSourceRef source = m_manager->getSource(urlFrom(first.text), nullptr, true);
        for (const auto& [text, isTheFile] : cases)
            EXPECT_EQ(m_manager->haveSourceWithURL(urlFrom(text), nullptr), isTheFile)
                << text << " beside " << first.text;
        m_manager->removeSource(source, false);
        EXPECT_EQ(m_manager->numberOfMappedSources(), 0u) << first.text;
    }
}

TEST_F(MediaRegistry, KeepsASourceWhoseLinkHasGone) {
    const support::TemporaryFolder folder;
    folder.write("real/a.aif", "");
    std::filesystem::create_directory_symlink(folder.path("real"), folder.path("link"));
    const CURLRef url = urlOf(folder.path("link/a.aif"));
    const IMediaSourceRef source = m_manager->getSource(url, nullptr, true);
    std::filesystem::remove(folder.path("link"));
    EXPECT_EQ(m_manager->getSource(url, nullptr, true), source);
    m_manager->removeSource(source, false);
    EXPECT_EQ(m_manager->numberOfMappedSources(), 0u);
}

}  // namespace
}  // namespace marl
