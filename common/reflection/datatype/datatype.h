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
/// Made by `DatatypeManager::registerDatatype`. A type whose `DatatypeSerializer` is not defined where it is registered
/// cannot be stored.
template <class T>
class TARQ_LOCAL Datatype : public TypedDatatype<T> {
    static_assert(alignof(T) <= 8, "allocators align to 8");

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
    void constructDefault(void* target) const override { Datatype::constructCopy(&mDefaultValue, target); }
    DatatypeID getDatatypeID() const override { return this->id(); }
    String getName() const override { return this->name(); }
    uint32 getSize() const override { return this->size(); }
    void destruct(void* value) const override {
        if (value)
            std::destroy_at(static_cast<T*>(value));
    }
    void destroyValue(void* value) const override { this->release(value, this->getAllocator()); }
    void* parseValue(const String& text, const Memory::AllocatorPtr& allocator) const override {
        if (!this->currentParseFunction()) {
            this->reportNoParseFunction();
            return nullptr;
        }
        return reinterpret_cast<ParseFunction<T>>(this->currentParseFunction())(text, allocator);
    }
    void* createValueCopy(const void* source, const Memory::AllocatorPtr& allocator) const override {
        return this->createCopy(source, allocator);
    }
    void* createValue(const Memory::AllocatorPtr& allocator) const override {
        return this->createCopy(&mDefaultValue, allocator);
    }
    void* createValueCopy(const void* source) const override { return this->createCopy(source, this->getAllocator()); }
    void* createValue() const override { return this->createCopy(&mDefaultValue, this->getAllocator()); }
    void deleteValue(void* value, const Memory::AllocatorPtr& allocator) const override {
        this->release(value, allocator);
    }
    void deleteValue(void* value) const override { this->release(value, this->getAllocator()); }

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
        if constexpr (requires { sizeof(DatatypeSerializer<T>); }) {
            mReadFunction = &DatatypeSerializer<T>::readValue;
            mWriteFunction = &DatatypeSerializer<T>::writeValue;
        }
    }

private:
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

    bool hasAddition() const override { return mOperators.addition; }
    bool hasSubstraction() const override { return mOperators.substraction; }
    bool hasMultiplication() const override { return mOperators.multiplication; }
    bool hasDivision() const override { return mOperators.division; }
    bool hasEqual() const override { return mOperators.equal; }
    bool hasUnequal() const override { return mOperators.unequal; }
    bool hasGreater() const override { return mOperators.greater; }
    bool hasGreaterEqual() const override { return mOperators.greaterEqual; }
    bool hasSmaller() const override { return mOperators.smaller; }
    bool hasSmallerEqual() const override { return mOperators.smallerEqual; }

    void callAddition(void* result, const void* left, const void* right) const override {
        call(mOperators.addition, "callAddition", result, left, right);
    }
    void callSubstraction(void* result, const void* left, const void* right) const override {
        call(mOperators.substraction, "callSubstraction", result, left, right);
    }
    void callMultiplication(void* result, const void* left, const void* right) const override {
        call(mOperators.multiplication, "callMultiplication", result, left, right);
    }
    void callDivision(void* result, const void* left, const void* right) const override {
        call(mOperators.division, "callDivision", result, left, right);
    }
    void callEqual(void* result, const void* left, const void* right) const override {
        call(mOperators.equal, "callEqual", result, left, right);
    }
    void callUnequal(void* result, const void* left, const void* right) const override {
        call(mOperators.unequal, "callUnequal", result, left, right);
    }
    void callGreater(void* result, const void* left, const void* right) const override {
        call(mOperators.greater, "callGreater", result, left, right);
    }
    void callGreaterEqual(void* result, const void* left, const void* right) const override {
        call(mOperators.greaterEqual, "callGreaterEqual", result, left, right);
    }
    void callSmaller(void* result, const void* left, const void* right) const override {
        call(mOperators.smaller, "callSmaller", result, left, right);
    }
    void callSmallerEqual(void* result, const void* left, const void* right) const override {
        call(mOperators.smallerEqual, "callSmallerEqual", result, left, right);
    }

    bool isBasicDatatype() const override { return false; }

private:
    friend class DatatypeManager;

    NFDatatype(const DatatypeBase::Description& description, const T& defaultValue)
        : Datatype<T>(description, defaultValue) {}

    template <class Result>
    void call(Result (*function)(const T&, const T&), const char* operation, void* result, const void* left,
              const void* right) const {
        if (function)
            *static_cast<Result*>(result) = function(*static_cast<const T*>(left), *static_cast<const T*>(right));
        else
            this->reportNoOperator(operation);
    }

    OperatorTable<T> mOperators = DatatypeOperators<T>::make();
};

template <class Object>
Object* DatatypeManager::registerAs(const String& name, const typename Object::Native& defaultValue,
                                    ParseFunction<typename Object::Native> parseFunction) {
    using T = typename Object::Native;
    Registration registration{
        {name, TypedDatatype<T>::getTypeName(), sizeof(T), alignof(T), Object::cIsBasic, INVALID_DATATYPE_ID},
        TypedDatatype<T>::getInstanceSlot(),
        reinterpret_cast<DatatypeBase::AnyFunction>(parseFunction),
        [](const Memory::AllocatorPtr& allocator, const DatatypeBase::Description& description, const void* value)
            -> DatatypeBase* { return new (allocator) Object(description, *static_cast<const T*>(value)); },
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
