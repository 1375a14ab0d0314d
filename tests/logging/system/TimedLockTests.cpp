#include "logging/system/TimedLock.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "tests/logging/SystemCallPatches.h"

namespace
{
using KVLogging::CTimedLock;

constexpr DWORD kPatienceMs = 20000;

bool TryOnAnotherThread(CTimedLock& lock, DWORD waitMs)
{
    bool isEntered = false;
    std::thread([&] {
        isEntered = lock.TryEnter(waitMs);
        if (isEntered)
        {
            lock.Leave();
        }
    }).join();
    return isEntered;
}

// Needs a PatientConditionPatch.
void LetAnotherThreadWait()
{
    for (const DWORD start = ::GetTickCount();
         KVTest::PatientConditionPatch::GetLastTimeout() == 0 && ::GetTickCount() - start < kPatienceMs;)
    {
        ::Sleep(1);
    }
    ::Sleep(20); // into the wait itself
}

TEST(TimedLockTests, Held_OthersFailAfterTheirWait)
{
    CTimedLock lock;
    ASSERT_TRUE(lock.TryEnter(0));
    const DWORD start = ::GetTickCount();
    EXPECT_FALSE(TryOnAnotherThread(lock, 0));
    EXPECT_FALSE(TryOnAnotherThread(lock, 50));
    EXPECT_GE(::GetTickCount() - start, 35u); // 50 ms, less the granularity of the count
    lock.Leave();
    EXPECT_TRUE(TryOnAnotherThread(lock, 0));
}

TEST(TimedLockTests, Left_WhileNobodyWaits_IsFreeAgain)
{
    CTimedLock lock;
    for (int i = 0; i < 3; ++i)
    {
        EXPECT_TRUE(lock.TryEnter(0));
        lock.Leave();
    }
    EXPECT_TRUE(TryOnAnotherThread(lock, 0));
}

TEST(TimedLockTests, Waiter_IsHandedTheLockBeforeTheHolderCanTakeItAgain)
{
    CTimedLock lock;
    const KVTest::PatientConditionPatch patience;
    ASSERT_TRUE(lock.TryEnter(0));
    bool isEntered = false;
    std::thread waiter([&] { isEntered = lock.TryEnter(kPatienceMs); });
    LetAnotherThreadWait();
    lock.Leave();
    EXPECT_FALSE(lock.TryEnter(0));
    waiter.join();
    EXPECT_TRUE(isEntered);
}

TEST(TimedLockTests, LaterWaiter_ComesAfterTheOneThatIsHandedTheLock)
{
    CTimedLock lock;
    const KVTest::PatientConditionPatch patience;
    ASSERT_TRUE(lock.TryEnter(0));
    std::atomic<bool> wasInside = false;
    std::thread waiter([&] {
        if (lock.TryEnter(kPatienceMs))
        {
            wasInside = true;
            lock.Leave();
        }
    });
    LetAnotherThreadWait();
    lock.Leave();
    EXPECT_TRUE(lock.TryEnter(kPatienceMs));
    EXPECT_TRUE(wasInside);
    lock.Leave();
    waiter.join();
}

TEST(TimedLockTests, ManyThreads_OnlyOneIsInsideAndNoneIsForgotten)
{
    constexpr int kThreads = 4;
    constexpr int kTurns = 2000;
    CTimedLock lock;
    int inside = 0;
    int turns = 0;
    std::atomic<int> collisions = 0;
    std::vector<std::thread> threads;
    threads.reserve(kThreads);
    for (int i = 0; i < kThreads; ++i)
    {
        threads.emplace_back([&] {
            for (int turn = 0; turn < kTurns; ++turn)
            {
                ASSERT_TRUE(lock.TryEnter(kPatienceMs));
                collisions += ++inside == 1 ? 0 : 1;
                ++turns;
                --inside;
                lock.Leave();
            }
        });
    }
    for (std::thread& thread : threads)
    {
        thread.join();
    }
    EXPECT_EQ(collisions, 0);
    EXPECT_EQ(turns, kThreads * kTurns);
}

// Waits that end at the moment of the handover must not lose it.
TEST(TimedLockTests, ShortWaits_TheLockIsNeverLost)
{
    CTimedLock lock;
    std::atomic<bool> isEnough = false;
    std::thread other([&] {
        while (!isEnough)
        {
            if (lock.TryEnter(1))
            {
                lock.Leave();
            }
        }
    });
    for (int i = 0; i < 30; ++i)
    {
        if (lock.TryEnter(1))
        {
            ::Sleep(1);
            lock.Leave();
        }
    }
    isEnough = true;
    other.join();
    EXPECT_TRUE(lock.TryEnter(0));
}
} // namespace
