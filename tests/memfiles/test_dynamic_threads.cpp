// Mapped files used from several threads: one mapping per thread, and one
// mapping shared under the callers' lock or (what callers must not rely on,
// but must not crash either) by writers that do not serialise.
#include "DYNAMIC.h"
#include "memtest.h"

#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

using namespace memtest;

#if defined(__SANITIZE_THREAD__)
#define BASEKEL_UNDER_TSAN 1
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define BASEKEL_UNDER_TSAN 1
#endif
#endif

namespace {

constexpr int kThreads = 4;
constexpr unsigned long kWrites = 128;
constexpr unsigned long kSpacing = 16384;

// A new file at `path`, mapped with a reserve of `size` bytes.
struct OwnFile {
    OwnFile(const std::string& path, unsigned long size) : path(path) {
        handle = OpenShared(path, kReadWrite, CREATE_ALWAYS);
        base = static_cast<volatile char*>(mapped.Create(handle, kReadWrite, size, kStep, kStep));
    }
    std::string CloseAndRead(unsigned long size) {
        mapped.Close(size);
        CloseHandle(handle);
        return ReadBytes(path);
    }
    std::string path;
    HANDLE handle;
    TDynamicMemoryMappedFile mapped;
    volatile char* base;
};

} // namespace

// Each thread writes its own mapping (by plain pointer and by Set) and its own
// bytes of the shared one (by plain pointer and, taking turns, by CopyIn)
// while the other threads grow theirs and the shared one.
TEST(DynamicMappingThreads, ThreadsGrowTheirOwnMappingsAndASharedOne) {
    for (const bool takeTurns : {true, false}) {
#if defined(BASEKEL_UNDER_TSAN)
        // A plain write with no lock around it races, by the memory model,
        // with another thread's rebuild of the range.
        if (!takeTurns)
            GTEST_SKIP() << "unserialised writers are a data race by definition";
#endif
        SCOPED_TRACE(takeTurns ? "taking turns" : "not taking turns");
        TempDir dir;
        OwnFile shared(dir.file("shared.bin"), kThreads * kWrites * kSpacing);
        ASSERT_NE(shared.base, nullptr);
        std::mutex turn;
        std::vector<std::string> contents(kThreads);
        std::vector<std::thread> threads;
        for (int t = 0; t < kThreads; ++t) {
            threads.emplace_back([&, t] {
                OwnFile own(dir.file("own" + std::to_string(t) + ".bin"), kWrites * kSpacing);
                for (unsigned long i = 0; i < kWrites; ++i) {
                    own.base[i * kSpacing] = static_cast<char>('a' + t); // by the fault handler
                    own.mapped.Set(i * kSpacing + 1, static_cast<unsigned char>('A' + t), 1);
                    const unsigned long offset = (i * kThreads + t) * kSpacing;
                    std::unique_lock<std::mutex> guard(turn, std::defer_lock);
                    if (takeTurns)
                        guard.lock();
                    shared.base[offset] = static_cast<char>('0' + t);
                    if (takeTurns)
                        shared.mapped.CopyIn(const_cast<char*>("m"), offset + 1, 1);
                }
                contents[t] = own.CloseAndRead(kWrites * kSpacing);
            });
        }
        for (std::thread& thread : threads)
            thread.join();
        int wrong = 0;
        for (int t = 0; t < kThreads; ++t) {
            ASSERT_EQ(contents[t].size(), kWrites * kSpacing);
            for (unsigned long i = 0; i < kWrites; ++i)
                wrong += contents[t].substr(i * kSpacing, 2) !=
                         std::string{char('a' + t), char('A' + t)};
        }
        const std::string content = shared.CloseAndRead(kThreads * kWrites * kSpacing);
        ASSERT_EQ(content.size(), kThreads * kWrites * kSpacing);
        for (unsigned long i = 0; i < kWrites * kThreads; ++i)
            wrong += content[i * kSpacing] != '0' + static_cast<int>(i % kThreads) ||
                     content[i * kSpacing + 1] != (takeTurns ? 'm' : '\0');
        EXPECT_EQ(wrong, 0);
    }
}
