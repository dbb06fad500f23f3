// The message catalogue against GNU gettext: a message file of 10,000
// messages over 100 origins, and a compiled gettext catalogue (.mo, written
// here with its hash table as msgfmt writes it) of the same messages.
//
//   Catalogue_ColdStart     choose the file, build and write its index, first lookup
//   Catalogue_WarmStart     choose the file, read its index, first lookup
//   Catalogue_FirstLookups  every message once after a warm start (each reads its line)
//   Catalogue_Lookup        GetMessage with three arguments and a macro, warm
//   Gettext_Load            first lookup in a catalogue not loaded before
//   Gettext_Lookup          gettext() of the same messages
//   Gettext_LookupAndFill   gettext() plus filling in three arguments and a line break,
//                           the work GetMessage does on top of the lookup
#include "MessageSystem.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#if __has_include(<libintl.h>)
#include <clocale>
#include <libintl.h>
#include <unistd.h>
#define BENCH_HAS_GETTEXT 1
#endif

namespace {

const int kOrigins = 100;
const int kCodes = 100;
const int kMessages = kOrigins * kCodes;

std::string OriginName(int o) {
    return "BenchOrigin" + std::to_string(o);
}

std::string MessageText(int o, int c) {
    return "Message " + std::to_string(o) + "." + std::to_string(c) +
           " about [$1], [$2] and [$3].[nl]Please check.";
}

std::string GettextText(int o, int c) {
    return "Message " + std::to_string(o) + "." + std::to_string(c) +
           " about %1, %2 and %3.\nPlease check.";
}

std::string GettextId(int o, int c) {
    return OriginName(o) + "." + std::to_string(c);
}

void WriteFile(const std::string& path, const std::string& bytes) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << bytes;
}

// The files live in one directory for the whole run.
struct Files {
    std::string directory;
    std::string messages;
    std::string index;
    std::vector<unsigned short> origins;

    Files() {
        char pattern[] = "/tmp/basekel_bench_XXXXXX";
        directory = mkdtemp(pattern) ? pattern : "/tmp";
        messages = directory + "/bench.msl";
        index = directory + "/bench.ndx";
        std::string text = "; 10,000 messages for the benchmark\r\n";
        for (int o = 0; o < kOrigins; ++o) {
            text += "[" + OriginName(o) + "]\r\n";
            for (int c = 0; c < kCodes; ++c)
                text += std::to_string(c) + "\t\"" + MessageText(o, c) + "\"\r\n";
        }
        WriteFile(messages, text);
        SetMessageFileNameAbs(messages.c_str());
        for (int o = 0; o < kOrigins; ++o)
            origins.push_back(SearchOriginCode(OriginName(o).c_str()));
    }
    ~Files() {
        std::error_code ignored;
        std::filesystem::remove_all(directory, ignored);
    }
    Files(const Files&) = delete;
    Files& operator=(const Files&) = delete;
};

Files& TheFiles() {
    static Files files;
    return files;
}

const TString kFirst("C:\\data\\input.plt");
const TString kSecond("plotter 4");
const TString kThird("queue");

void Catalogue_ColdStart(benchmark::State& state) {
    Files& files = TheFiles();
    for (auto _ : state) {
        std::remove(files.index.c_str());
        SetMessageFileNameAbs(files.messages.c_str());
        benchmark::DoNotOptimize(GetMessage(files.origins[0], 0, kFirst, kSecond, kThird));
    }
}
BENCHMARK(Catalogue_ColdStart)->Unit(benchmark::kMillisecond);

void Catalogue_WarmStart(benchmark::State& state) {
    Files& files = TheFiles();
    SetMessageFileNameAbs(files.messages.c_str());
    GetMessage(files.origins[0], 0); // the index is on disk
    for (auto _ : state) {
        SetMessageFileNameAbs(files.messages.c_str());
        benchmark::DoNotOptimize(GetMessage(files.origins[0], 0, kFirst, kSecond, kThird));
    }
}
BENCHMARK(Catalogue_WarmStart)->Unit(benchmark::kMicrosecond);

void Catalogue_FirstLookups(benchmark::State& state) {
    Files& files = TheFiles();
    for (auto _ : state) {
        SetMessageFileNameAbs(files.messages.c_str());
        for (int o = 0; o < kOrigins; ++o)
            for (int c = 0; c < kCodes; ++c)
                benchmark::DoNotOptimize(GetMessage(
                    files.origins[o], static_cast<unsigned short>(c), kFirst, kSecond, kThird));
    }
    state.SetItemsProcessed(state.iterations() * kMessages);
}
BENCHMARK(Catalogue_FirstLookups)->Unit(benchmark::kMillisecond);

void Catalogue_Lookup(benchmark::State& state) {
    Files& files = TheFiles();
    SetMessageFileNameAbs(files.messages.c_str());
    int i = 0;
    for (auto _ : state) {
        const int o = i / kCodes;
        const int c = i % kCodes;
        benchmark::DoNotOptimize(
            GetMessage(files.origins[o], static_cast<unsigned short>(c), kFirst, kSecond, kThird));
        i = i + 1 == kMessages ? 0 : i + 1;
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(Catalogue_Lookup);

#if defined(BENCH_HAS_GETTEXT)

// gettext's hash of a message id (hashpjw), in 32 bits.
std::uint32_t GettextHash(const char* s) {
    std::uint32_t hval = 0;
    for (; *s; ++s) {
        hval = (hval << 4) + static_cast<unsigned char>(*s);
        const std::uint32_t g = hval & (0xFu << 28);
        if (g != 0) {
            hval ^= g >> 24;
            hval ^= g;
        }
    }
    return hval;
}

std::uint32_t NextPrime(std::uint32_t n) {
    auto prime = [](std::uint32_t v) {
        for (std::uint32_t d = 2; d * d <= v; ++d)
            if (v % d == 0)
                return false;
        return v > 1;
    };
    while (!prime(n))
        ++n;
    return n;
}

void Put32(std::string& out, std::uint32_t v) {
    for (int i = 0; i < 4; ++i)
        out += static_cast<char>(v >> (8 * i));
}

// A .mo file: header, the tables of ids and of texts (sorted by id), the
// hash table, then the strings.
std::string MoFile(std::vector<std::pair<std::string, std::string>> entries) {
    std::sort(entries.begin(), entries.end());
    const std::uint32_t n = static_cast<std::uint32_t>(entries.size());
    const std::uint32_t hashSize = NextPrime(std::max<std::uint32_t>(3, n * 4 / 3));
    const std::uint32_t idTable = 28;
    const std::uint32_t textTable = idTable + 8 * n;
    const std::uint32_t hashTable = textTable + 8 * n;
    std::uint32_t offset = hashTable + 4 * hashSize;
    std::string out;
    for (std::uint32_t v : {0x950412deu, 0u, n, idTable, textTable, hashSize, hashTable})
        Put32(out, v);
    std::string strings;
    for (int pass = 0; pass < 2; ++pass) {
        for (const auto& entry : entries) {
            const std::string& s = pass == 0 ? entry.first : entry.second;
            Put32(out, static_cast<std::uint32_t>(s.size()));
            Put32(out, offset + static_cast<std::uint32_t>(strings.size()));
            strings += s;
            strings += '\0';
        }
    }
    std::vector<std::uint32_t> hash(hashSize, 0);
    for (std::uint32_t i = 0; i < n; ++i) {
        const std::uint32_t h = GettextHash(entries[i].first.c_str());
        std::uint32_t idx = h % hashSize;
        const std::uint32_t incr = 1 + h % (hashSize - 2);
        while (hash[idx] != 0)
            idx = idx >= hashSize - incr ? idx - (hashSize - incr) : idx + incr;
        hash[idx] = i + 1;
    }
    for (std::uint32_t v : hash)
        Put32(out, v);
    return out + strings;
}

struct GettextFiles {
    bool ready = false;
    std::string root;
    std::string mo;
    std::vector<std::string> ids;

    GettextFiles() {
        if (!std::setlocale(LC_ALL, "C.UTF-8"))
            return;
        root = TheFiles().directory + "/locale";
        const std::string folder = root + "/C.UTF-8/LC_MESSAGES";
        if (std::system(("mkdir -p " + folder).c_str()) != 0)
            return;
        std::vector<std::pair<std::string, std::string>> entries = {
            {"", "Content-Type: text/plain; charset=UTF-8\n"}};
        for (int o = 0; o < kOrigins; ++o)
            for (int c = 0; c < kCodes; ++c) {
                ids.push_back(GettextId(o, c));
                entries.emplace_back(ids.back(), GettextText(o, c));
            }
        mo = folder + "/bench.mo";
        WriteFile(mo, MoFile(entries));
        bindtextdomain("bench", root.c_str());
        ready = std::strcmp(dgettext("bench", ids[5].c_str()), GettextText(0, 5).c_str()) == 0;
    }
};

GettextFiles& TheGettextFiles() {
    static GettextFiles files;
    return files;
}

void Gettext_Load(benchmark::State& state) {
    GettextFiles& files = TheGettextFiles();
    if (!files.ready) {
        state.SkipWithError("no gettext catalogue");
        return;
    }
    // gettext keeps every catalogue it loaded: each round loads a new domain.
    static int round = 0;
    for (auto _ : state) {
        state.PauseTiming();
        const std::string domain = "bench" + std::to_string(++round);
        const std::string link = files.mo.substr(0, files.mo.rfind('/') + 1) + domain + ".mo";
        const bool linked = ::link(files.mo.c_str(), link.c_str()) == 0;
        bindtextdomain(domain.c_str(), files.root.c_str());
        state.ResumeTiming();
        benchmark::DoNotOptimize(dgettext(domain.c_str(), files.ids[0].c_str()));
        if (!linked)
            state.SkipWithError("no link");
    }
}
BENCHMARK(Gettext_Load)->Iterations(100)->Unit(benchmark::kMicrosecond);

void Gettext_Lookup(benchmark::State& state) {
    GettextFiles& files = TheGettextFiles();
    if (!files.ready) {
        state.SkipWithError("no gettext catalogue");
        return;
    }
    int i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(dgettext("bench", files.ids[i].c_str()));
        i = i + 1 == kMessages ? 0 : i + 1;
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(Gettext_Lookup);

void Gettext_LookupAndFill(benchmark::State& state) {
    GettextFiles& files = TheGettextFiles();
    if (!files.ready) {
        state.SkipWithError("no gettext catalogue");
        return;
    }
    const std::string arguments[3] = {static_cast<const char*>(kFirst),
                                      static_cast<const char*>(kSecond),
                                      static_cast<const char*>(kThird)};
    int i = 0;
    for (auto _ : state) {
        const char* text = dgettext("bench", files.ids[i].c_str());
        std::string out;
        for (const char* p = text; *p; ++p) {
            if (p[0] == '%' && p[1] >= '1' && p[1] <= '3')
                out += arguments[*++p - '1'];
            else
                out += *p;
        }
        benchmark::DoNotOptimize(out);
        i = i + 1 == kMessages ? 0 : i + 1;
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(Gettext_LookupAndFill);

#endif

} // namespace
