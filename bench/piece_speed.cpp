// How fast single pieces of the engine are.
//
// Measured: input bytes a second of CPU time; more is better. The machine's speed changes from hour
// to hour, so compare the rows of one run only.
//
//   piece_speed [--benchmark_filter=REGEX]
//
// filter/...    the markup filter, all elements, in chunks of 64 KiB; filter/copy is memcpy() of
//               the same chunks, which no filter can exceed
// normalise/... the normaliser, by mode and kernel (0 plain, 1 baseline, 2 avx2, 3 avx512)
// md5           the digest of the input
// keywords/...  a matchKeywords() call that finds nothing, by the length of the text
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "scan/filter/MarkupFilter.h"
#include "scan/normalise/Normaliser.h"
#include "support/MD5.h"
#include "support/VectorUnit.h"
#include "zvkengine.h"

namespace {

using QLT_SPACE::VectorUnit;
using STREAMENGINE_SPACE::MarkupFilter;
using STREAMENGINE_SPACE::Normaliser;

constexpr size_t kChunk = 65536;
constexpr size_t kInput = 256 * kChunk;
constexpr const char* kPage =
    "<div class=\"entry wide\"><h2 id=\"e1\">A Heading</h2>\n<p>Some text, as long as a "
    "paragraph's is "
    "on many a page; <b>bold</b> and <a href=\"/a/long/path/to/another.html\">linked</a> words are "
    "in it.</p>\n<!-- a comment -->\n<ul>\n  <li>One</li>\n  <li>Two</li>\n</ul></div>\n"
    "<script type=\"text/javascript\">for (var i = 0; i < 10; ++i) { call(i, \"text\"); "
    "}</script>\n";
constexpr const char* kWords = "the quick brown fox jumps over the lazy dog and runs on. ";

std::string repeated(const std::string& text, size_t length) {
    std::string out;
    while (out.size() < length) out += text;
    out.resize(length);
    return out;
}

/// Calls piece(chunk, length, out) for each chunk of the input.
template <class Piece>
void runChunks(benchmark::State& state, const std::string& text, Piece piece) {
    const std::string input = repeated(text, kInput);
    std::vector<char> out(kChunk + MarkupFilter::kMostHeld);
    while (state.KeepRunning()) {
        for (size_t i = 0; i < input.size(); i += kChunk) piece(&input[i], kChunk, out.data());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(kInput));
}

void filterText(benchmark::State& state, const std::string& text) {
    MarkupFilter filter;
    runChunks(state, text, [&](const char* chunk, size_t length, char* out) {
        filter.getBufferFilter(chunk, static_cast<uint32_t>(length), out,
                               ZVK_FILTER_OBJECTS | ZVK_FILTER_SCRIPTS);
    });
}

void copyText(benchmark::State& state) {
    runChunks(state, kWords,
              [](const char* chunk, size_t length, char* out) { std::memcpy(out, chunk, length); });
}

void normalise(benchmark::State& state) {
    const auto unit = static_cast<VectorUnit>(state.range(1));
    if (!hasVectorUnit(unit)) {
        state.SkipWithError("this machine does not have the kernel");
        return;
    }
    Normaliser normaliser(unit);
    normaliser.setMarkupMode(state.range(0) != 0);
    runChunks(state, kPage, [&](const char* chunk, size_t length, char* out) {
        auto left = static_cast<unsigned int>(length);
        normaliser.getBuffer(chunk, left, out, kChunk);
    });
}

void digest(benchmark::State& state) {
    QLT_SPACE::MD5 md5;
    runChunks(state, kWords, [&](const char* chunk, size_t length, char*) {
        md5.update(reinterpret_cast<const unsigned char*>(chunk), length);
    });
}

void matchText(benchmark::State& state) {
    std::vector<std::string> keywords(3000);
    std::vector<const char*> array(keywords.size() + 1);  // ended by a null pointer
    for (size_t i = 0; i < keywords.size(); ++i) {
        keywords[i] = "keyword" + std::to_string(i);
        array[i] = keywords[i].c_str();
    }
    updateKeywords(array.data());
    const ZVKScanEngineCallbacks callbacks = {
        [](void*, ZVK_ENGINE_EVENT_TYPE, const void*, void*) { return 0; }};
    std::string text = repeated(kWords, static_cast<size_t>(state.range(0)));
    while (state.KeepRunning()) {
        const int32_t found =
            matchKeywords(&callbacks, &text, text.data(), static_cast<uint32_t>(text.size()));
        if (found != 0) state.SkipWithError("a keyword was found");
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}

BENCHMARK(copyText)->Name("filter/copy");
BENCHMARK_CAPTURE(filterText, plain, std::string(kWords))->Name("filter/plain");
BENCHMARK_CAPTURE(filterText, markup, std::string("<p class=a>") + kWords + "<a href=b>c</a></p>")
    ->Name("filter/markup");
BENCHMARK_CAPTURE(filterText, scripts,
                  std::string("<script>if (a < b) c();</script><p>") + kWords + "</p>")
    ->Name("filter/scripts");
BENCHMARK_CAPTURE(filterText, brackets, std::string("<"))->Name("filter/brackets");
BENCHMARK(normalise)->ArgNames({"markup", "kernel"})->ArgsProduct({{0, 1}, {0, 1, 2, 3}});
BENCHMARK(digest)->Name("md5");
BENCHMARK(matchText)->Name("keywords")->Arg(64)->Arg(1024)->Arg(1 << 20);

}  // namespace
