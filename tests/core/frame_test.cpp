// The library frame: thread registration and record reuse, per-task slots, the client-library
// counter, the debug mask read at load, and raw allocation.
#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include "kolib/errors.h"
#include "kolib/frame.h"
#include "kolib/memory.h"
#include "kolib/testing.h"
#include "kolib/thread.h"

namespace {

KoThreadInfo* head() {
    return static_cast<KoThreadInfo*>(mdsGetPerTaskData(MDS_THREAD_INFO_LIST));
}

std::vector<KoThreadInfo*> records() {
    std::vector<KoThreadInfo*> all;
    for (KoThreadInfo* r = head(); r; r = r->Next) all.push_back(r);
    return all;
}

KoThreadInfo* recordOf(unsigned long id) {
    for (KoThreadInfo* r = head(); r; r = r->Next)
        if (r->isThread(id)) return r;
    return nullptr;
}

// A thread that registers, reports its record, and waits to be told to release.
class Registered {
public:
    Registered() : Thread([this] { run(); }) {
        std::unique_lock<std::mutex> lock(M);
        C.wait(lock, [this] { return Ready; });
    }
    ~Registered() { release(); }
    void release() {
        {
            std::lock_guard<std::mutex> lock(M);
            Go = true;
        }
        C.notify_all();
        if (Thread.joinable()) Thread.join();
    }
    KoThreadInfo* Record = nullptr;

private:
    void run() {
        mdsPerThreadInit();
        Record = recordOf(bosGetThreadID());
        {
            std::lock_guard<std::mutex> lock(M);
            Ready = true;
        }
        C.notify_all();
        std::unique_lock<std::mutex> lock(M);
        C.wait(lock, [this] { return Go; });
        mdsPerThreadTerm();
    }
    std::mutex M;
    std::condition_variable C;
    bool Ready = false, Go = false;
    std::thread Thread;
};

// Runs fn in a forked child; the child's failures become its exit status.
void inChild(void (*fn)()) {
    pid_t pid = fork();
    ASSERT_GE(pid, 0);
    if (pid == 0) {
        fn();
        _exit(::testing::Test::HasFailure() ? 1 : 0);
    }
    int status = 0;
    ASSERT_EQ(waitpid(pid, &status, 0), pid);
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0);
}

} // namespace

TEST(PerThread, RegistrationsNestAndSlotsSurviveOneRelease) {
    std::thread([] {
        EXPECT_EQ(mdsGetPerThreadData(MDS_PERTHREAD_GENERIC1), nullptr); // not registered
        ASSERT_EQ(mdsPerThreadInit(), 1);
        ASSERT_EQ(mdsPerThreadInit(), 1);
        int marker = 0;
        mdsSetPerThreadData(MDS_PERTHREAD_GENERIC1, &marker);
        EXPECT_EQ(*mdsGetPerThreadDataAddress(MDS_PERTHREAD_GENERIC1), &marker);
        mdsPerThreadTerm();
        EXPECT_EQ(mdsGetPerThreadData(MDS_PERTHREAD_GENERIC1), &marker);
        EXPECT_EQ(recordOf(bosGetThreadID())->getUseCount(), 1u);
        mdsPerThreadTerm();
        EXPECT_EQ(mdsGetPerThreadData(MDS_PERTHREAD_GENERIC1), nullptr);
        mdsPerThreadTerm(); // releasing an unregistered thread does nothing
    }).join();
}

// Deleted records are taken over by new threads, except the last record of the list, which
// is never examined: a new record is appended behind it instead.
TEST(PerThread, DeletedRecordsAreReusedButNeverTheLast) {
    inChild([] {
        // Occupy every record the process already has with a thread that does not exist.
        for (KoThreadInfo* r : records()) r->initialize(~0ul);
        size_t base = records().size();

        Registered a, b, c;
        ASSERT_EQ(records().size(), base + 3);
        KoThreadInfo* recA = a.Record;
        KoThreadInfo* recC = c.Record;
        a.release();
        c.release();
        EXPECT_TRUE(recA->isDeleted());
        EXPECT_TRUE(recC->isDeleted());

        Registered d; // takes over A, the first deleted record with a successor
        EXPECT_EQ(d.Record, recA);
        EXPECT_EQ(records().size(), base + 3);
        EXPECT_EQ(d.Record->getThreadData(MDS_ERROR_KEEPER), nullptr); // slots cleared

        Registered e; // only C is deleted, and it is last: E gets a new record behind it
        EXPECT_NE(e.Record, recC);
        EXPECT_EQ(records().size(), base + 4);
        EXPECT_EQ(records().back(), e.Record);
        EXPECT_TRUE(recC->isDeleted());
    });
}

TEST(PerThread, ManyThreadsEachSeeTheirOwnErrorsAndRecordsAreReused) {
    const int threads = 16, rounds = 5;
    size_t before = records().size();
    for (int round = 0; round < rounds; ++round) {
        std::vector<std::thread> pool;
        std::atomic<int> wrong{0};
        for (int t = 0; t < threads; ++t) {
            pool.emplace_back([t, &wrong] {
                KoErrorList list(nullptr, 1);
                list.pushOnErrorKeeper();
                for (int i = 0; i < 20; ++i) addError(1000 + t, "thread %n1 error %n2") << t << i;
                if (KoErrorKeeper::getErrorList() != &list || list.getCount() != 20) ++wrong;
                std::string expect = "thread " + std::to_string(t) + " error 19";
                if (expect != KoErrorKeeper::getLastError()->getErrorText()) ++wrong;
                if (list.popOffErrorKeeper() != &list) ++wrong;
                if (KoErrorKeeper::getErrorList() != nullptr) ++wrong;
            });
        }
        for (auto& th : pool) th.join();
        EXPECT_EQ(wrong.load(), 0);
    }
    // Each round can add at most one record beyond what the first round needed.
    EXPECT_LE(records().size(), before + threads + rounds);
}

TEST(PerTask, SlotsAndClientLibraryCounter) {
    int value = 0;
    mdsSetPerTaskData(MDS_PERTASK_GENERIC2, &value);
    EXPECT_EQ(mdsGetPerTaskData(MDS_PERTASK_GENERIC2), &value);
    EXPECT_EQ(*mdsGetPerTaskDataAddress(MDS_PERTASK_GENERIC2), &value);
    mdsSetPerTaskData(MDS_PERTASK_GENERIC2, nullptr);
    EXPECT_EQ(mdsIsTaskInit(), 1);
    EXPECT_EQ(mdsPerTaskInit(), 1);

    EXPECT_EQ(countDBLibInits(1), 0); // the first initialisation
    EXPECT_EQ(mdsGetPerTaskData(MDS_DBLIB_COUNT), reinterpret_cast<void*>(1));
    EXPECT_EQ(countDBLibInits(0), 0); // the last termination
    EXPECT_EQ(countDBLibInits(0), 65535);
    EXPECT_EQ(mdsGetPerTaskData(MDS_DBLIB_COUNT), reinterpret_cast<void*>(-1l));
    mdsSetPerTaskData(MDS_DBLIB_COUNT, nullptr);
}

// The mask is read once at load, so each value is checked by a fresh run of this binary.
TEST(DebugMask, ReadFromTheEnvironmentAtLoad) {
    struct Case {
        const char* Value;
        unsigned Expect;
    } cases[] = {{"ff", 0xff}, {"0x400", 0x400}, {"zz", 0}, {nullptr, 0}};
    for (const Case& c : cases) {
        pid_t pid = fork();
        ASSERT_GE(pid, 0);
        if (pid == 0) {
            if (c.Value)
                setenv("KO_DEBUGGING", c.Value, 1);
            else
                unsetenv("KO_DEBUGGING");
            setenv("KOLIB_EXPECT_DEBUG", std::to_string(c.Expect).c_str(), 1);
            execl("/proc/self/exe", "frame-child", "--gtest_filter=DebugMaskChild.*",
                  static_cast<char*>(nullptr));
            _exit(127);
        }
        int status = 0;
        ASSERT_EQ(waitpid(pid, &status, 0), pid);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0)
            << "KO_DEBUGGING=" << (c.Value ? c.Value : "(unset)");
    }
}

TEST(DebugMaskChild, LevelMatches) {
    const char* expect = std::getenv("KOLIB_EXPECT_DEBUG");
    if (!expect) GTEST_SKIP() << "run by DebugMask.ReadFromTheEnvironmentAtLoad";
    EXPECT_EQ(BOS_RUNTIME_DEBUG.Level, std::strtoul(expect, nullptr, 10));
    EXPECT_EQ(BOS_RUNTIME_DEBUG.debugItem(0x0401), BOS_RUNTIME_DEBUG.Level & 0x401);
}

TEST(RawAllocation, StringsZeroSizesAndResizeFailure) {
    char* ab = ramAllocStr("abc", 2);
    ASSERT_NE(ab, nullptr);
    EXPECT_STREQ(ab, "ab");
    ramFree(ab);
    char* empty = ramAllocStr(nullptr);
    ASSERT_NE(empty, nullptr);
    EXPECT_STREQ(empty, "");
    ramFree(empty);
    char* wrapped = ramAllocStr("x", ~0ul); // length + 1 wraps to 0: one empty byte
    ASSERT_NE(wrapped, nullptr);
    EXPECT_STREQ(wrapped, "");
    ramFree(wrapped);

    unsigned char* zero = static_cast<unsigned char*>(operator new(0, RAM_INIT_ZERO));
    ASSERT_NE(zero, nullptr);
    EXPECT_EQ(zero[0], 0);
    ramFree(zero);

    void* block = ramAllocStr("keep");
    long live = ramLiveBlocks();
    ramFailAfter(1);
    EXPECT_EQ(ramResize(&block, 1 << 20), 1u);
    EXPECT_STREQ(static_cast<char*>(block), "keep");
    EXPECT_EQ(ramResize(&block, 64), 0u);
    EXPECT_STREQ(static_cast<char*>(block), "keep");
    EXPECT_EQ(ramLiveBlocks(), live);
    ramFree(block);
    ramFailAfter(1);
    EXPECT_EQ(ramAllocStr("x"), nullptr);
    ramFailAfter(1);
    EXPECT_EQ(operator new(8, RAM_INIT_NONE), nullptr);
}
