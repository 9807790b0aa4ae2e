// SPDX-License-Identifier: MIT
#include <MarlCore/platform/NotificationCenter.h>

#include <gtest/gtest.h>

#include <stdexcept>

namespace platform {
namespace {

class Notifications : public testing::Test {
protected:
    /// Has an observer write its letter down, and do something more.
    void observe(
        char letter, std::string_view name, const void* object = nullptr,
        std::function<void()> also = [] {}) {
        const auto handler = [this, letter, name, also](const Notification& notification) {
            EXPECT_EQ(notification.name, name);
            m_object = notification.object;
            m_calls += letter;
            also();
        };
        m_center.addObserver(observer(letter), handler, name, object);
    }

    const void* observer(char letter) const { return &m_observers[static_cast<unsigned char>(letter)]; }

    std::string callsAfter(std::string_view name, const void* object = nullptr) {
        m_calls.clear();
        m_center.postNotification(name, object);
        return m_calls;
    }

    NotificationCenter m_center;
    std::string m_calls;
    const void* m_object = nullptr;  // of the last call
    const int m_source = 0, m_otherSource = 0;

private:
    const char m_observers[256] = {};
};

TEST_F(Notifications, ReachThoseWhoAskedInTheirOrder) {
    observe('b', "Stop");
    observe('a', "Stop", &m_source);
    observe('c', "Start", &m_source);
    observe('b', "Stop");
    EXPECT_EQ(callsAfter("Stop", &m_source), "bab");
    EXPECT_EQ(callsAfter("Stop", &m_otherSource), "bb");
    EXPECT_EQ(m_object, &m_otherSource);
    EXPECT_EQ(callsAfter("Stop"), "bb");
    EXPECT_EQ(callsAfter("Start", &m_source), "c");
    EXPECT_EQ(callsAfter("Stop it"), "");
}

TEST_F(Notifications, EndWithTheirObserver) {
    const auto fill = [this] {
        observe('a', "Stop");
        observe('a', "Stop", &m_source);
        observe('a', "Start");
        observe('b', "Stop");
    };
    fill();
    m_center.removeObserver(observer('a'), "Stop", &m_source);
    EXPECT_EQ(callsAfter("Stop", &m_source), "ab");
    m_center.removeObserver(observer('a'), "Stop", nullptr);
    EXPECT_EQ(callsAfter("Stop", &m_source), "b");
    EXPECT_EQ(callsAfter("Start"), "a");
    fill();
    m_center.removeObserver(observer('a'));
    m_center.removeObserver(observer('a'));
    EXPECT_EQ(callsAfter("Stop", &m_source), "bb");
    EXPECT_EQ(callsAfter("Start"), "");
}

TEST_F(Notifications, MayChangeTheObserversWhileTheyAreDelivered) {
    observe('a', "Stop", nullptr, [this] {
        m_center.removeObserver(observer('a'));  // the one that runs
        m_center.removeObserver(observer('c'));  // one that is still to come
        observe('d', "Stop");
    });
    observe('b', "Stop");
    observe('c', "Stop");
    EXPECT_EQ(callsAfter("Stop"), "ab");
    EXPECT_EQ(callsAfter("Stop"), "bd");
}

TEST_F(Notifications, MayBePostedByTheirObservers) {
    observe('a', "Stop", nullptr, [this] { m_center.postNotification("Stopped", nullptr); });
    observe('b', "Stop");
    observe('c', "Stopped", nullptr, [this] { m_center.removeObserver(observer('b')); });
    EXPECT_EQ(callsAfter("Stop"), "ac");
}

TEST_F(Notifications, ReachAllWhenOneObserverThrows) {
    observe('a', "Stop", nullptr, [] { throw std::runtime_error("first"); });
    observe('b', "Stop");
    observe('c', "Stop", nullptr, [] { throw std::runtime_error("second"); });
    try {
        m_center.postNotification("Stop", nullptr);
        ADD_FAILURE() << "nothing thrown";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "first");
    }
    EXPECT_EQ(m_calls, "abc");
}

TEST_F(Notifications, ReleaseWhatARemovedHandlerOwns) {
    const auto owned = std::make_shared<int>(1);
    observe('a', "Stop", nullptr, [this, owned] {
        m_center.removeObserver(observer('a'));
        EXPECT_EQ(*owned, 1);
    });
    EXPECT_GT(owned.use_count(), 1);
    EXPECT_EQ(callsAfter("Stop"), "a");
    EXPECT_EQ(owned.use_count(), 1);
}

}  // namespace
}  // namespace platform
