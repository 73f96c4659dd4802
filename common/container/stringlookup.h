#pragma once

#include "common/container/lookup.h"
#include "common/string.h"

namespace Tarq::Common::Container {

/// A map from a name to a value, ordered by name. Names are looked for as they come, without making a string of them.
template <class V>
class StringLookUp : public LookUp<String, V, std::less<String>> {
    using Base = LookUp<String, V, std::less<String>>;

public:
    using Base::Base;
    using typename Base::const_iterator;
    using typename Base::iterator;

    iterator find(String::Text name) { return findName(name); }
    const_iterator find(String::Text name) const { return findName(name); }
    bool contains(String::Text name) const { return findName(name) != this->end(); }
    /// Throws `std::out_of_range` for a name that is not there.
    V& at(String::Text name) { return this->checked(findName(name))->second; }
    const V& at(String::Text name) const { return this->checked(findName(name))->second; }

private:
    iterator findName(String::Text name) const {
        return this->findWith([name](const String& other) { return other < name; },
                              [name](const String& other) { return name < other; });
    }
};

} // namespace Tarq::Common::Container
