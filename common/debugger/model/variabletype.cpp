#include "common/debugger/model/variabletype.h"

#include "common/debug/assert.h"
#include "common/network/message/internal/streamtypes.h"
#include "common/reflection/datatype/typeddatatype.h"

#include <type_traits>
#include <utility>

namespace Tarq::Common::Debugger {

using Network::Message::MessageBuilder;
using Network::Message::MessageReader;
using Network::Message::StreamIDs;

namespace {

/// A container takes its storage from where the variable takes its own: it becomes the variable's.
template <class T>
T makeValueBeside(const T& variable) {
    if constexpr (Network::Message::StreamContainer<T>::value)
        return T(variable.getAllocator());
    else
        return T();
}

} // namespace

VariableType::VariableType(StreamIDs type, const String& name, bool isWritable, ObjectType* owner, uint32 index)
    : mName(name), mObjectType(owner), mIndex(index), mType(type), mIsWritable(isWritable) {}

VariableType::~VariableType() = default;

template <Network::Message::StreamValue T>
TypedVariableType<T>::TypedVariableType(const String& name, bool isWritable, ObjectType* owner, uint32 index)
    : VariableType(Network::Message::getStreamID<T>(), name, isWritable, owner, index) {}

template <Network::Message::StreamValue T>
Reflection::Datatype::DatatypeID TypedVariableType<T>::getDatatypeID() const {
    return Reflection::Datatype::GET_DATATYPE_ID<T>();
}

template <Network::Message::StreamValue T>
bool TypedVariableType<T>::read(void* location, MessageReader& reader) const {
    T& variable = *static_cast<T*>(location);
    // A value that is cut off or of another type is not to be seen by the host, not even for a moment.
    T value = makeValueBeside(variable);
    if (!reader.readForceUseType(&value, getType(), true) || !reader.isFinished())
        return false;
    variable = std::move(value);
    return true;
}

template <Network::Message::StreamValue T>
void TypedVariableType<T>::write(const void* location, MessageBuilder& builder) const {
    builder.write(*static_cast<const T*>(location));
}

VariableType* VariableType::createVariableType(const Memory::AllocatorPtr& allocator, StreamIDs type,
                                               const String& name, bool isWritable, ObjectType* owner, uint32 index) {
    VariableType* created = nullptr;
    const auto make = [&]<class T>(std::type_identity<T>) {
        created = new (allocator) TypedVariableType<T>(name, isWritable, owner, index);
    };
    TARQ_ASSERT_AS(nullptr, Network::Message::visitStreamType(type, make), "variable type not supported yet: (", type,
                   ")");
    return created;
}

} // namespace Tarq::Common::Debugger
