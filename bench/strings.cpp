// TString: the cost of the exact-size storage rules (every change allocates)
// against std::string, for the operations the library uses most.
#include "TString.h"

#include <string>

#include <benchmark/benchmark.h>

namespace {

void AppendCharacters_TString(benchmark::State& state) {
    for (auto _ : state) {
        TString s;
        for (int i = 0; i < state.range(0); ++i)
            s += 'x';
        benchmark::DoNotOptimize(s.GetLength());
    }
}
BENCHMARK(AppendCharacters_TString)->Arg(16)->Arg(256);

void AppendCharacters_StdString(benchmark::State& state) {
    for (auto _ : state) {
        std::string s;
        for (int i = 0; i < state.range(0); ++i)
            s += 'x';
        benchmark::DoNotOptimize(s.size());
    }
}
BENCHMARK(AppendCharacters_StdString)->Arg(16)->Arg(256);

void TokenizePath(benchmark::State& state) {
    for (auto _ : state) {
        TString path("c:\\program files\\kelmo\\plotter\\settings\\device.ini");
        int parts = 0;
        while (!path.IsEmpty()) {
            path.Token('\\');
            ++parts;
        }
        benchmark::DoNotOptimize(parts);
    }
}
BENCHMARK(TokenizePath);

void FormatNumbers(benchmark::State& state) {
    TString s;
    for (auto _ : state) {
        s.Format("%s=%ld (0x%08lx)", "key", 123456789L, 123456789L);
        benchmark::DoNotOptimize(s.GetLength());
    }
}
BENCHMARK(FormatNumbers);

void ParseValue(benchmark::State& state) {
    const TString text("0x7FFF1234");
    for (auto _ : state) {
        unsigned long v = 0;
        benchmark::DoNotOptimize(text.Value(v, 16, nullptr));
        benchmark::DoNotOptimize(v);
    }
}
BENCHMARK(ParseValue);

void ReplaceAll(benchmark::State& state) {
    const TString text("a;b;c;d;e;f;g;h;i;j;k;l;m;n;o;p;q;r;s;t;u;v;w;x;y;z");
    for (auto _ : state) {
        TString s(text);
        benchmark::DoNotOptimize(s.Replace(";", ", ", 1));
    }
}
BENCHMARK(ReplaceAll);

} // namespace
