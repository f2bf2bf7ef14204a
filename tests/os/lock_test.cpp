// Critical sections, the bit lock, spin-lock semaphores and lazily made semaphores, with real
// threads. A spin lock sleeps a whole second after a failed try, so its tests stay small.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>
#include "child_process.h"
#include "kolib/critical_section.h"
#include "kolib/frame.h"
#include "kolib/semaphore.h"
#include "kolib/testing.h"
#include "kolib/thread.h"

namespace {
// `threads` threads that each run `body` `rounds` times.
template <typename Body> void hammer(int threads, int rounds, Body body) {
    std::vector<std::thread> pool;
    for (int t = 0; t < threads; ++t)
        pool.emplace_back([&] {
            for (int i = 0; i < rounds; ++i) body();
        });
    for (std::thread& thread : pool) thread.join();
}
} // namespace

TEST(CriticalSection, ExcludesAcrossThreadsAndCanBeDisabled) {
    KoCriticalSection section;
    long counter = 0;
    hammer(8, 20000, [&] {
        section.enter();
        ++counter;
        section.leave();
    });
    EXPECT_EQ(counter, 8 * 20000);
    // Disabling releases the held mutex; from then on entering twice does not block.
    section.enter();
    section.disable();
    section.enter();
    section.enter();
    EXPECT_EQ(pthread_mutex_trylock(&section.mp), 0);
    pthread_mutex_unlock(&section.mp);
}

TEST(Thread, BitLockAndIdentity) {
    uint32_t word = 0x6;
    EXPECT_EQ(bosMemLock(&word), 1);
    EXPECT_EQ(bosMemLock(&word), 0);
    EXPECT_EQ(word, 0x7u);
    bosMemUnLock(&word);
    EXPECT_EQ(word, 0x6u);
    EXPECT_EQ(bosCreateThread(nullptr, nullptr, 0), 1u);
    unsigned long other = 0;
    std::thread([&] { other = bosGetThreadID(); }).join();
    EXPECT_EQ(bosGetThreadID(), static_cast<unsigned long>(pthread_self()));
    EXPECT_NE(bosGetThreadID(), other);
}

TEST(Semaphore, DefaultsToSpinLocksThatExclude) {
    KoSemaphoreInfo* info = bosGetPTaskSemInfo();
    ASSERT_NE(info, nullptr);
    EXPECT_EQ(info->SpinCount, 25u);
    EXPECT_EQ(info->YieldTime, 0u);
    KoSemaphore lock(nullptr, nullptr);
    EXPECT_FALSE(lock.realSemaphore());
    EXPECT_LT(info->SemaphoreList.indexOf(&lock), info->SemaphoreList.getCount());

    long counter = 0;
    hammer(3, 30, [&] {
        lock.SemaphoreEnter();
        ++counter;
        lock.SemaphoreExit();
    });
    EXPECT_EQ(counter, 3 * 30);
    // A held lock keeps another thread out until it is released.
    lock.SemaphoreEnter();
    long seen = -1;
    std::thread waiter([&] {
        lock.SemaphoreEnter();
        seen = counter;
        lock.SemaphoreExit();
    });
    counter = 1000;
    lock.SemaphoreExit();
    waiter.join();
    EXPECT_EQ(seen, 1000);
}

TEST(Semaphore, LazyCreationMarkers) {
    KoSemaphoreInfo* info = bosGetPTaskSemInfo();
    unsigned long listed = info->SemaphoreList.getCount();
    KoSemaphore* fresh = nullptr;
    koSemaphoreEnter(&fresh);
    ASSERT_NE(fresh, nullptr);
    EXPECT_EQ(fresh->SpinLock, 1u);
    koSemaphoreExit(&fresh);
    EXPECT_EQ(fresh->SpinLock, 0u);
    KoSemaphore* made = fresh;
    delete made;
    EXPECT_EQ(fresh, made); // made from 0: the owner's pointer is not remembered

    KoSemaphore* reborn = KO_SEMAPHORE_DESTROYED;
    koSemaphoreEnter(&reborn);
    ASSERT_NE(reborn, KO_SEMAPHORE_DESTROYED);
    koSemaphoreExit(&reborn);
    made = reborn;
    delete made;
    EXPECT_EQ(reborn, KO_SEMAPHORE_DESTROYED);

    KoSemaphore* building = KO_SEMAPHORE_CREATING; // enter and exit do nothing
    koSemaphoreEnter(&building);
    koSemaphoreExit(&building);
    EXPECT_EQ(building, KO_SEMAPHORE_CREATING);
    EXPECT_EQ(info->SemaphoreList.getCount(), listed);
}

TEST(Semaphore, AllocationFailuresLeaveNoLeaks) {
    long live = ramLiveBlocks();
    KoSemaphore* lazy = nullptr;
    ramFailAfter(1);
    koSemaphoreEnter(&lazy); // the object cannot be made: nothing is locked
    koSemaphoreExit(&lazy);
    EXPECT_EQ(lazy, nullptr);
    EXPECT_EQ(ramLiveBlocks(), live);

    // With the task's list full and its growth failing, a new semaphore works unlisted.
    KoSemaphoreInfo* info = bosGetPTaskSemInfo();
    std::vector<KoSemaphore*> filler;
    while (info->SemaphoreList.getCount() < info->SemaphoreList.getSizeOfArray())
        filler.push_back(new KoSemaphore(nullptr, nullptr));
    unsigned long listed = info->SemaphoreList.getCount();
    live = ramLiveBlocks();
    ramFailAfter(2);
    KoSemaphore* unlisted = new KoSemaphore(nullptr, nullptr);
    ASSERT_NE(unlisted, nullptr);
    EXPECT_EQ(info->SemaphoreList.getCount(), listed);
    unlisted->SemaphoreEnter();
    unlisted->SemaphoreExit();
    delete unlisted;
    EXPECT_EQ(ramLiveBlocks(), live);
    for (KoSemaphore* semaphore : filler) delete semaphore;
}

// "KO_SPIN_COUNT" is read once, at load: each setting runs in a fresh copy of this program. The
// scenario prints the count in use, then takes a held spin lock from a second thread.
KO_CHILD_SCENARIO(ContendedSpinLock) {
    KoSemaphoreInfo* info = bosGetPTaskSemInfo();
    CHILD_CHECK(info != nullptr);
    std::printf("spin count %lu\n", static_cast<unsigned long>(info->SpinCount));
    KoSemaphore lock(nullptr, nullptr);
    lock.SemaphoreEnter();
    std::atomic<bool> waiting{false}, taken{false};
    std::thread waiter([&] {
        waiting = true;
        lock.SemaphoreEnter();
        taken = true;
        lock.SemaphoreExit();
    });
    while (!waiting) std::this_thread::yield();
    lock.SemaphoreExit();
    waiter.join();
    CHILD_CHECK(taken);
    return 0;
}

TEST(Semaphore, SpinCountZeroOrNotANumber) {
    const std::pair<const char*, const char*> cases[] = {
        {"0", "spin count 1\n"}, {"7x", "spin count 25\n"}, {"-3", "spin count 25\n"}};
    for (const auto& c : cases) {
        kotest::ChildResult child =
            kotest::runScenario("ContendedSpinLock", {{"KO_SPIN_COUNT", c.first}});
        EXPECT_EQ(child.Status, 0) << c.first << "\n" << child.Out;
        EXPECT_EQ(child.Out, c.second) << c.first;
    }
}
