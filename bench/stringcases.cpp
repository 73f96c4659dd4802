#include "bench/cases.h"
#include "common/string.h"

#include <string>

namespace Tarq::Bench {

namespace {

constexpr const char* cText = "forty characters, as a sentence may have";
constexpr uint32 cLength = 40;
constexpr uint32 cAppends = 25;

template <class Text>
void makeTexts(benchmark::State& state) {
    const char* text = cText;
    for (auto _ : state) {
        benchmark::DoNotOptimize(text);
        Text made(text);
        benchmark::DoNotOptimize(made);
    }
    check(Text(text).length() == cLength && Text(text) == cText, "a text is wrong");
}

template <class Text>
void copyTexts(benchmark::State& state) {
    Text source(cText);
    for (auto _ : state) {
        benchmark::DoNotOptimize(source);
        Text copy(source);
        benchmark::DoNotOptimize(copy);
    }
    check(Text(source) == source && source == cText, "a copy is wrong");
}

template <class Text>
void appendTexts(benchmark::State& state) {
    Text piece(cText);
    uint64 length = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(piece);
        Text whole;
        for (uint32 count = 0; count < cAppends; ++count)
            whole += piece;
        benchmark::DoNotOptimize(whole);
        length += whole.length();
    }
    countOperations(state, cAppends);
    check(length == static_cast<uint64>(state.iterations()) * cAppends * cLength, "a piece is missing");
}

/// Equality and order, of texts that are equal and of texts whose last characters differ.
template <class Text>
void compareTexts(benchmark::State& state) {
    Text first(cText);
    Text same(cText);
    Text later(cText);
    later[cLength - 1] = 'f';
    uint64 differing = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(first);
        benchmark::DoNotOptimize(same);
        benchmark::DoNotOptimize(later);
        differing += (first == same ? 0u : 1u) + (first == later ? 0u : 1u) + (first < same ? 1u : 0u) +
                     (first < later ? 1u : 0u);
    }
    countOperations(state, 4);
    check(differing == static_cast<uint64>(state.iterations()) * 2, "a comparison is wrong");
}

} // namespace

std::vector<Case> stringCases() {
    using Common::String;
    const char* const peer = "std::string";
    return {
        {"string/make", makeTexts<String>, {{peer, 1.0, makeTexts<std::string>}}},
        {"string/copy", copyTexts<String>, {{peer, 1.0, copyTexts<std::string>}}},
        {"string/append", appendTexts<String>, {{peer, 1.0, appendTexts<std::string>}}},
        {"string/compare", compareTexts<String>, {{peer, 1.0, compareTexts<std::string>}}},
    };
}

} // namespace Tarq::Bench
