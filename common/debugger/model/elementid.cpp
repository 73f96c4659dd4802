#include "common/debugger/model/elementid.h"

#include "common/debug/assert.h"

#include <iterator>
#include <string_view>

namespace Tarq::Common::Debugger {

namespace {

struct KindTexts {
    std::string_view kind;
    const char* secondTime;
    uint32 invalidID;
    const char* invalid;
};

constexpr KindTexts cKindTexts[] = {
    {"ObjectGroup", "Tried to set ObjectGroupID for second time", INVALID_OBJECT_GROUP_ID,
     "Tried to set ObjectGroupID with INVALID_OBJECT_GROUP_ID"},
    {"ObjectType", "Tried to set ObjectTypeID for second time", INVALID_OBJECT_TYPE_ID,
     "Tried to set ObjectTypeID with INVALID_OBJECT_TYPE_ID"},
    {"ObjectInstance", "Tried to set ObjectInstanceID for second time", INVALID_OBJECT_INSTANCE_ID,
     "Tried to set ObjectInstanceID with INVALID_OBJECT_INSTANCE_ID"},
    {"VariableType", "Tried to set VariableTypeID for second time", INVALID_VARIABLE_TYPE_ID,
     "Tried to set VariableTypeID with INVALID_VARIABLE_TYPE_ID"},
    {"BreakpointType", "Tried to set BreakpointTypeID for second time", INVALID_BREAKPOINT_TYPE_ID,
     "Tried to set BreakpointTypeID with INVALID_BREAKPOINT_TYPE_ID"},
    {"BreakpointInstance", "Tried to set BreakpointInstanceID for second time", INVALID_BREAKPOINT_INSTANCE_ID,
     "Tried to set BreakpointInstanceID with INVALID_BREAKPOINT_INSTANCE_ID"},
};

const KindTexts& textsOf(std::string_view kind) noexcept {
    const KindTexts* texts = cKindTexts;
    while (texts->kind != kind && texts + 1 != std::end(cKindTexts))
        ++texts;
    return *texts;
}

} // namespace

bool ElementID::set(uint32 id) {
    const KindTexts& texts = textsOf(mKind);
    if (!TARQ_ASSERT_AS(nullptr, mID == texts.invalidID, texts.secondTime) ||
        !TARQ_ASSERT_AS(nullptr, id != texts.invalidID, texts.invalid))
        return false;
    mID = id;
    return true;
}

} // namespace Tarq::Common::Debugger
