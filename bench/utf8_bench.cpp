// length() of 64 KiB of UTF-8 against a straight count of its lead bytes.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <string>

#include "cfiutf8string.h"

namespace {

using Quillon::Stoneleaf::Framework::UTF8String;

// One script each, and a mixture.
const char* const WORDS[] = {"volume ", "Gerät Größe ", "том диска ", "快照卷", "disk 卷 é 😀 "};

std::string textOf(const std::string& word) {
    std::string text;
    while (text.size() < std::size_t{64} * 1024) {
        text += word;
    }
    return text;
}

bool isLead(char c) {
    return (static_cast<unsigned char>(c) & 0xC0U) != 0x80U;
}

unsigned int leadBytes(const std::string& text) {
    return static_cast<unsigned int>(std::count_if(text.begin(), text.end(), isLead));
}

void BM_LeadBytes(benchmark::State& state) {
    const std::string text = textOf(WORDS[state.range(0)]);
    for (auto _ : state) {
        benchmark::ClobberMemory();
        benchmark::DoNotOptimize(leadBytes(text));
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
}

void BM_Length(benchmark::State& state) {
    const std::string bytes = textOf(WORDS[state.range(0)]);
    const UTF8String text(bytes);
    if (text.length() != leadBytes(bytes)) {
        state.SkipWithError("the two ways disagree");
        return;
    }
    for (auto _ : state) {
        benchmark::ClobberMemory();
        benchmark::DoNotOptimize(text.length());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes.size()));
}

} // namespace

BENCHMARK(BM_LeadBytes)->DenseRange(0, 4);
BENCHMARK(BM_Length)->DenseRange(0, 4);
