// Many threads on one KCSync, one KCMutex and one wait on several objects; the
// shared data is plain, so ThreadSanitizer sees any gap in the locking.
#include "Sync.h"
#include "synctest.h"
#include "testsupport.h"

#include <atomic>
#include <thread>
#include <vector>

namespace {

constexpr int kThreads = 8;
constexpr int kRounds = 2000;

TEST(Stress, KCMutexSerialisesPlainCounter) {
    KELMO::KCMutex mutex;
    long counter = 0;
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back([&, t] {
            for (int i = 0; i < kRounds; ++i) {
                if (t % 2 == 0) {
                    KELMO::KCMutexLock lock(mutex);
                    KELMO::KCMutexLock nested(mutex);
                    ++counter;
                } else {
                    while (!mutex.TryLock())
                        std::this_thread::yield();
                    ++counter;
                    mutex.Unlock();
                }
            }
        });
    for (auto& t : threads)
        t.join();
    EXPECT_EQ(counter, long{kThreads} * kRounds);
}

TEST(Stress, KCSyncKeepsReadersAndWritersApart) {
    KELMO::KCSync sync;
    std::atomic<int> readersInside{0};
    std::atomic<int> writersInside{0};
    std::atomic<int> violations{0};
    long first = 0, second = 0; // a writer changes both; a reader must see them equal
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back([&, t] {
            const bool writer = t % 3 == 0;
            for (int i = 0; i < kRounds / 2; ++i) {
                if (writer) {
                    KELMO::KCSyncWriter lock(sync);
                    if (writersInside.fetch_add(1) != 0 || readersInside.load() != 0)
                        ++violations;
                    ++first;
                    ++second;
                    writersInside.fetch_sub(1);
                } else {
                    KELMO::KCSyncReader lock(sync);
                    readersInside.fetch_add(1);
                    if (writersInside.load() != 0 || first != second)
                        ++violations;
                    readersInside.fetch_sub(1);
                }
            }
        });
    for (auto& t : threads)
        t.join();
    EXPECT_EQ(violations.load(), 0);
    EXPECT_EQ(first, long{(kThreads + 2) / 3} * (kRounds / 2));
    EXPECT_EQ(first, second);
}

// Producers release semaphores while the consumer waits on all of them and a
// stop event: every unit ends exactly one wait, none is lost.
TEST(Stress, WaitOnSeveralObjectsMissesNoSignal) {
    constexpr int kProducers = 4;
    constexpr int kUnits = kRounds / 4;
    KELMO::KCEvent stop;
    std::vector<HANDLE> handles{stop.Handle()};
    std::vector<std::thread> producers;
    for (int p = 1; p <= kProducers; ++p) {
        handles.push_back(CreateSemaphoreA(nullptr, 0, kUnits, nullptr));
        producers.emplace_back([h = handles.back()] {
            for (int i = 0; i < kUnits; ++i)
                ReleaseSemaphore(h, 1, nullptr);
        });
    }
    const DWORD count = static_cast<DWORD>(handles.size());
    for (int received = 0; received < kProducers * kUnits; ++received) {
        const DWORD result =
            WaitForMultipleObjects(count, handles.data(), FALSE, synctest::kHandshakeMs);
        if (result < WAIT_OBJECT_0 + 1 || result > WAIT_OBJECT_0 + kProducers) {
            ADD_FAILURE() << "wait ended with " << result << " after " << received << " units";
            break;
        }
    }
    for (auto& t : producers)
        t.join();
    EXPECT_EQ(WaitForMultipleObjects(count, handles.data(), FALSE, 0), WAIT_TIMEOUT);
    for (int p = 1; p <= kProducers; ++p)
        CloseHandle(handles[p]);
}

} // namespace
