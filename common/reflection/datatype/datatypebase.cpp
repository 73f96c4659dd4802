#include "common/reflection/datatype/datatypebase.h"

#include "common/debug/assert.h"
#include "common/memory/allocate.h"
#include "common/memory/memoryexception.h"
#include "common/reflection/datatype/typeddatatype.h"

#include <algorithm>

namespace Tarq::Common::Reflection::Datatype {

DatatypeBase::DatatypeBase(const Description& description)
    : mInstanceSlots(getAllocator()), mName(description.name), mTypeName(description.typeName), mSize(description.size),
      mAlignment(description.alignment), mID(description.id), mIsBasic(description.isBasic) {}

DatatypeBase::~DatatypeBase() {
    for (const Instance& instance : mInstanceSlots)
        instance.slot->datatype = nullptr;
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
    mParseFunction = nullptr;
    for (const Instance& instance : mInstanceSlots) {
        if (instance.parseFunction)
            mParseFunction = instance.parseFunction;
    }
}

bool DatatypeBase::isOf(const char* typeName, bool isBasic) const noexcept {
    // An object with the operators of a class is one without as well.
    return mTypeName == typeName && (isBasic || !mIsBasic);
}

void* DatatypeBase::createCopy(const void* source, const Memory::AllocatorPtr& allocator) const {
    void* bytes = nullptr;
    try {
        bytes = Memory::allocateBytes(allocator, mSize);
        constructCopy(source, bytes);
        return bytes;
    } catch (Memory::OutOfMemoryException* exception) {
        const Exceptions::Holder holder(exception);
        Memory::releaseBytes(allocator, bytes);
        return nullptr;
    } catch (...) {
        Memory::releaseBytes(allocator, bytes);
        throw;
    }
}

void DatatypeBase::release(void* value, const Memory::AllocatorPtr& allocator) const {
    destruct(value);
    Memory::releaseBytes(allocator, value);
}

bool DatatypeBase::reportNoParseFunction() const {
    return TARQ_ASSERT(mParseFunction, "no parse function defined for type: ", mName);
}

bool DatatypeBase::reportNoSerializer() const {
    return TARQ_FAIL("no serializer defined for type: ", mName);
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
