#include "common/reflection/datatype/datatypebase.h"

#include "common/debug/assert.h"
#include "common/memory/allocate.h"
#include "common/memory/memoryexception.h"
#include "common/reflection/datatype/typeddatatype.h"

#include <algorithm>

namespace Tarq::Common::Reflection::Datatype {

namespace {

/// What `make` makes; null when that takes more memory than there is.
template <class Make>
void* makeOrNull(Make make) {
    try {
        return make();
    } catch (Memory::OutOfMemoryException* exception) {
        const Exceptions::Holder holder(exception);
        return nullptr;
    }
}

/// A value in bytes of its own; null without memory.
template <class Construct>
void* makeValue(const Memory::AllocatorPtr& allocator, uint32 size, Construct construct) {
    return makeOrNull([&] {
        void* const bytes = Memory::allocateBytes(allocator, size);
        try {
            construct(bytes);
        } catch (...) {
            Memory::releaseBytes(allocator, bytes);
            throw;
        }
        return bytes;
    });
}

} // namespace

DatatypeBase::DatatypeBase(const Description& description)
    : mInstanceSlots(getAllocator()), mName(description.name), mTypeName(description.typeName), mSize(description.size),
      mAlignment(description.alignment), mID(description.id), mIsBasic(description.isBasic) {}

DatatypeBase::~DatatypeBase() {
    for (const Instance& instance : mInstanceSlots)
        instance.slot->datatype = nullptr;
}

void DatatypeBase::constructDefault(void* target) const {
    getDefaultValue(target);
}

DatatypeID DatatypeBase::getDatatypeID() const {
    return mID;
}

String DatatypeBase::getName() const {
    return mName;
}

uint32 DatatypeBase::getSize() const {
    return mSize;
}

void DatatypeBase::destroyValue(void* value) const {
    deleteValue(value, getAllocator());
}

void* DatatypeBase::createValueCopy(const void* source, const Memory::AllocatorPtr& allocator) const {
    return makeValue(allocator, mSize, [&](void* bytes) { constructCopy(source, bytes); });
}

void* DatatypeBase::createValue(const Memory::AllocatorPtr& allocator) const {
    return makeValue(allocator, mSize, [&](void* bytes) { getDefaultValue(bytes); });
}

void* DatatypeBase::createValueCopy(const void* source) const {
    return createValueCopy(source, getAllocator());
}

void* DatatypeBase::createValue() const {
    return createValue(getAllocator());
}

void DatatypeBase::deleteValue(void* value, const Memory::AllocatorPtr& allocator) const {
    destruct(value);
    Memory::releaseBytes(allocator, value);
}

void DatatypeBase::deleteValue(void* value) const {
    deleteValue(value, getAllocator());
}

void* DatatypeBase::parse(const String& text, const Memory::AllocatorPtr& allocator, ParseCall* call) const {
    const AnyFunction parseFunction = mParseFunction;
    if (!TARQ_ASSERT_AS("mParseFunction", parseFunction, "no parse function defined for type: ", mName))
        return nullptr;
    return makeOrNull([&] { return call(parseFunction, text, allocator); });
}

void DatatypeBase::addInstance(InstanceSlot& slot, AnyFunction parseFunction) {
    mInstanceSlots.push_back(Instance{&slot, parseFunction});
    slot.datatype = this;
    chooseParseFunction();
}

void DatatypeBase::removeInstance(InstanceSlot& slot) noexcept {
    const auto removed = std::ranges::find(mInstanceSlots, &slot, &Instance::slot);
    if (removed == mInstanceSlots.end())
        return;
    slot.datatype = nullptr;
    mInstanceSlots.erase(removed);
    chooseParseFunction();
}

void DatatypeBase::chooseParseFunction() noexcept {
    AnyFunction newest = nullptr;
    for (const Instance& instance : mInstanceSlots) {
        if (instance.parseFunction)
            newest = instance.parseFunction;
    }
    mParseFunction = newest;
}

bool DatatypeBase::isOf(const Description& description) const noexcept {
    // Two modules may have been compiled with two versions of a type, or have two types of one name.
    return mTypeName == description.typeName && mSize == description.size && mAlignment == description.alignment &&
           (description.isBasic || !mIsBasic);
}

void DatatypeBase::reportNoSerializer() const {
    TARQ_FAIL("no serializer defined for type: ", mName);
}

void DatatypeBase::reportBasicOnly(const char* operation) {
    TARQ_FAIL(operation, " only usable with non basic datatypes");
}

bool DatatypeBase::reportNoFunctions() {
    return TARQ_FAIL("Datatype does not have any functions");
}

void DatatypeBase::reportNoOperator(const char* operation) const {
    TARQ_FAIL(operation, " is not supported by type: ", mName);
}

void reportUnregisteredDatatype(const char* typeName) {
    TARQ_ASSERT_AS("TypedDatatype<T_DATATYPE>::exists()", false, "requested DataType: \"", typeName,
                   "\" is not registered");
}

} // namespace Tarq::Common::Reflection::Datatype
