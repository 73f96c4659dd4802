#pragma once

#include "common/reflection/datatype/datatypemanager.h"
#include "common/reflection/datatype/datatypeoperators.h"
#include "common/reflection/datatype/defaultdatatypeserializer.h"
#include "common/reflection/datatype/typeddatatype.h"
#include "common/reflection/function/functionregistrar.h"

#include <memory>

namespace Tarq::Common::Reflection::Datatype {

/// The concrete type of the fundamental types, and what class types share with them.
///
/// Made by `DatatypeManager::registerDatatype`. A type can be stored when it has a `DatatypeSerializer`, which is to be
/// declared with the type: in sight of one source that registers the type and not of another, it counts or does not
/// count for both.
template <class T>
class TARQ_LOCAL Datatype : public TypedDatatype<T> {
    static_assert(alignof(T) <= sizeof(void*), "allocators align to a word");

public:
    static constexpr bool cIsBasic = true;

    void constructCopy(const void* source, void* target) const override {
        if (target)
            std::construct_at(static_cast<T*>(target), *static_cast<const T*>(source));
    }
    void getDefaultValue(void* target) const override { Datatype::constructCopy(&mDefaultValue, target); }
    void assign(const void* source, void* target) const override {
        *static_cast<T*>(target) = *static_cast<const T*>(source);
    }
    void destruct(void* value) const override {
        if (value)
            std::destroy_at(static_cast<T*>(value));
    }
    void* parseValue(const String& text, const Memory::AllocatorPtr& allocator) const override {
        return this->parse(text, allocator, &callParseFunction);
    }

    Function::FunctionID getFunctionID(const String& name,
                                       const Container::Vector<DatatypeID>& signature) const override {
        return mFunctions.getFunctionID(name, signature);
    }
    bool getArgumentSignature(Container::Vector<DatatypeID>& signature, Function::FunctionID id) const override {
        return mFunctions.getArgumentSignature(signature, id);
    }
    DatatypeID getReturnValueType(Function::FunctionID id) const override { return mFunctions.getReturnValueType(id); }
    bool callFunction(void* result, Function::FunctionID id, void* object,
                      const Function::FunctionArgumentList& arguments) const override {
        return mFunctions.callFunction(result, id, object, arguments);
    }
    bool callFunction(Function::FunctionID id, void* object,
                      const Function::FunctionArgumentList& arguments) const override {
        return mFunctions.callFunction(id, object, arguments);
    }

    void writeValue(const void* value, Serialize::SerializeStorage* storage) const override {
        if (mWriteFunction)
            mWriteFunction(storage, *static_cast<const T*>(value));
        else
            this->reportNoSerializer();
    }
    void readValue(void* value, Serialize::SerializeStorage* storage) const override {
        if (mReadFunction)
            mReadFunction(storage, *static_cast<T*>(value));
        else
            this->reportNoSerializer();
    }

    virtual DatatypeID getID() const { return this->id(); }
    virtual bool isBasicDatatype() const { return true; }

    /// The type's member functions, for registering more of them.
    Function::FunctionRegistrar& getFunctions() noexcept { return mFunctions; }

protected:
    friend class DatatypeManager;

    Datatype(const DatatypeBase::Description& description, const T& defaultValue)
        : TypedDatatype<T>(description), mDefaultValue(defaultValue), mFunctions(this->getAllocator()) {
        if constexpr (HasDatatypeSerializer<T>) {
            mReadFunction = &DatatypeSerializer<T>::readValue;
            mWriteFunction = &DatatypeSerializer<T>::writeValue;
        }
    }

private:
    static void* callParseFunction(DatatypeBase::AnyFunction parseFunction, const String& text,
                                   const Memory::AllocatorPtr& allocator) {
        return reinterpret_cast<ParseFunction<T>>(parseFunction)(text, allocator);
    }

    T mDefaultValue;
    Function::FunctionRegistrar mFunctions;
    void (*mReadFunction)(Serialize::SerializeStorage* storage, T& value) = nullptr;
    void (*mWriteFunction)(Serialize::SerializeStorage* storage, const T& value) = nullptr;
};

/// The concrete type of class types, which have operators of their own.
template <class T>
class TARQ_LOCAL NFDatatype : public Datatype<T> {
public:
    static constexpr bool cIsBasic = false;

    bool hasAddition() const override { return isBound(cOperators.addition); }
    bool hasSubstraction() const override { return isBound(cOperators.substraction); }
    bool hasMultiplication() const override { return isBound(cOperators.multiplication); }
    bool hasDivision() const override { return isBound(cOperators.division); }
    bool hasEqual() const override { return isBound(cOperators.equal); }
    bool hasUnequal() const override { return isBound(cOperators.unequal); }
    bool hasGreater() const override { return isBound(cOperators.greater); }
    bool hasGreaterEqual() const override { return isBound(cOperators.greaterEqual); }
    bool hasSmaller() const override { return isBound(cOperators.smaller); }
    bool hasSmallerEqual() const override { return isBound(cOperators.smallerEqual); }

    void callAddition(void* result, const void* left, const void* right) const override {
        call(cOperators.addition, "callAddition", result, left, right);
    }
    void callSubstraction(void* result, const void* left, const void* right) const override {
        call(cOperators.substraction, "callSubstraction", result, left, right);
    }
    void callMultiplication(void* result, const void* left, const void* right) const override {
        call(cOperators.multiplication, "callMultiplication", result, left, right);
    }
    void callDivision(void* result, const void* left, const void* right) const override {
        call(cOperators.division, "callDivision", result, left, right);
    }
    void callEqual(void* result, const void* left, const void* right) const override {
        call(cOperators.equal, "callEqual", result, left, right);
    }
    void callUnequal(void* result, const void* left, const void* right) const override {
        call(cOperators.unequal, "callUnequal", result, left, right);
    }
    void callGreater(void* result, const void* left, const void* right) const override {
        call(cOperators.greater, "callGreater", result, left, right);
    }
    void callGreaterEqual(void* result, const void* left, const void* right) const override {
        call(cOperators.greaterEqual, "callGreaterEqual", result, left, right);
    }
    void callSmaller(void* result, const void* left, const void* right) const override {
        call(cOperators.smaller, "callSmaller", result, left, right);
    }
    void callSmallerEqual(void* result, const void* left, const void* right) const override {
        call(cOperators.smallerEqual, "callSmallerEqual", result, left, right);
    }

    bool isBasicDatatype() const override { return false; }

private:
    friend class DatatypeManager;

    NFDatatype(const DatatypeBase::Description& description, const T& defaultValue)
        : Datatype<T>(description, defaultValue) {}

    /// Compilers warn of a function's own address that is asked whether it is null.
    template <class Result>
    static constexpr bool isBound(Result (*function)(const T&, const T&)) noexcept {
        return function != nullptr;
    }
    template <class Result>
    void call(Result (*function)(const T&, const T&), const char* operation, void* result, const void* left,
              const void* right) const {
        if (function)
            *static_cast<Result*>(result) = function(*static_cast<const T*>(left), *static_cast<const T*>(right));
        else
            this->reportNoOperator(operation);
    }

    static constexpr OperatorTable<T> cOperators = DatatypeOperators<T>::make();
};

template <class Object>
Object* DatatypeManager::registerAs(const String& name, const typename Object::Native& defaultValue,
                                    ParseFunction<typename Object::Native> parseFunction) {
    using T = typename Object::Native;
    Registration registration{TypedDatatype<T>::describe(name, Object::cIsBasic), TypedDatatype<T>::getInstanceSlot(),
                              reinterpret_cast<DatatypeBase::AnyFunction>(parseFunction),
                              [](const Memory::AllocatorPtr& allocator, const DatatypeBase::Description& description,
                                 const void* value) -> DatatypeBase* {
                                  return new (allocator) Object(description, *static_cast<const T*>(value));
                              },
                              &defaultValue};
    return static_cast<Object*>(registerObject(registration));
}

template <class T>
Datatype<NativeType<T>>* DatatypeManager::registerDatatype(const String& name,
                                                           const std::type_identity_t<T>& defaultValue,
                                                           ParseFunction<NativeType<T>> parseFunction) {
    return registerAs<Datatype<NativeType<T>>>(name, defaultValue, parseFunction);
}

template <class T>
NFDatatype<NativeType<T>>* DatatypeManager::registerNFDatatype(const String& name,
                                                               const std::type_identity_t<T>& defaultValue,
                                                               ParseFunction<NativeType<T>> parseFunction) {
    return registerAs<NFDatatype<NativeType<T>>>(name, defaultValue, parseFunction);
}

} // namespace Tarq::Common::Reflection::Datatype
