#include "common/reflection/datatype/datatype.h"

#include "common/memory/memorystream.h"
#include "common/reflection/datatype/datatypes.h"
#include "common/reflection/function/functionargumentlist.h"
#include "common/reflection/function/functionbinding.h"
#include "common/reflection/reflectioninterface.h"
#include "common/serialize/binaryserializestorage.h"
#include "common/serialize/serializeexception.h"
#include "tests/reflection/datatype/colour.h"
#include "tests/support/librarytest.h"

#include <string>
#include <type_traits>

using namespace Tarq::Common;
using namespace Tarq::Common::Reflection::Datatype;
using namespace Tarq::Test;
using Memory::MemoryStream;
using Reflection::ReflectionInterface;
using Serialize::BinarySerializeStorage;
using Serialize::SerializeStorage;

namespace {

const std::string cBaseFile = "common/reflection/datatype/datatypebase";

class DatatypeTest : public LibraryTest {
public:
    DatatypeTest() { ReflectionInterface::init(DatatypeManagerPtr(new (allocator()) DatatypeManager)); }
    ~DatatypeTest() { ReflectionInterface::close(); }

    NFDatatype<Colour>* registerColour() {
        return ReflectionInterface::getDatatypeManager()->registerNFDatatype<Colour>("Colour", Colour{3}, nullptr);
    }
};

/// A value that differs from the type's default, which it is made from.
template <class T>
T sampleOf(T value) {
    if constexpr (std::is_arithmetic_v<T>) {
        return 1;
    } else if constexpr (requires { value.mX; }) {
        return T{1, 2};
    } else {
        for (int count = 40; count != 0; --count)
            value.push_back(sampleOf(typename T::value_type()));
        return value;
    }
}

} // namespace

TEST_CASE_FIXTURE(DatatypeTest, "values of every type are made, copied, assigned, compared, stored and deleted") {
    MemoryStream stream("values", 4096);
    BinarySerializeStorage writer(SerializeStorage::SMODE_OUTPUT, Platform::Endian::ENDIAN_BIG);
    writer.open(&stream);
    forEachBuiltinDatatype([&]<class Type>(const Type& builtin) {
        using T = typename Type::Native;
        CAPTURE(builtin.getName());
        const DatatypeBase& type = *TypedDatatype<T>::getInstance();
        const T sample = sampleOf(builtin.makeDefault(allocator()));
        auto* const copy = static_cast<T*>(type.createValueCopy(&sample, allocator()));
        auto* const made = static_cast<T*>(type.createValue(allocator()));
        auto* const own = static_cast<T*>(type.createValueCopy(made));
        CHECK(*copy == sample);
        CHECK(*made == builtin.makeDefault(allocator()));
        CHECK(*own == *made);
        type.assign(&sample, made);
        CHECK(*made == sample);
        if constexpr (!std::is_arithmetic_v<T>) {
            bool isTrue = false;
            type.callEqual(&isTrue, made, copy);
            CHECK(isTrue);
            type.callUnequal(&isTrue, made, copy);
            CHECK_FALSE(isTrue);
        }
        type.writeValue(copy, &writer);
        type.deleteValue(copy, allocator());
        type.deleteValue(made, allocator());
        type.destroyValue(own);
        type.deleteValue(nullptr);
    });
    writer.close();

    BinarySerializeStorage reader(SerializeStorage::SMODE_INPUT, Platform::Endian::ENDIAN_LITTLE);
    stream.seek(0, IO::Stream::SORIGIN_BEGIN);
    REQUIRE(reader.open(&stream));
    forEachBuiltinDatatype([&]<class Type>(const Type& builtin) {
        using T = typename Type::Native;
        CAPTURE(builtin.getName());
        T value = builtin.makeDefault(allocator());
        TypedDatatype<T>::getInstance()->readValue(&value, &reader);
        CHECK(value == sampleOf(builtin.makeDefault(allocator())));
    });
}

TEST_CASE_FIXTURE(DatatypeTest, "a host's own type has all of its operators, and a type without one says so") {
    const DatatypeBase& type = *registerColour();
    const Colour operands[] = {{7}, {2}};
    const struct {
        void (DatatypeBase::*call)(void*, const void*, const void*) const;
        const char* name;
        int32 result;
    } operators[] = {{&DatatypeBase::callAddition, "callAddition", 9},
                     {&DatatypeBase::callSubstraction, "callSubstraction", 5},
                     {&DatatypeBase::callMultiplication, "callMultiplication", 14},
                     {&DatatypeBase::callDivision, "callDivision", 3},
                     {&DatatypeBase::callEqual, "callEqual", 0},
                     {&DatatypeBase::callUnequal, "callUnequal", 1},
                     {&DatatypeBase::callGreater, "callGreater", 1},
                     {&DatatypeBase::callGreaterEqual, "callGreaterEqual", 1},
                     {&DatatypeBase::callSmaller, "callSmaller", 0},
                     {&DatatypeBase::callSmallerEqual, "callSmallerEqual", 0}};
    double untouched = 8;
    for (const auto& each : operators) {
        CAPTURE(each.name);
        Colour result{-1};
        bool isTrue = false;
        const bool compares = &each >= operators + 4;
        (type.*each.call)(compares ? static_cast<void*>(&isTrue) : &result, operands, operands + 1);
        CHECK((compares ? int32{isTrue} : result.grey) == each.result);
        const ExpectedAssertion expected(
            "\nError Message: " + std::string(each.name) + " only usable with non basic datatypes", cBaseFile);
        (TypedDatatype<double>::getInstance()->*each.call)(&untouched, &untouched, &untouched);
    }
    const ExpectedAssertion unbound("\nError Message: callDivision is not supported by type: Vec2d", cBaseFile);
    TypedDatatype<Math::Vec2d>::getInstance()->callDivision(&untouched, &untouched, &untouched);
    CHECK(untouched == 8);

    // The sum of whole numbers wraps; the result may be an operand.
    Math::Vec2i whole{2147483647, -5};
    const Math::Vec2i step{1, 2};
    TypedDatatype<Math::Vec2i>::getInstance()->callAddition(&whole, &whole, &step);
    CHECK(whole == Math::Vec2i{-2147483647 - 1, -3});
    String text("con");
    TypedDatatype<String>::getInstance()->callAddition(&text, &text, &text);
    CHECK(text == "concon");
}

TEST_CASE_FIXTURE(DatatypeTest, "a type has what it was given, and asserts and yields nothing for the rest") {
    NFDatatype<Colour>& type = *registerColour();
    Colour colour{5};
    {
        const ExpectedAssertion noParse("mParseFunction\nError Message: no parse function defined for type: Colour",
                                        cBaseFile);
        CHECK(type.parseValue("1", allocator()) == nullptr);
        const ExpectedAssertion noSerializer("\nError Message: no serializer defined for type: Colour", cBaseFile, 2);
        type.writeValue(&colour, nullptr);
        type.readValue(&colour, nullptr);
    }
    type.getFunctions().registerMemberFunction(
        "GetGrey", +[](const Colour& object) { return object.grey; });
    const Container::Vector<DatatypeID> noArguments(allocator());
    const auto id = type.getFunctionID("GetGrey", noArguments);
    CHECK(type.getReturnValueType(id) == GET_DATATYPE_ID<int32>());
    const Reflection::Function::FunctionArgumentList list(noArguments, allocator());
    int32 result = 0;
    CHECK(type.callFunction(&result, id, &colour, list));
    CHECK(result == 5);
    CHECK_FALSE(type.callFunction(id, nullptr, list));
}

TEST_CASE_FIXTURE(DatatypeTest, "an item of another name is reported, and a container that ends early is left") {
    MemoryStream stream("items", 256);
    BinarySerializeStorage writer(SerializeStorage::SMODE_OUTPUT, Platform::Endian::ENDIAN_LITTLE);
    writer.open(&stream);
    for (const char* const name : {"x", "w", "z"})
        writer.writeFloat64(name, 1);
    writer.writeUInt32("size", 0xFFFFFFFF);
    writer.writeBool("bit", true);
    writer.close();
    BinarySerializeStorage reader(SerializeStorage::SMODE_INPUT, Platform::Endian::ENDIAN_LITTLE);
    stream.seek(0, IO::Stream::SORIGIN_BEGIN);
    REQUIRE(reader.open(&stream));

    const auto report = [](const char* found, const char* expected, const char* object) {
        return ExpectedAssertion(std::string("!strcmp(_name,\"") + expected +
                                     "\")\nError Message: Serialization error: attribute with type: \"" + found +
                                     "\"  found, but expected: " + expected + " in object: " + object,
                                 "common/reflection/datatype/defaultdatatypeserializer");
    };
    const ExpectedAssertion w = report("w", "y", "Vec2fValue");
    Math::Vec3d vector;
    TypedDatatype<Math::Vec3d>::getInstance()->readValue(&vector, &reader);
    CHECK(vector == Math::Vec3d{1, 1, 1});
    const ExpectedAssertion size = report("size", "count", "Vector");
    const ExpectedAssertion bit = report("bit", "value", "GenericValue");
    Container::Vector<bool> bits(allocator(), 3);
    catchThrown<Serialize::SerializeException>(
        [&] { TypedDatatype<Container::Vector<bool>>::getInstance()->readValue(&bits, &reader); });
    CHECK(bits == Container::Vector<bool>(allocator(), 3));
}
