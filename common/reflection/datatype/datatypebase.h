#pragma once

#include "common/container/vector.h"
#include "common/export.h"
#include "common/memory/memorymanaged.h"
#include "common/reflection/datatype/datatypeid.h"
#include "common/reflection/function/functionid.h"
#include "common/string.h"
#include "common/types.h"

namespace Tarq::Common::Serialize {
class SerializeStorage;
}
namespace Tarq::Common::Reflection::Function {
class FunctionArgumentList;
}

namespace Tarq::Common::Reflection::Datatype {

struct InstanceSlot;
class TARQ_LOCAL ModuleInstances;

/// A data type at run time: how to construct, copy, assign, destroy, parse, store, compare and combine values of one
/// native type T that are held behind untyped pointers, and which functions they have.
///
/// A `value`, a `source`, and a `target` that is assigned to, point to a T; what is constructed is constructed in
/// `getSize()` bytes that are aligned for a T and hold none.
///
/// Ownership: the `DatatypeManager` that a type was registered with owns its object, on the manager's allocator.
/// Threads: registration is over before others use the type; after that, any. Loading a module that registers, and
/// unloading it, count as registration.
/// Failures are assertions, after which nothing has happened and the result is null, false or no id. Exhausted memory
/// is null where a value is made, and an `OutOfMemoryException` where one is copied or assigned and where a text is
/// returned. What else the type's own code throws passes on.
class TARQ_API DatatypeBase : public Memory::MemoryManaged {
public:
    /// What is known of a type when its object is made.
    struct Description {
        const String& name;
        /// The compiler's name of the native type, the same in every module.
        const char* typeName;
        uint32 size;
        uint32 alignment;
        bool isBasic;
        DatatypeID id;
    };
    /// A parse function of whatever type, to be cast back.
    using AnyFunction = void (*)();

    /// Every module's instance pointer to this object is null then.
    ~DatatypeBase() override;

    /// Nothing happens when `target` is null.
    virtual void constructCopy(const void* source, void* target) const = 0;
    /// Constructs a copy of the default at `target`, unless that is null.
    virtual void getDefaultValue(void* target) const = 0;
    virtual void assign(const void* source, void* target) const = 0;
    /// Constructs a copy of the default at `target`, unless that is null.
    virtual void constructDefault(void* target) const;
    virtual DatatypeID getDatatypeID() const;
    virtual String getName() const;
    /// In bytes.
    virtual uint32 getSize() const;
    /// Ends the life of the value, and leaves its bytes. Null is ignored.
    virtual void destruct(void* value) const = 0;
    /// `destruct`, then gives the bytes back to the object's own allocator. Null is ignored.
    virtual void destroyValue(void* value) const;
    /// Makes a value from text; asserts that the type can. Null when it cannot, for a text that is no value, and
    /// without memory. The value goes with `deleteValue` and the same allocator.
    virtual void* parseValue(const String& text, const Memory::AllocatorPtr& allocator) const = 0;
    /// Values are made on `allocator`, or on the object's own; null without memory.
    virtual void* createValueCopy(const void* source, const Memory::AllocatorPtr& allocator) const;
    virtual void* createValue(const Memory::AllocatorPtr& allocator) const;
    virtual void* createValueCopy(const void* source) const;
    virtual void* createValue() const;
    /// `destruct`, then gives the bytes back to the allocator they came from. Null is ignored.
    virtual void deleteValue(void* value, const Memory::AllocatorPtr& allocator) const;
    virtual void deleteValue(void* value) const;

    /// The member function of that name that takes arguments of these types (no return type among them); `FunctionID()`
    /// when there is none. Its id says nothing to another type.
    virtual Function::FunctionID getFunctionID(const String& name,
                                               const Container::Vector<DatatypeID>& signature) const = 0;
    /// Asserts that there is a member function of that id; returns false, and leaves `signature` alone, otherwise.
    virtual bool getArgumentSignature(Container::Vector<DatatypeID>& signature, Function::FunctionID id) const = 0;
    /// Asserts the same; `INVALID_DATATYPE_ID` otherwise.
    virtual DatatypeID getReturnValueType(Function::FunctionID id) const = 0;

    virtual bool hasAddition() const = 0;
    virtual bool hasSubstraction() const = 0;
    virtual bool hasMultiplication() const = 0;
    virtual bool hasDivision() const = 0;
    virtual bool hasEqual() const = 0;
    virtual bool hasUnequal() const = 0;
    virtual bool hasGreater() const = 0;
    virtual bool hasGreaterEqual() const = 0;
    virtual bool hasSmaller() const = 0;
    virtual bool hasSmallerEqual() const = 0;

    /// These are for types that are not basic, and for operators that the type has: anything else is an assertion.
    /// Arithmetic assigns to the T that stands at `result`, which may be one of the operands.
    virtual void callAddition(void* result, const void* left, const void* right) const = 0;
    virtual void callSubstraction(void* result, const void* left, const void* right) const = 0;
    virtual void callMultiplication(void* result, const void* left, const void* right) const = 0;
    virtual void callDivision(void* result, const void* left, const void* right) const = 0;
    /// Comparison assigns to the bool at `result`.
    virtual void callEqual(void* result, const void* left, const void* right) const = 0;
    virtual void callUnequal(void* result, const void* left, const void* right) const = 0;
    virtual void callGreater(void* result, const void* left, const void* right) const = 0;
    virtual void callGreaterEqual(void* result, const void* left, const void* right) const = 0;
    virtual void callSmaller(void* result, const void* left, const void* right) const = 0;
    virtual void callSmallerEqual(void* result, const void* left, const void* right) const = 0;

    /// Calls a member function on the value at `object`, and stores what it returns at `result`. Returns whether it was
    /// called.
    virtual bool callFunction(void* result, Function::FunctionID id, void* object,
                              const Function::FunctionArgumentList& arguments) const = 0;
    virtual bool callFunction(Function::FunctionID id, void* object,
                              const Function::FunctionArgumentList& arguments) const = 0;

    /// Asserts that the type can be stored.
    virtual void writeValue(const void* value, Serialize::SerializeStorage* storage) const = 0;
    virtual void readValue(void* value, Serialize::SerializeStorage* storage) const = 0;

    /// In bytes; at most that of a pointer.
    uint32 getAlignment() const noexcept { return mAlignment; }

protected:
    /// Calls a parse function by its own type.
    using ParseCall = void*(AnyFunction parseFunction, const String& text, const Memory::AllocatorPtr& allocator);

    explicit DatatypeBase(const Description& description);

    DatatypeID id() const noexcept { return mID; }
    /// What `parseValue` promises.
    void* parse(const String& text, const Memory::AllocatorPtr& allocator, ParseCall* call) const;
    void reportNoSerializer() const;
    static void reportBasicOnly(const char* operation);
    static bool reportNoFunctions();
    void reportNoOperator(const char* operation) const;

private:
    friend class DatatypeManager;
    friend class ModuleInstances;

    struct Instance {
        InstanceSlot* slot;
        AnyFunction parseFunction;
    };

    /// Points a module's instance pointer, which is null, at this object. The newest parse function that a module has
    /// brought along, unless null, is the one in use. Throws `OutOfMemoryException`.
    void addInstance(InstanceSlot& slot, AnyFunction parseFunction);
    /// The module goes, and its parse function with it.
    void removeInstance(InstanceSlot& slot) noexcept;
    void chooseParseFunction() noexcept;
    /// Whether this is the object of the type described, whatever that is called; one with the operators of a class is
    /// one without as well.
    bool isOf(const Description& description) const noexcept;

    Container::Vector<Instance> mInstanceSlots;
    String mName;
    String mTypeName;
    uint32 mSize;
    uint32 mAlignment;
    DatatypeID mID;
    bool mIsBasic;
    AnyFunction mParseFunction = nullptr;
};

/// One module's pointer to the object of one native type. Lives as long as the module; null while the type is not
/// registered there.
struct InstanceSlot {
    DatatypeBase* datatype = nullptr;
    /// The one enlisted before it in the same module.
    InstanceSlot* next = nullptr;
    bool isEnlisted = false;
};

} // namespace Tarq::Common::Reflection::Datatype
