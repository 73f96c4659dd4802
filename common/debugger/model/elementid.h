#pragma once

#include "common/export.h"
#include "common/types.h"

namespace Tarq::Common::Debugger {

inline constexpr uint32 INVALID_OBJECT_GROUP_ID = 0xFFFFFFFF;
inline constexpr uint32 INVALID_OBJECT_TYPE_ID = 0xFFFFFFFF;
inline constexpr uint32 INVALID_OBJECT_INSTANCE_ID = 0xFFFFFFFF;
inline constexpr uint32 INVALID_VARIABLE_TYPE_ID = 0xFFFFFFFF;
inline constexpr uint32 INVALID_BREAKPOINT_TYPE_ID = 0xFFFFFFFF;
inline constexpr uint32 INVALID_BREAKPOINT_INSTANCE_ID = 0xFFFFFFFF;

/// The ID of one element of a module: none at first, and then for good the slot that the element has been given.
///
///     ElementID mID{"ObjectGroup"};
class TARQ_API ElementID {
public:
    /// `kind` is one of "ObjectGroup", "ObjectType", "ObjectInstance", "VariableType", "BreakpointType" and
    /// "BreakpointInstance", and stays.
    explicit constexpr ElementID(const char* kind) noexcept : mKind(kind) {}

    /// The invalid ID, as long as none is set.
    uint32 get() const noexcept { return mID; }
    /// Asserts, with the kind's name, that none has been set, and that it is not the invalid one; false, and nothing
    /// changes, otherwise.
    bool set(uint32 id);

private:
    const char* mKind;
    uint32 mID = 0xFFFFFFFF;
};

} // namespace Tarq::Common::Debugger
