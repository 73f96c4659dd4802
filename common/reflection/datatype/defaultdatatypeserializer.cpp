#include "common/reflection/datatype/defaultdatatypeserializer.h"

#include "common/debug/assert.h"

#include <string_view>

namespace Tarq::Common::Reflection::Datatype {

void checkSerializedItem(const char* foundName, const SerializedItem& expected) {
    // Tools see this text, both blanks included; do not correct it.
    TARQ_ASSERT_AS(expected.condition, !foundName || std::string_view(foundName) == expected.name,
                   "Serialization error: attribute with type: \"", foundName,
                   "\"  found, but expected: ", expected.name, " in object: ", expected.object);
}

} // namespace Tarq::Common::Reflection::Datatype
