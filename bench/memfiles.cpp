// Writing a large file sequentially: through a TDynamicMemoryMappedFile that
// grows step by step (by faults on a plain pointer, and by CopyIn), through a
// mapping made large enough up front, and with plain WriteFile calls. The
// difference between the growing and the presized mapping is the cost of
// growth: each step unmaps and maps the whole range again (counter
// "rebuilds").
#include "DYNAMIC.h"
#include "kelwin32.h"

#include <cstring>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

namespace {

constexpr unsigned long kFileSize = 32ul << 20;
constexpr unsigned long kChunk = 64ul << 10;
constexpr DWORD kReadWrite = GENERIC_READ | GENERIC_WRITE;

// A new empty file in the temporary directory, deleted again at the end.
class ScratchFile {
public:
    ScratchFile() {
        char directory[MAX_PATH] = {};
        char name[MAX_PATH] = {};
        GetTempPathA(MAX_PATH, directory);
        GetTempFileNameA(directory, "bkm", 0, name);
        m_path = name;
        m_handle = CreateFileA(name, kReadWrite, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL,
                               nullptr);
    }
    ~ScratchFile() {
        CloseHandle(m_handle);
        DeleteFileA(m_path.c_str());
    }
    ScratchFile(const ScratchFile&) = delete;
    ScratchFile& operator=(const ScratchFile&) = delete;

    HANDLE handle() const { return m_handle; }
    bool ok() const { return m_handle != INVALID_HANDLE_VALUE; }

    // Makes the file `size` bytes long.
    void Extend(unsigned long size) {
        SetFilePointer(m_handle, static_cast<LONG>(size), nullptr, FILE_BEGIN);
        SetEndOfFile(m_handle);
    }

private:
    std::string m_path;
    HANDLE m_handle;
};

std::vector<char> Chunk() {
    std::vector<char> chunk(kChunk);
    for (std::size_t i = 0; i < chunk.size(); ++i)
        chunk[i] = static_cast<char>(i * 31);
    return chunk;
}

void Report(benchmark::State& state, unsigned long step) {
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * kFileSize);
    if (step)
        state.counters["rebuilds"] = static_cast<double>((kFileSize + step - 1) / step);
}

// Plain pointer writes; each step boundary faults and grows the mapping.
void GrowingMapping_Pointer(benchmark::State& state) {
    const auto step = static_cast<unsigned long>(state.range(0));
    const std::vector<char> chunk = Chunk();
    for (auto _ : state) {
        ScratchFile file;
        TDynamicMemoryMappedFile mapped;
        auto* base =
            static_cast<char*>(mapped.Create(file.handle(), kReadWrite, kFileSize, step, 0));
        for (unsigned long offset = 0; offset < kFileSize; offset += kChunk)
            std::memcpy(base + offset, chunk.data(), kChunk);
        mapped.Close(kFileSize);
    }
    Report(state, step);
}
BENCHMARK(GrowingMapping_Pointer)->Arg(64 << 10)->Arg(1 << 20)->Unit(benchmark::kMillisecond);

// CopyIn: grows before copying, without faults.
void GrowingMapping_CopyIn(benchmark::State& state) {
    const auto step = static_cast<unsigned long>(state.range(0));
    std::vector<char> chunk = Chunk();
    for (auto _ : state) {
        ScratchFile file;
        TDynamicMemoryMappedFile mapped;
        mapped.Create(file.handle(), kReadWrite, kFileSize, step, 0);
        for (unsigned long offset = 0; offset < kFileSize; offset += kChunk)
            mapped.CopyIn(chunk.data(), offset, kChunk);
        mapped.Close(kFileSize);
    }
    Report(state, step);
}
BENCHMARK(GrowingMapping_CopyIn)->Arg(64 << 10)->Arg(1 << 20)->Unit(benchmark::kMillisecond);

// The file made full size first: the whole range is mapped at creation.
void PresizedMapping_Pointer(benchmark::State& state) {
    const std::vector<char> chunk = Chunk();
    for (auto _ : state) {
        ScratchFile file;
        file.Extend(kFileSize);
        TDynamicMemoryMappedFile mapped;
        auto* base =
            static_cast<char*>(mapped.Create(file.handle(), kReadWrite, kFileSize, kChunk, 0));
        for (unsigned long offset = 0; offset < kFileSize; offset += kChunk)
            std::memcpy(base + offset, chunk.data(), kChunk);
        mapped.Close(kFileSize);
    }
    Report(state, 0);
}
BENCHMARK(PresizedMapping_Pointer)->Unit(benchmark::kMillisecond);

void WriteFileCalls(benchmark::State& state) {
    const std::vector<char> chunk = Chunk();
    for (auto _ : state) {
        ScratchFile file;
        DWORD written = 0;
        for (unsigned long offset = 0; offset < kFileSize; offset += kChunk)
            WriteFile(file.handle(), chunk.data(), kChunk, &written, nullptr);
    }
    Report(state, 0);
}
BENCHMARK(WriteFileCalls)->Unit(benchmark::kMillisecond);

} // namespace
