#pragma once

#include <compare>

namespace Tarq::Common {

/// A number that names an entry of one kind of registry. `Registry` keeps the numbers of different registries apart;
/// `Tag` those of one registry that has several kinds.
///
/// A wrapper that is made without a number names nothing: its value is the largest that `Value` has.
template <class Value, class Registry, int Tag>
class IDWrapper {
public:
    constexpr IDWrapper() noexcept = default;
    constexpr explicit IDWrapper(Value value) noexcept : mValue(value) {}

    friend constexpr bool operator==(IDWrapper, IDWrapper) noexcept = default;
    // NOLINTNEXTLINE(modernize-use-nullptr): a comparison with 0 is how ordering works
    friend constexpr auto operator<=>(IDWrapper, IDWrapper) noexcept = default;
    /// The number itself.
    // NOLINTNEXTLINE(readability-identifier-naming): a contract
    friend constexpr Value GetIDWrapperValue(IDWrapper id) noexcept { return id.mValue; }

private:
    Value mValue = static_cast<Value>(-1);
};

} // namespace Tarq::Common
