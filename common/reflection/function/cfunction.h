#pragma once

#include "common/export.h"
#include "common/reflection/function/functiondeclarationmanager.h"

namespace Tarq::Common::Reflection::Function {

class FunctionArgumentList;
struct CFunction;

/// Calls the native function of a record with the values of a list, on `object` where it is a member function.
///
/// Returns false, and calls and changes nothing, when the list is not what the function takes, or a member function has
/// no object. `result` is a value of the type that the function returns, to be assigned to; null where it is not
/// wanted.
using CallRoutine = bool (*)(void* result, CFunction* function, void* object, const FunctionArgumentList& arguments);

/// A native function as a `FunctionRegistrar` keeps it. A copy refers to the same bytes, which are the registrar's, and
/// shares the declarations.
struct TARQ_API CFunction {
    FunctionDeclarationManagerPtr declarations;
    void* object;          ///< the bytes of the object that the function is bound to; null if there is none
    void* functionPointer; ///< the bytes of the pointer to the function
    CallRoutine callWithoutResult;
    CallRoutine callWithResult;
    uint32 functionPointerSize; ///< in bytes
    uint32 objectSize;          ///< in bytes; 0 if there is none
    FunctionID functionID;
    Signature argumentTypes; ///< without the result; the registrar's, like the bytes

    Datatype::DatatypeID getReturnValueType() const { return declarations->getReturnValueType(functionID); }
    /// Whether the list has the number of arguments that the function takes, and values of matching types.
    bool accepts(const FunctionArgumentList& arguments) const;
};

} // namespace Tarq::Common::Reflection::Function
