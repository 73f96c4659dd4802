#pragma once

#include "common/debug/assert.h"
#include "common/reflection/datatype/builtindatatypes.h"
#include "common/reflection/datatype/typeddatatype.h"
#include "common/reflection/function/functionargumentlist.h"
#include "common/reflection/function/functionregistrar.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <tuple>
#include <type_traits>
#include <utility>

/// How native functions become callable from data: the types of a function are read off its own type, and with them go
/// two call routines that fetch the arguments from a list.
///
/// All of it is the module's own that registers, like the instances of the data types: hidden from the loader.
namespace Tarq::Common::Reflection::Function {

template <class T>
inline constexpr bool isElementDatatype = false;
template <class T>
    requires std::is_arithmetic_v<T>
inline constexpr bool isElementDatatype<T> = []<class... E>(const std::tuple<Datatype::ElementType<E>...>*) {
    return (std::is_same_v<Datatype::NativeType<T>, E> || ...);
}(static_cast<decltype(&Datatype::cElementTypes)>(nullptr));

/// What can be registered as a data type: the built-in fundamental ones, and classes whose values can be copied.
template <class T>
concept HasDatatype = isElementDatatype<T> ||
    (std::is_class_v<T>&& std::is_copy_constructible_v<T>&& std::is_copy_assignable_v<T>);

/// A parameter whose argument stays as it is: a value or a constant reference.
template <class A>
concept FunctionArgument = HasDatatype<std::remove_cvref_t<A>> && !std::is_rvalue_reference_v<A> &&
                           (!std::is_lvalue_reference_v<A> || std::is_const_v<std::remove_reference_t<A>>);

template <class R>
concept FunctionResult = std::is_void_v<R> || HasDatatype<std::remove_cvref_t<R>>;

/// An argument's value, in a place that suits its type.
template <class T>
class TARQ_LOCAL ArgumentValue {
public:
    explicit ArgumentValue(const void* place) noexcept {
        if constexpr (std::is_arithmetic_v<T>) {
            std::memcpy(&mBytes, place, sizeof(T));
        } else if (reinterpret_cast<std::uintptr_t>(place) % alignof(T) != 0) {
            mValue = static_cast<const T*>(std::memcpy(mBytes, place, sizeof(T)));
        } else {
            mValue = static_cast<const T*>(place);
        }
    }
    ArgumentValue(const ArgumentValue&) = delete;
    ArgumentValue& operator=(const ArgumentValue&) = delete;

    const T& get() const noexcept {
        if constexpr (std::is_arithmetic_v<T>)
            return mBytes;
        else
            return *mValue;
    }

private:
    using Bytes = unsigned char[sizeof(T)];
    alignas(T) std::conditional_t<std::is_arithmetic_v<T>, T, Bytes> mBytes;
    std::conditional_t<std::is_arithmetic_v<T>, char, const T*> mValue;
};

/// A free function.
template <class Function>
struct TARQ_LOCAL FreeCallee {
    Function function;

    bool prepare(const CFunction& record, void*) noexcept {
        std::memcpy(&function, record.functionPointer, sizeof(function));
        return true;
    }
    template <class... Values>
    decltype(auto) operator()(const Values&... values) const {
        return function(values...);
    }
};

/// A free function whose first parameter is the object that the call names.
template <class Function, class Class>
struct TARQ_LOCAL ObjectCallee {
    Function function;
    Class* object;

    bool prepare(const CFunction& record, void* named) noexcept {
        std::memcpy(&function, record.functionPointer, sizeof(function));
        object = static_cast<Class*>(named);
        return object != nullptr;
    }
    template <class... Values>
    decltype(auto) operator()(const Values&... values) const {
        return function(*object, values...);
    }
};

/// A member function, on the object that the call names.
template <class Member, class Class>
struct TARQ_LOCAL MemberCallee {
    Member member;
    Class* object;

    bool prepare(const CFunction& record, void* named) noexcept {
        std::memcpy(&member, record.functionPointer, sizeof(member));
        object = static_cast<Class*>(named);
        return object != nullptr;
    }
    template <class... Values>
    decltype(auto) operator()(const Values&... values) const {
        return (object->*member)(values...);
    }
};

/// A member function on the object that the record has the bytes of, or the address.
template <class Member, class Object>
struct TARQ_LOCAL BoundCallee {
    Member member;
    std::conditional_t<std::is_pointer_v<Object>, Object, Object*> object;

    bool prepare(const CFunction& record, void*) noexcept {
        std::memcpy(&member, record.functionPointer, sizeof(member));
        if constexpr (std::is_pointer_v<Object>)
            std::memcpy(&object, record.object, sizeof(object));
        else
            object = static_cast<Object*>(record.object);
        return true;
    }
    template <class... Values>
    decltype(auto) operator()(const Values&... values) const {
        return (object->*member)(values...);
    }
};

/// The signature of a function, and the routines that call what has it.
template <class Result, class... Arguments>
struct TARQ_LOCAL CallShape {
    static_assert(FunctionResult<Result>, "the type of the result is one that can be registered");
    static_assert((FunctionArgument<Arguments> && ...),
                  "an argument has a type that can be registered, and is taken by value or by constant reference");
    static_assert(sizeof...(Arguments) <= FunctionArgumentList::cMaximumArguments, "at most ten arguments");

    static FunctionRegistrar::Types makeSignature(const Memory::AllocatorPtr& allocator) {
        return {allocator, {Datatype::GET_DATATYPE_ID<Result>(), Datatype::GET_DATATYPE_ID<Arguments>()...}};
    }
    template <class Callee>
    static bool callWithoutResult(void*, CFunction* function, void* object, const FunctionArgumentList& arguments) {
        return call<Callee>(nullptr, *function, object, arguments, std::index_sequence_for<Arguments...>());
    }
    template <class Callee>
    static bool callWithResult(void* result, CFunction* function, void* object, const FunctionArgumentList& arguments) {
        return call<Callee>(result, *function, object, arguments, std::index_sequence_for<Arguments...>());
    }

private:
    /// A list that is accepted has its values there, so that it need not be asked where.
    static constexpr auto cOffsets = FunctionArgumentList::offsetsOf(
        std::array<uint32, sizeof...(Arguments)>{sizeof(std::remove_cvref_t<Arguments>)...});

    template <class Callee, std::size_t... Index>
    static bool call([[maybe_unused]] void* result, const CFunction& function, void* object,
                     const FunctionArgumentList& arguments, std::index_sequence<Index...>) {
        Callee callee;
        const Signature given = arguments.getSignature();
        const bool isSame =
            given.size() == sizeof...(Arguments) && (... && (function.argumentTypes[Index] == given[Index]));
        if ((!isSame && !function.accepts(arguments)) || !callee.prepare(function, object)) [[unlikely]]
            return false;
        // The values live until the result is taken, which may be a reference to one of them.
        const auto run = [&](const auto&... values) {
            if constexpr (std::is_void_v<Result>)
                callee(values...);
            else if (result)
                *static_cast<Datatype::NativeType<Result>*>(result) = callee(values...);
            else
                static_cast<void>(callee(values...));
        };
        run(ArgumentValue<std::remove_cvref_t<Arguments>>(arguments.getPlaceAt(cOffsets[Index])).get()...);
        return true;
    }
};

/// What can be read off the type of a pointer to a function.
template <class Function>
struct FunctionTraits;
template <class Result, class... Arguments, bool IsNoexcept>
struct FunctionTraits<Result (*)(Arguments...) noexcept(IsNoexcept)> {
    using Shape = CallShape<Result, Arguments...>;
};
template <class Result, class Owner, class... Arguments, bool IsNoexcept>
struct FunctionTraits<Result (Owner::*)(Arguments...) noexcept(IsNoexcept)> {
    using Shape = CallShape<Result, Arguments...>;
    using Class = Owner;
};
template <class Result, class Owner, class... Arguments, bool IsNoexcept>
struct FunctionTraits<Result (Owner::*)(Arguments...) const noexcept(IsNoexcept)> {
    using Shape = CallShape<Result, Arguments...>;
    using Class = const Owner;
};
template <class Result, class Owner, class... Arguments, bool IsNoexcept>
struct FunctionTraits<Result (Owner::*)(Arguments...)& noexcept(IsNoexcept)>
    : FunctionTraits<Result (Owner::*)(Arguments...)> {};
template <class Result, class Owner, class... Arguments, bool IsNoexcept>
struct FunctionTraits<Result (Owner::*)(Arguments...) const& noexcept(IsNoexcept)>
    : FunctionTraits<Result (Owner::*)(Arguments...) const> {};

/// A lambda that is a function.
template <class Callable>
concept WithoutCaptures = requires(Callable callable) {
    +callable;
};

/// The same where the first parameter is the object.
template <class Function>
struct ObjectFunctionTraits;
template <class Result, class Object, class... Arguments, bool IsNoexcept>
struct ObjectFunctionTraits<Result (*)(Object&, Arguments...) noexcept(IsNoexcept)> {
    using Shape = CallShape<Result, Arguments...>;
    using Class = Object;
};

template <class Callee, class Shape>
FunctionID FunctionRegistrar::registerCallee(String::Text name, const void* object, uint32 objectSize,
                                             const void* functionPointer, uint32 functionPointerSize) {
    const Types signature = Shape::makeSignature(mRecordAllocator);
    // One that is not registered has been reported.
    if (std::find(signature.begin(), signature.end(), Datatype::INVALID_DATATYPE_ID) != signature.end())
        return FunctionID();
    return internalRegister(name, &Shape::template callWithoutResult<Callee>, &Shape::template callWithResult<Callee>,
                            object, objectSize, functionPointer, functionPointerSize, signature);
}

template <class Callable>
FunctionID FunctionRegistrar::registerFunction(String::Text name, Callable function) {
    if constexpr (std::is_class_v<Callable>) {
        return registerFunction(name, &Callable::operator(), function);
    } else {
        using Traits = FunctionTraits<Callable>;
        const void* const pointer = function ? &function : nullptr;
        if constexpr (std::is_member_function_pointer_v<Callable>) {
            using Callee = MemberCallee<Callable, typename Traits::Class>;
            return registerCallee<Callee, typename Traits::Shape>(name, nullptr, 0, pointer, sizeof(function));
        } else {
            return registerCallee<FreeCallee<Callable>, typename Traits::Shape>(name, nullptr, 0, pointer,
                                                                                sizeof(function));
        }
    }
}

template <class Member, class Object>
FunctionID FunctionRegistrar::registerFunction(String::Text name, Member function, Object object) {
    static_assert(std::is_trivially_copyable_v<Object>, "an object is copied byte by byte; bind its address instead");
    static_assert(alignof(Object) <= sizeof(void*), "the copy has no more alignment than allocators give");
    if constexpr (std::is_pointer_v<Object>) {
        if (!TARQ_ASSERT(object, "there is no object to bind a function to"))
            return FunctionID();
    }
    using Callee = BoundCallee<Member, Object>;
    return registerCallee<Callee, typename FunctionTraits<Member>::Shape>(
        name, &object, sizeof(object), function ? &function : nullptr, sizeof(function));
}

template <class Callable>
FunctionID FunctionRegistrar::registerMemberFunction(String::Text name, Callable function) {
    if constexpr (std::is_class_v<Callable>) {
        static_assert(WithoutCaptures<Callable>, "a lambda whose first parameter is the object has no captures");
        return registerMemberFunction(name, +function);
    } else {
        using Traits = ObjectFunctionTraits<Callable>;
        using Callee = ObjectCallee<Callable, typename Traits::Class>;
        return registerCallee<Callee, typename Traits::Shape>(name, nullptr, 0, function ? &function : nullptr,
                                                              sizeof(function));
    }
}

// Always inline: what it does for a value that is just bytes is less than a call.
template <class T>
[[gnu::always_inline]] inline bool FunctionArgumentList::set(uint32 index, const T& value) {
    static_assert(HasDatatype<T>, "the type is one that can be registered");
    if constexpr (std::is_arithmetic_v<T>) {
        const auto* const datatype = Datatype::TypedDatatype<T>::getInstance();
        if (!datatype || index >= mSize || mSignature[index] != datatype->id())
            return setUnusual(index, value);
        std::memcpy(getPlace(index), &value, sizeof(T));
        return true;
    } else {
        return setValue(&value, Datatype::GET_DATATYPE_ID<T>(), index);
    }
}

template <class T>
bool FunctionArgumentList::setUnusual(uint32 index, T value) {
    return setValue(&value, Datatype::GET_DATATYPE_ID<T>(), index);
}

} // namespace Tarq::Common::Reflection::Function
