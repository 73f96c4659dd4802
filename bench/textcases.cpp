#include "bench/cases.h"
#include "common/reflection/datatype/stringconversionfunctions.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <random>

namespace Tarq::Bench {

namespace {

using Common::int32;
using Common::Math::Vec3f;

constexpr uint32 cTexts = 1000;

using Random = std::mt19937;
using MakeText = std::string (*)(Random& random);

/// Numbers of `bits` or less and a sign: as many with one bit as with all.
int32 makeNumber(Random& random, unsigned bits) {
    const auto number = static_cast<int32>(random());
    return number >> (32 - bits + random() % (bits - 1));
}

std::string makeIntText(Random& random) {
    return std::to_string(makeNumber(random, 32));
}

/// Like "3.25", "-0.001" and "12345.678" in most cases, like "1e-3" in others.
std::string makeDoubleText(Random& random) {
    constexpr double cPowers[] = {1, 10, 100, 1000, 10000};
    char text[32];
    if (random() % 16 == 0) {
        const int exponent = static_cast<int>(random() % 13) - 6;
        std::snprintf(text, sizeof(text), "%de%d", makeNumber(random, 10), exponent);
    } else {
        const int decimals = static_cast<int>(random() % std::size(cPowers));
        std::snprintf(text, sizeof(text), "%.*f", decimals, makeNumber(random, 30) / cPowers[decimals]);
    }
    return text;
}

/// Like "(1.5,2,-3.25)" and "1.5 2 -3.25".
std::string makeVectorText(Random& random) {
    const auto makeComponent = [&random] {
        char text[32];
        std::snprintf(text, sizeof(text), "%.7g", makeNumber(random, 20) / (random() % 2 == 0 ? 4.0 : 100.0));
        return std::string(text);
    };
    const std::string x = makeComponent();
    const std::string y = makeComponent();
    const std::string z = makeComponent();
    return random() % 2 == 0 ? "(" + x + "," + y + "," + z + ")" : x + " " + y + " " + z;
}

/// Numbers take no memory.
constinit const Common::Memory::AllocatorPtr cNoAllocator;

template <class T>
T convertByOurs(const std::string& text) {
    return Common::Reflection::Datatype::TextForm<T>::convert(text, cNoAllocator);
}

int32 convertByAtoi(const std::string& text) {
    return std::atoi(text.c_str());
}

double convertByAtof(const std::string& text) {
    return std::atof(text.c_str());
}

/// The first form that gives a component is the one that counts.
Vec3f convertBySscanf(const std::string& text) {
    Vec3f vector;
    auto& [x, y, z] = vector;
    if (std::sscanf(text.c_str(), "%f %f %f", &x, &y, &z) <= 0 &&
        std::sscanf(text.c_str(), "(%f,%f,%f)", &x, &y, &z) <= 0)
        std::sscanf(text.c_str(), "(%f/%f/%f)", &x, &y, &z);
    return vector;
}

/// The texts are the same in every run. What the peer makes of them is right.
template <auto Convert, auto Reference>
void convertTexts(benchmark::State& state, MakeText make) {
    Random random;
    std::vector<std::string> texts(cTexts);
    std::ranges::generate(texts, [&] { return make(random); });
    std::vector<decltype(Convert(texts[0]))> values(cTexts);
    for (auto _ : state) {
        for (uint32 index = 0; index < cTexts; ++index)
            values[index] = Convert(texts[index]);
        benchmark::ClobberMemory();
    }
    countOperations(state, cTexts);
    check(std::ranges::equal(values, texts, {}, {}, Reference), "a value is wrong");
}

template <auto Ours, auto Theirs>
Case textCase(const char* name, MakeText make, const char* peer, double goal) {
    return {name,
            [make](benchmark::State& state) { convertTexts<Ours, Theirs>(state, make); },
            {{peer, goal, [make](benchmark::State& state) { convertTexts<Theirs, Theirs>(state, make); }}}};
}

} // namespace

std::vector<Case> textCases() {
    return {
        textCase<convertByOurs<int32>, convertByAtoi>("text/int", makeIntText, "atoi", 0.4),
        textCase<convertByOurs<double>, convertByAtof>("text/double", makeDoubleText, "atof", 0.35),
        textCase<convertByOurs<Vec3f>, convertBySscanf>("text/Vec3f", makeVectorText, "sscanf", 0.25),
    };
}

} // namespace Tarq::Bench
