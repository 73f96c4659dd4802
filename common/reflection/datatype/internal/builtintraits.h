#pragma once

#include "common/debug/assert.h"
#include "common/memory/memoryexception.h"
#include "common/reflection/datatype/builtindatatypes.h"
#include "common/reflection/datatype/stringconversionfunctions.h"
#include "common/reflection/datatype/typeddatatype.h"
#include "common/reflection/function/functionbinding.h"
#include "common/reflection/function/functionregistrar.h"

#include <cmath>
#include <stdexcept>
#include <tuple>
#include <type_traits>

namespace Tarq::Common::Reflection::Datatype {

/// What a built-in type has beyond its operators and its stored form: one place for each family to say it. The
/// fundamental types have no member functions.
template <class T>
struct BuiltinTraits {
    static constexpr ParseFunction<T> cParseFunction = &TextForm<T>::parse;
    static void registerFunctions(Function::FunctionRegistrar&) {}
};

/// What an index that is out of range yields.
template <class T>
T defaultOf(const Memory::AllocatorPtr& allocator) {
    return std::get<ElementType<T>>(cElementTypes).makeDefault(allocator);
}

/// Asserts that the index is in range; returns false otherwise.
inline bool checkIndex(int64 index, uint32 size) {
    return TARQ_ASSERT_AS("index < size", index >= 0 && index < size, "index out of range: ", index);
}

/// Makes a change that may take memory; what calls these functions is data, which is not to meet an exception. Asserts
/// that there was room for it; nothing has changed otherwise.
template <class Change>
void tryToChange(Change change) {
    try {
        change();
        return;
    } catch (Memory::OutOfMemoryException* exception) {
        const Exceptions::Holder holder(exception);
    } catch (const std::length_error&) { // NOLINT(bugprone-empty-catch): both are reported below
    }
    TARQ_FAIL("there is no room for the element");
}

/// Both kinds of vectors.
template <class Vec>
struct VectorTraits {
    using Component = typename Vec::Component;

    static constexpr ParseFunction<Vec> cParseFunction = &TextForm<Vec>::parse;

    static void registerFunctions(Function::FunctionRegistrar& functions) {
        functions.registerMemberFunction("GetComponent", &getComponent);
        functions.registerMemberFunction("SetComponent", &setComponent);
        functions.registerMemberFunction("GetLength", &getLength);
        functions.registerMemberFunction("GetDistance", &getDistance);
    }

private:
    /// Whole numbers wrap.
    using Exact = typename std::conditional_t<std::is_integral_v<Component>, std::make_unsigned<Component>,
                                              std::type_identity<Component>>::type;

    static Component getComponent(const Vec& vector, uint32 index) {
        return checkIndex(index, Vec::cComponents) ? vector[index] : defaultOf<Component>(Memory::AllocatorPtr());
    }
    static void setComponent(Vec& vector, uint32 index, Component value) {
        if (checkIndex(index, Vec::cComponents))
            vector[index] = value;
    }
    static Component getLength(const Vec& vector) { return getDistance(vector, Vec()); }
    static Component getDistance(const Vec& vector, const Vec& other) {
        Exact sum = 0;
        for (uint32 index = 0; index < Vec::cComponents; ++index) {
            const Exact difference = static_cast<Exact>(vector[index]) - static_cast<Exact>(other[index]);
            sum += difference * difference;
        }
        // The sum counts as unsigned, so that one above the range of a signed component has a root as well.
        if constexpr (std::is_integral_v<Component>)
            return static_cast<Component>(std::sqrt(static_cast<double>(sum)));
        else
            return std::sqrt(sum);
    }
};
template <class C>
struct BuiltinTraits<Math::Vec2<C>> : VectorTraits<Math::Vec2<C>> {};
template <class C>
struct BuiltinTraits<Math::Vec3<C>> : VectorTraits<Math::Vec3<C>> {};

template <class Char>
struct BuiltinTraits<BasicString<Char>> {
    static constexpr ParseFunction<BasicString<Char>> cParseFunction = &TextForm<BasicString<Char>>::parse;

    static void registerFunctions(Function::FunctionRegistrar& functions) {
        functions.registerFunction("GetLength", &BasicString<Char>::length);
    }
};

template <class E>
struct BuiltinTraits<Container::Vector<E>> {
    using List = Container::Vector<E>;

    static constexpr ParseFunction<List> cParseFunction = [] {
        if constexpr (HasListForm<E>)
            return &TextForm<E>::parseList;
        else
            return nullptr;
    }();

    static void registerFunctions(Function::FunctionRegistrar& functions) {
        functions.registerFunction("Clear", &List::clear);
        functions.registerMemberFunction("PushBack", &pushBack);
        functions.registerFunction("Size", &List::size);
        functions.registerMemberFunction("GetElement", &getElement);
        functions.registerMemberFunction("SetElement", &setElement);
        functions.registerMemberFunction("RemoveElement", &removeElement);
    }

private:
    static void pushBack(List& list, const E& element) {
        tryToChange([&] { list.push_back(element); });
    }
    static E getElement(const List& list, uint32 index) {
        E element = defaultOf<E>(list.getAllocator());
        if (checkIndex(index, list.size()))
            tryToChange([&] { element = list[index]; });
        return element;
    }
    static void setElement(List& list, uint32 index, const E& element) {
        if (checkIndex(index, list.size()))
            tryToChange([&] { list[index] = element; });
    }
    static void removeElement(List& list, int32 index) {
        if (checkIndex(index, list.size()))
            list.erase(list.begin() + static_cast<uint32>(index));
    }
};

} // namespace Tarq::Common::Reflection::Datatype
