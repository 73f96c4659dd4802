#include "bench/cases.h"
#include "bench/containers.h"
#include "common/container/list.h"
#include "common/container/lookup.h"
#include "common/container/vector.h"
#include "common/string.h"

#include <algorithm>
#include <list>
#include <map>
#include <numeric>
#include <random>
#include <string>

namespace Tarq::Bench {

namespace {

constexpr uint32 cCount = 1000;
constexpr uint64 cSum = uint64{cCount} * (cCount - 1) / 2;

/// Keys of 16 characters, in no order.
template <class Text>
std::vector<Text> makeKeys() {
    std::vector<Text> keys;
    for (uint32 number = 0; number < cCount; ++number) {
        const std::string digits = std::to_string(number * 7919 % 100000);
        keys.emplace_back(("key-" + std::string(12 - digits.size(), '0') + digits).c_str());
    }
    std::shuffle(keys.begin(), keys.end(), std::mt19937(1));
    return keys;
}

template <class Map>
void fillMap(Map& map, const std::vector<typename Map::key_type>& keys) {
    for (uint32 number = 0; number < cCount; ++number)
        map.try_emplace(keys[number], number);
}

template <class Map>
void insertKeys(benchmark::State& state) {
    const auto keys = makeKeys<typename Map::key_type>();
    uint64 entries = 0;
    for (auto _ : state) {
        auto map = makeContainer<Map>();
        fillMap(map, keys);
        entries += map.size();
    }
    countOperations(state, cCount);
    check(entries == static_cast<uint64>(state.iterations()) * cCount, "a key is missing");
}

template <class Map>
void findKeys(benchmark::State& state) {
    auto keys = makeKeys<typename Map::key_type>();
    auto map = makeContainer<Map>();
    fillMap(map, keys);
    std::shuffle(keys.begin(), keys.end(), std::mt19937(2));
    uint64 sum = 0;
    for (auto _ : state) {
        for (const auto& key : keys)
            sum += map.find(key)->second;
    }
    countOperations(state, cCount);
    check(sum == static_cast<uint64>(state.iterations()) * cSum, "a key has the wrong value");
}

template <class Sequence>
void pushElements(benchmark::State& state) {
    uint64 sum = 0;
    for (auto _ : state) {
        auto sequence = makeContainer<Sequence>();
        for (uint32 number = 0; number < cCount; ++number)
            sequence.push_back(number);
        benchmark::DoNotOptimize(sequence);
        sum += sequence.size() + sequence.back();
    }
    countOperations(state, cCount);
    check(sum == static_cast<uint64>(state.iterations()) * (cCount + cCount - 1), "an element is missing");

    auto sequence = makeContainer<Sequence>();
    for (uint32 number = 0; number < cCount; ++number)
        sequence.push_back(number);
    check(std::accumulate(sequence.begin(), sequence.end(), uint64{0}) == cSum, "an element is wrong");
}

using LookUp = Common::Container::LookUp<Common::String, uint32>;
using StandardMap = std::map<std::string, uint32>;

} // namespace

std::vector<Case> containerCases() {
    using namespace Common::Container;
    return {
        {"lookup/insert", insertKeys<LookUp>, {{"std::map", 1.0, insertKeys<StandardMap>}}},
        {"lookup/find", findKeys<LookUp>, {{"std::map", 1.0, findKeys<StandardMap>}}},
        {"vector/push", pushElements<Vector<uint32>>, {{"std::vector", 1.0, pushElements<std::vector<uint32>>}}},
        {"list/push", pushElements<List<uint32>>, {{"std::list", 1.0, pushElements<std::list<uint32>>}}},
    };
}

} // namespace Tarq::Bench
