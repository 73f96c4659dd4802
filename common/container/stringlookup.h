#pragma once

#include "common/container/lookup.h"
#include "common/string.h"

namespace Tarq::Common::Container {

/// A map from a name to a value, ordered by name.
template <class V>
class StringLookUp : public LookUp<String, V, std::less<String>> {
public:
    using LookUp<String, V, std::less<String>>::LookUp;
};

} // namespace Tarq::Common::Container
