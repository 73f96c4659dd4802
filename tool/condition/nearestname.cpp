#include "tool/condition/nearestname.h"

#include <algorithm>
#include <array>
#include <limits>

namespace Tarq::Tool {

using namespace Common;

namespace {

/// Names are compared up to here: nobody sees a difference further behind.
constexpr std::size_t cMostCompared = 64;

} // namespace

uint32 distanceOf(std::string_view a, std::string_view b) noexcept {
    a = a.substr(0, cMostCompared);
    b = b.substr(0, cMostCompared);
    std::array<uint32, cMostCompared + 1> row{};
    for (uint32 column = 0; column <= b.size(); ++column)
        row[column] = 2 * column;
    for (uint32 line = 0; line < a.size(); ++line) {
        uint32 diagonal = row[0];
        row[0] += 2;
        for (uint32 column = 0; column < b.size(); ++column) {
            const bool isSame = a[line] == b[column];
            const bool isSameLetter =
                CharacterTraits<char>::toLower(a[line]) == CharacterTraits<char>::toLower(b[column]);
            const uint32 replaced = diagonal + (isSame ? 0 : isSameLetter ? 1 : 2);
            diagonal = row[column + 1];
            row[column + 1] = std::min({replaced, diagonal + 2, row[column] + 2});
        }
    }
    return row[b.size()];
}

const ConditionVariable* findNearestName(std::string_view name, const Container::Vector<ConditionVariable>& variables) {
    const ConditionVariable* nearest = nullptr;
    uint32 least = std::numeric_limits<uint32>::max();
    for (const ConditionVariable& variable : variables) {
        const uint32 distance = distanceOf(name, variable.name);
        if (distance >= least)
            continue;
        least = distance;
        nearest = &variable;
    }
    return nearest;
}

} // namespace Tarq::Tool
