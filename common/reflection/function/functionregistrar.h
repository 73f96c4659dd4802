#pragma once

#include "common/reflection/function/cfunction.h"

#include <atomic>

namespace Tarq::Common::Reflection::Function {

/// Binds declared functions to native code, and calls them by id. The functions that registrars share stand in one
/// declaration manager; each registrar provides some of them.
///
///     registrar.registerFunction("spawn", &World::spawn, world);
///     registrar.callFunction(registrar.getFunctionID("spawn", signature), nullptr, arguments);
///
/// Include `common/reflection/function/functionbinding.h` to register: it has the bodies of the templates.
///
/// Threads: any, if the allocators of the registrar and of the declarations are thread-safe. Calls take no lock, and
/// may run while others register: a function that is registered again stays as it was for the calls that are on their
/// way, so its record is kept until the registrar goes. Copy, assign to and destroy a registrar while nobody else uses
/// it.
///
/// Ownership: records are made on the allocator that the constructor is given. The code and what a function is bound to
/// outlive the registrar.
///
/// Whatever makes or copies something throws `OutOfMemoryException`. Nothing has changed then, but for the declaration:
/// a function that was to be registered or required may have one.
class TARQ_API FunctionRegistrar : public Memory::MemoryManaged {
public:
    using Types = FunctionDeclarationManager::Types;
    using FunctionIDs = Container::Vector<FunctionID>;

    /// Has a declaration manager of its own, named "default".
    explicit FunctionRegistrar(const Memory::AllocatorPtr& allocator);
    /// Shares the declarations. Asserts that there are some; otherwise makes its own.
    FunctionRegistrar(const FunctionDeclarationManagerPtr& declarations, const Memory::AllocatorPtr& allocator);
    /// Has records of its own, on the same allocator, and shares the declarations.
    FunctionRegistrar(const FunctionRegistrar& other);
    /// Keeps its own allocator.
    FunctionRegistrar& operator=(const FunctionRegistrar& other);
    ~FunctionRegistrar() override;

    // Registration. The types of the result and of up to ten arguments are read off the function; each is one that is
    // registered, taken by value or by constant reference. Registering the same name with a full signature that matches
    // once more keeps the id and replaces the function: `f(uint32)` takes the place of `f(int32)`.
    //
    // Each asserts that the function is not null, that its types are registered, and that nobody has declared a
    // function of the name with matching arguments and another result; otherwise returns no function.

    /// A free function, or a member function, which is then called on the object that the call names: one of the class
    /// that declares the function. An object with a call operator is copied, byte by byte.
    template <class Callable>
    TARQ_LOCAL FunctionID registerFunction(String::Text name, Callable function);
    /// A member function on one object for all calls: a pointer, or an object that is copied, byte by byte.
    template <class Member, class Object>
    TARQ_LOCAL FunctionID registerFunction(String::Text name, Member function, Object object);
    /// A free function whose first parameter, a reference, is the object that the call names.
    template <class Callable>
    TARQ_LOCAL FunctionID registerMemberFunction(String::Text name, Callable function);

    /// Calls a function; `result` is a value of its result type, which is assigned to. `object` is what a member
    /// function is called on, null for others.
    ///
    /// Returns false, and leaves the result alone, when the list is not what the function takes, or a member function
    /// has no object. Asserts that this registrar provides the function; returns false otherwise. What the function
    /// throws passes on, and so does what copying an argument or assigning the result throws.
    bool callFunction(void* result, FunctionID functionID, void* object, const FunctionArgumentList& arguments) const;
    /// The same without a result.
    bool callFunction(FunctionID functionID, void* object, const FunctionArgumentList& arguments) const;

    // Asked of the declarations, also those that this registrar does not provide.

    FunctionID getFunctionID(String::Text name, const Types& argumentSignature) const;
    FunctionID getFunctionIDWithFullSignature(String::Text name, const Types& fullSignature) const;
    const FunctionIDs* getFunctionIDs(String::Text name) const;
    Datatype::DatatypeID getReturnValueType(FunctionID functionID) const;
    String getFunctionName(FunctionID functionID) const;
    bool getFullSignature(Types& signature, FunctionID functionID) const;
    bool getArgumentSignature(Types& signature, FunctionID functionID) const;
    const FunctionDeclarationManagerPtr& getFunctionDeclarations() const noexcept { return mFunctionDeclarations; }

    /// Whether there is a function with these arguments: a declaration, if that suffices, otherwise one that this
    /// registrar provides.
    bool existsFunction(String::Text name, const Types& argumentSignature, bool declarationSuffices) const;
    /// Whether this registrar provides it.
    bool providesFunction(FunctionID functionID) const noexcept;

    /// Declares the function if it is not yet, and notes that somebody needs it.
    FunctionID addRequiredFunction(String::Text name, const Types& fullSignature);
    /// Asserts that the function is declared; changes nothing otherwise.
    void addRequiredFunction(FunctionID functionID);
    /// Each once, in the order in which they were added.
    FunctionIDs getRequiredFunctions() const;
    /// Asserts that every required function is provided, with a list of those that are not; returns whether it is so.
    bool checkRegisteredFunctions() const;

protected:
    /// Copies the bytes of the pointer and of the object, which may be null. Asserts as `registerFunction` does, for
    /// null routines, and for more than ten arguments.
    FunctionID internalRegister(String::Text name, CallRoutine callWithoutResult, CallRoutine callWithResult,
                                const void* object, uint32 objectSize, const void* functionPointer,
                                uint32 functionPointerSize, const Types& fullSignature);

private:
    struct Record;
    struct Table;

    template <class Callee, class Shape>
    TARQ_LOCAL FunctionID registerCallee(String::Text name, const void* object, uint32 objectSize,
                                         const void* functionPointer, uint32 functionPointerSize);

    Record* makeRecord(const CFunction& source) const;
    void releaseRecords() noexcept;
    /// While the mutex is held: makes the record the one of its id.
    void store(Record* record);
    CFunction* findRecord(FunctionID functionID) const noexcept;
    /// False.
    bool reportNoRecord(FunctionID functionID) const;

    FunctionDeclarationManagerPtr mFunctionDeclarations;
    std::atomic<Table*> mCFunctions{nullptr}; ///< by id
    FunctionIDs mRequiredFunctions;
    Memory::AllocatorPtr mRecordAllocator;
    mutable Threading::Mutex mMutex; ///< guards the required functions, and changes of the records
};

using FunctionRegistrarPtr = SharedPtr<FunctionRegistrar, SimpleReferenceCount, StandartObjectPolicy>;

} // namespace Tarq::Common::Reflection::Function
