// System V semaphore sets and the diagnostic dumps. "KO_SEMCONTROL" is read once per process,
// when the library makes its own semaphore at load, so each configuration runs in a freshly
// started copy of this program; the parent checks its output and that its sets are gone
// from the system once it has exited.
#include <gtest/gtest.h>

#include <sys/sem.h>
#include <thread>
#include <vector>
#include "child_process.h"
#include "kolib/frame.h"
#include "kolib/load_string.h"
#include "kolib/semaphore.h"

namespace {

// Semaphores in the set, or -1 when it does not exist.
int setSize(long id) {
    struct semid_ds info;
    union {
        int val;
        struct semid_ds* buf;
    } arg;
    arg.buf = &info;
    return semctl(static_cast<int>(id), 0, IPC_STAT, arg) == 0 ? static_cast<int>(info.sem_nsems)
                                                               : -1;
}

int value(const KoSemaphore* s) {
    return semctl(static_cast<int>(s->SemaphoreSetID), s->SemaphoreNumber, GETVAL);
}

// The identifiers a scenario printed as "sets: a b".
std::pair<long, long> printedSets(const std::string& out) {
    std::pair<long, long> ids{0, 0};
    size_t at = out.find("sets: ");
    if (at != std::string::npos)
        std::sscanf(out.c_str() + at, "sets: %ld %ld", &ids.first, &ids.second);
    return ids;
}

std::string label(unsigned number) {
    char text[256];
    LoadString(KOUTLHINST, number, text, sizeof text);
    return text;
}

} // namespace

// Sets of `KO_SEMCONTROL`'s low byte, or 25: the library's own semaphore (number 0) opened
// the first set at load; the others fill it and the next one opens a second set.
KO_CHILD_SCENARIO(FillSets) {
    KoSemaphoreInfo* info = bosGetPTaskSemInfo();
    CHILD_CHECK(info && info->realWanted() && info->NumberOfSets == 1);
    uint32_t first = info->SemaSetInfo[0].SetID;
    int size = info->setLimit() ? static_cast<int>(info->setLimit()) : 25;
    CHILD_CHECK(setSize(first) == size && info->SemaSetInfo[0].UseCount == 1);
    std::vector<KoSemaphore*> sems;
    for (int i = 1; i < size; ++i) {
        sems.push_back(new KoSemaphore(nullptr, nullptr));
        CHILD_CHECK(sems.back()->realSemaphore() && sems.back()->SemaphoreSetID == first);
        CHILD_CHECK(sems.back()->getSemaphoreNumber() == i);
    }
    KoSemaphore* next = new KoSemaphore(nullptr, nullptr);
    uint32_t second = next->SemaphoreSetID;
    CHILD_CHECK(second != first && setSize(second) == size && next->getSemaphoreNumber() == 0);

    long counter = 0;
    std::vector<std::thread> pool;
    for (int t = 0; t < 4; ++t)
        pool.emplace_back([&] {
            for (int i = 0; i < 2000; ++i) {
                next->SemaphoreEnter();
                counter += value(next) == 0 ? 1 : 1000000; // held: the semaphore is at 0
                next->SemaphoreExit();
            }
        });
    for (std::thread& thread : pool) thread.join();
    CHILD_CHECK(counter == 4 * 2000 && value(next) == 1);
    delete next; // the only semaphore of its set: the set goes
    CHILD_CHECK(setSize(second) == -1 && info->NumberOfSets == 1);

    // A number given back is not handed out again, and no live number is handed out twice:
    // with the first set's numbers used up, the next semaphore opens a new set, and holding
    // it together with every other one never waits.
    delete sems[0];
    sems[0] = new KoSemaphore(nullptr, nullptr);
    uint32_t third = sems[0]->SemaphoreSetID;
    CHILD_CHECK(third != first && setSize(third) == size && sems[0]->getSemaphoreNumber() == 0);
    for (KoSemaphore* semaphore : sems) semaphore->SemaphoreEnter();
    for (KoSemaphore* semaphore : sems) semaphore->SemaphoreExit();
    for (KoSemaphore* semaphore : sems) delete semaphore;
    CHILD_CHECK(setSize(first) == size && setSize(third) == -1);
    std::printf("sets: %u %u\n", first, second);
    return 0;
}

// Threads making and freeing semaphores at once leave the bookkeeping whole: only the
// library's own semaphore is listed afterwards.
KO_CHILD_SCENARIO(ConcurrentAllocation) {
    std::vector<std::thread> pool;
    for (int t = 0; t < 6; ++t)
        pool.emplace_back([] {
            for (int i = 0; i < 200; ++i) delete new KoSemaphore(nullptr, nullptr);
        });
    for (std::thread& thread : pool) thread.join();
    KoSemaphoreInfo* info = bosGetPTaskSemInfo();
    CHILD_CHECK(info->SemaphoreList.getCount() == 1);
    return 0;
}

KO_CHILD_SCENARIO(NotHexadecimal) {
    KoSemaphoreInfo* info = bosGetPTaskSemInfo();
    CHILD_CHECK(info && info->Debug == 0 && info->SpinCount == 3 && info->YieldTime == 7);
    KoSemaphore lock(nullptr, nullptr);
    CHILD_CHECK(!lock.realSemaphore() && lock.getSemaphoreSetID() == 0);
    return 0;
}

KO_CHILD_SCENARIO(Dumps) {
    std::printf("-- begin\n");
    KoSemaphore* semaphore = new KoSemaphore(nullptr, nullptr);
    std::printf("object: %lx\n", reinterpret_cast<unsigned long>(semaphore));
    delete semaphore;
    std::printf("-- end\n");
    return 0;
}

TEST(SystemVSemaphore, SetsAreSharedAndRemoved) {
    for (const char* control : {"80000", "80005"}) {
        kotest::ChildResult child = kotest::runScenario("FillSets", {{"KO_SEMCONTROL", control}});
        ASSERT_EQ(child.Status, 0) << control << "\n" << child.Out;
        std::pair<long, long> sets = printedSets(child.Out);
        ASSERT_NE(sets.first, sets.second);
        // The library's own semaphore gave the first set back at unload.
        EXPECT_EQ(setSize(sets.first), -1);
        EXPECT_EQ(setSize(sets.second), -1);
    }
    kotest::ChildResult many =
        kotest::runScenario("ConcurrentAllocation", {{"KO_SEMCONTROL", "80005"}});
    EXPECT_EQ(many.Status, 0) << many.Out;
    kotest::ChildResult child = kotest::runScenario(
        "NotHexadecimal",
        {{"KO_SEMCONTROL", "zz"}, {"KO_SPIN_COUNT", "3"}, {"KO_SPIN_SLEEP", "7"}});
    EXPECT_EQ(child.Status, 0);
}

TEST(SystemVSemaphore, DumpsForSpinLocks) {
    ASSERT_NE(label(1526), "1526") << "the message catalogue was not found";
    kotest::ChildResult child = kotest::runScenario("Dumps", {{"KO_SEMCONTROL", "10000"}});
    ASSERT_EQ(child.Status, 0) << child.Out;
    size_t at = child.Out.find("object: ");
    ASSERT_NE(at, std::string::npos) << child.Out;
    std::string address = child.Out.substr(at + 8, child.Out.find('\n', at) - at - 8);
    std::string banner = std::string(40, '*') + "\n";
    std::string spin = label(1528) + ": " + label(1530) + "\n";
    std::string allocated =
        banner + label(1526) + "\nSemaphore @ Address: " + address + "\n" + spin + banner;
    std::string released = banner + label(1538) + "\n" + spin + label(1534) + ": 0\n" +
                           label(1536) + ": 0\nSemaphore @ Address: " + address + "\n" + banner;
    EXPECT_NE(child.Out.find("-- begin\n" + allocated + "object: "), std::string::npos)
        << child.Out;
    EXPECT_NE(child.Out.find(released + "-- end\n"), std::string::npos) << child.Out;
    // The library's own semaphore is dumped at load and at unload; no set is made.
    EXPECT_EQ(child.Out.find(banner + label(1526)), 0u);
    EXPECT_GT(child.Out.rfind(label(1538)), child.Out.find("-- end"));
    EXPECT_EQ(child.Out.find(label(1525)), std::string::npos);
}

TEST(SystemVSemaphore, CreationDumpForRealSemaphores) {
    kotest::ChildResult child = kotest::runScenario("Dumps", {{"KO_SEMCONTROL", "90002"}});
    ASSERT_EQ(child.Status, 0) << child.Out;
    std::string head = std::string(40, '*') + "\n" + label(1525) + "\n" + label(1527) + ": " +
                       label(1529) + "\n" + label(1531) + ": 2\n" + label(1532) + ": 25\n" +
                       label(1533) + ": 0\n" + label(1534) + ": ";
    ASSERT_EQ(child.Out.find(head), 0u) << child.Out;
    long set = std::atol(child.Out.c_str() + head.size());
    EXPECT_NE(child.Out.find(label(1534) + ": " + std::to_string(set) + "\n" + label(1536) +
                             ": 1\n" + label(1528) + ": " + label(1529) + "\n"),
              std::string::npos)
        << child.Out;
    EXPECT_EQ(setSize(set), -1);
}
