#pragma once

#include "common/export.h"
#include "common/reflection/datatype/datatypebase.h"
#include "common/types.h"

#include <concepts>
#include <type_traits>
#include <typeinfo>
#include <utility>

namespace Tarq::Common::Reflection::Datatype {

/// What makes a value from text: in bytes of `Memory::allocateBytes(allocator, sizeof(T))`, which go with `deleteValue`
/// and the same allocator. Null for a text that is no value. Without memory it returns null or throws
/// `OutOfMemoryException`.
template <class T>
using ParseFunction = T* (*)(const String& text, const Memory::AllocatorPtr& allocator);

/// The type that stands for all that differ from it only in spelling: `T` without reference, const and volatile; of
/// whole numbers the one of that size and sign (`char` is an int8, `long long` an int64).
template <class T>
struct NativeTypeOf {
    using Type = T;
};
template <class T>
    requires std::same_as<T, char> || std::same_as<T, signed char>
struct NativeTypeOf<T> {
    using Type = int8;
};
template <class T>
    requires std::same_as<T, long> || std::same_as<T, long long>
struct NativeTypeOf<T> {
    using Type = std::conditional_t<sizeof(T) == sizeof(int64), int64, int32>;
};
template <class T>
    requires std::same_as<T, unsigned long> || std::same_as<T, unsigned long long>
struct NativeTypeOf<T> {
    using Type = std::conditional_t<sizeof(T) == sizeof(uint64), uint64, uint32>;
};
template <class T>
using NativeType = typename NativeTypeOf<std::remove_cvref_t<T>>::Type;

/// The instance pointers of one module. When the module is unloaded, the type objects forget them.
class TARQ_LOCAL ModuleInstances {
public:
    ModuleInstances() = default;
    ~ModuleInstances() {
        for (InstanceSlot* slot = mFirst; slot; slot = slot->next) {
            if (slot->datatype)
                slot->datatype->removeInstance(*slot);
        }
    }
    ModuleInstances(const ModuleInstances&) = delete;
    ModuleInstances& operator=(const ModuleInstances&) = delete;

    void enlist(InstanceSlot& slot) noexcept {
        if (slot.isEnlisted)
            return;
        slot.isEnlisted = true;
        slot.next = std::exchange(mFirst, &slot);
    }

private:
    InstanceSlot* mFirst = nullptr;
};

/// The loader would make one of this of all modules, and keep those loaded that use it, were it not hidden.
TARQ_LOCAL inline ModuleInstances& moduleInstances() noexcept {
    static ModuleInstances instances;
    return instances;
}

/// This module's instance pointer for one native type.
template <class T>
struct TARQ_LOCAL DatatypeInstance {
    static constinit InstanceSlot sSlot;
};
template <class T>
constinit InstanceSlot DatatypeInstance<T>::sSlot;

/// The object of a type whose native type is known: finds it, and says what holds for types without operators and
/// functions of their own.
template <class T>
class TARQ_LOCAL TypedDatatype : public DatatypeBase {
public:
    using Native = T;

    /// What `getDatatypeID` returns, without a virtual call.
    using DatatypeBase::id;

    /// The object registered for T in this module; null while there is none.
    static TypedDatatype<NativeType<T>>* getInstance() noexcept {
        return static_cast<TypedDatatype<NativeType<T>>*>(DatatypeInstance<NativeType<T>>::sSlot.datatype);
    }
    static bool exists() noexcept { return DatatypeInstance<NativeType<T>>::sSlot.datatype != nullptr; }
    /// For registration.
    static InstanceSlot& getInstanceSlot() noexcept {
        InstanceSlot& slot = DatatypeInstance<NativeType<T>>::sSlot;
        moduleInstances().enlist(slot);
        return slot;
    }
    /// The compiler's name of T, the same in every module.
    static const char* getTypeName() noexcept { return typeid(NativeType<T>).name(); }
    /// For registration under `name`, which the description refers to.
    static DatatypeBase::Description describe(const String& name, bool isBasic) noexcept {
        return {name, getTypeName(), sizeof(NativeType<T>), alignof(NativeType<T>), isBasic, INVALID_DATATYPE_ID};
    }

    bool hasAddition() const override { return true; }
    bool hasSubstraction() const override { return true; }
    bool hasMultiplication() const override { return true; }
    bool hasDivision() const override { return true; }
    bool hasEqual() const override { return true; }
    bool hasUnequal() const override { return true; }
    bool hasGreater() const override { return true; }
    bool hasGreaterEqual() const override { return true; }
    bool hasSmaller() const override { return true; }
    bool hasSmallerEqual() const override { return true; }

    void callAddition(void*, const void*, const void*) const override { reportBasicOnly("callAddition"); }
    void callSubstraction(void*, const void*, const void*) const override { reportBasicOnly("callSubstraction"); }
    void callMultiplication(void*, const void*, const void*) const override { reportBasicOnly("callMultiplication"); }
    void callDivision(void*, const void*, const void*) const override { reportBasicOnly("callDivision"); }
    void callEqual(void*, const void*, const void*) const override { reportBasicOnly("callEqual"); }
    void callUnequal(void*, const void*, const void*) const override { reportBasicOnly("callUnequal"); }
    void callGreater(void*, const void*, const void*) const override { reportBasicOnly("callGreater"); }
    void callGreaterEqual(void*, const void*, const void*) const override { reportBasicOnly("callGreaterEqual"); }
    void callSmaller(void*, const void*, const void*) const override { reportBasicOnly("callSmaller"); }
    void callSmallerEqual(void*, const void*, const void*) const override { reportBasicOnly("callSmallerEqual"); }

    bool callFunction(void*, Function::FunctionID, void*, const Function::FunctionArgumentList&) const override {
        return reportNoFunctions();
    }
    bool callFunction(Function::FunctionID, void*, const Function::FunctionArgumentList&) const override {
        return reportNoFunctions();
    }

protected:
    using DatatypeBase::DatatypeBase;
};

TARQ_API void reportUnregisteredDatatype(const char* typeName);

/// The id of a native type: `GET_DATATYPE_ID<float>()`, `GET_DATATYPE_ID<void>()`.
///
/// Asserts that this module has registered T; `INVALID_DATATYPE_ID` otherwise.
template <class T>
TARQ_LOCAL DatatypeID GET_DATATYPE_ID() { // NOLINT(readability-identifier-naming): a contract
    if constexpr (std::is_void_v<T>) {
        return VOID_DATATYPE_ID;
    } else {
        const auto* const datatype = TypedDatatype<T>::getInstance();
        if (!datatype) [[unlikely]] {
            reportUnregisteredDatatype(TypedDatatype<T>::getTypeName());
            return INVALID_DATATYPE_ID;
        }
        return datatype->id();
    }
}

} // namespace Tarq::Common::Reflection::Datatype
