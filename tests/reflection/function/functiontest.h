#pragma once

#include "tests/support/librarytest.h"
#include "tests/support/streams.h"

#include "common/reflection/function/functionbinding.h"
#include "common/reflection/reflectioninterface.h"

namespace Tarq::Test {

using namespace Common;
using namespace Common::Reflection;
using namespace Common::Reflection::Function;

/// What function tests run in: the library with its built-in data types.
class FunctionTest : public LibraryTest {
public:
    using Types = FunctionRegistrar::Types;
    using List = FunctionArgumentList;

    FunctionTest() {
        ReflectionInterface::init(Datatype::DatatypeManagerPtr(new (allocator()) Datatype::DatatypeManager));
    }
    ~FunctionTest() { ReflectionInterface::close(); }

    template <class... T>
    Types types() const {
        return Types(allocator(), {Datatype::GET_DATATYPE_ID<T>()...});
    }
    template <class... T>
    List listOf(const T&... values) const {
        List list(types<T...>(), allocator());
        uint32 index = 0;
        (list.set(index++, values), ...);
        return list;
    }
};

} // namespace Tarq::Test
