// SPDX-License-Identifier: MIT
#include <MarlCore/foundation/CMutex.h>

#include <gtest/gtest.h>

#include <numeric>
#include <stdexcept>
#include <thread>
#include <vector>

namespace halyard {
namespace {

TEST(Mutex, LetsOneThreadInAtATime) {
    constexpr int kThreads = 4, kRounds = 5000;
    const CMutexRef mutex(new CMutex);
    int plain = 0;
    {
        std::vector<std::jthread> threads;
        for (int i = 0; i < kThreads; ++i) {
            threads.emplace_back([mutex, &plain] {
                for (int round = 0; round < kRounds; ++round) {
                    const CAutoMutex lock(*mutex);
                    ++plain;
                }
            });
        }
    }
    EXPECT_EQ(plain, kThreads * kRounds);
}

TEST(Mutex, IsFreeAfterAScopeThatThrew) {
    CMutex mutex;
    try {
        const CAutoMutex lock(mutex);
        throw std::runtime_error("out of the scope");
    } catch (const std::runtime_error&) {
    }
    mutex.lock();  // a held lock would keep this test from ending
    mutex.unlock();
}

TEST(ConditionalMutex, HandsWorkBackAndForth) {
    enum { kProducers = 0, kConsumers = 1 };
    constexpr long kItems = 2000;
    CConditionalMutex turn(kProducers);
    long item = 0, sum = 0;  // belong to the holder of the lock
    {
        const std::jthread consumer([&] {
            for (long i = 1; i <= kItems; ++i) {
                turn.lockWhenValueSet(kConsumers);
                EXPECT_EQ(item, i) << "lost or seen twice";
                sum += item;
                turn.unlockAndSetValue(kProducers);
            }
        });
        for (long i = 1; i <= kItems; ++i) {
            turn.lockWhenValueSet(kProducers);
            item = i;
            turn.unlockAndSetValue(kConsumers);
        }
    }
    EXPECT_EQ(sum, kItems * (kItems + 1) / 2);
}

TEST(ConditionalMutex, WakesTheWaiterOfTheValueAmongMany) {
    constexpr int kWaiters = 5, kTurns = 100 * kWaiters;
    CConditionalMutex turn(-1);
    std::vector<int> order;  // belongs to the holder of the lock
    {
        std::vector<std::jthread> waiters;
        for (int first = kWaiters - 1; first >= 0; --first) {
            waiters.emplace_back([&turn, &order, first] {
                for (int value = first; value < kTurns; value += kWaiters) {
                    turn.lockWhenValueSet(value);
                    order.push_back(value);
                    turn.unlockAndSetValue(value + 1);
                }
            });
        }
        turn.lock();  // whatever the value
        turn.unlockAndSetValue(0);
    }
    std::vector<int> rising(kTurns);
    std::iota(rising.begin(), rising.end(), 0);
    EXPECT_EQ(order, rising);
    turn.lockWhenValueSet(kTurns);  // at once: the value stays set
    turn.unlockAndSetValue(0);
}

}  // namespace
}  // namespace halyard
