// XML escape of a 1 KB text against five find(char)/replace passes over it.
#include <benchmark/benchmark.h>

#include <string>
#include <string_view>
#include <utility>

#include "cfistringtool.h"

namespace {

// 1024 characters with that many specials, of all five kinds in turn, spread over it.
std::string textWith(std::size_t specials) {
    const std::string_view kinds = "&<>\"'";
    std::string text(1024, 'x');
    for (std::size_t i = 0; i < specials; ++i) {
        text[i * text.size() / specials] = kinds[i % kinds.size()];
    }
    return text;
}

void replaceAll(std::string& text, char character, std::string_view entity) {
    for (std::size_t at = text.find(character); at != std::string::npos;
         at = text.find(character, at + entity.size())) {
        text.replace(at, 1, entity);
    }
}

std::string escapedInFivePasses(const std::string& text) {
    std::string result = text;
    replaceAll(result, '&', "&amp;");
    replaceAll(result, '<', "&lt;");
    replaceAll(result, '>', "&gt;");
    replaceAll(result, '"', "&quot;");
    replaceAll(result, '\'', "&#39;");
    return result;
}

template <std::string (*escape)(const std::string&)>
void escapeOneKilobyte(benchmark::State& state) {
    const std::string text = textWith(static_cast<std::size_t>(state.range(0)));
    if (escape(text) != escapedInFivePasses(text)) {
        state.SkipWithError("the two ways disagree");
        return;
    }
    for (auto _ : state) {
        benchmark::DoNotOptimize(escape(text));
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
}

void BM_FivePasses(benchmark::State& state) {
    escapeOneKilobyte<escapedInFivePasses>(state);
}

void BM_Escape(benchmark::State& state) {
    escapeOneKilobyte<kzfi_pdk_4_4::CFiStringTool::convertToXmlSpecialCharacters>(state);
}

} // namespace

BENCHMARK(BM_FivePasses)->Arg(0)->Arg(8)->Arg(128);
BENCHMARK(BM_Escape)->Arg(0)->Arg(8)->Arg(128);
