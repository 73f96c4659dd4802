#include "common/reflection/datatype/datatype.h"

#include "common/memory/memorystream.h"
#include "common/reflection/datatype/datatypes.h"
#include "common/reflection/function/functionargumentlist.h"
#include "common/reflection/function/functionbinding.h"
#include "common/reflection/reflectioninterface.h"
#include "common/serialize/binaryserializestorage.h"
#include "tests/memory/ledgerallocator.h"
#include "tests/reflection/datatype/colour.h"
#include "tests/support/librarytest.h"

#include <string>
#include <type_traits>
#include <vector>

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

    template <class T>
    NFDatatype<T>& registerOwn(const String& name, ParseFunction<T> parseFunction = nullptr) {
        return *ReflectionInterface::getDatatypeManager()->registerNFDatatype<T>(name, T(), parseFunction);
    }
};

/// A type with no operators, which converts to one that has them all, and back.
struct Converted {
    Converted(int32 = 0) {}
    operator int32() const { return 0; }
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
    auto& ledger = *new LedgerAllocator;
    const Memory::AllocatorPtr other(&ledger);
    MemoryStream stream("values", 4096);
    BinarySerializeStorage writer(SerializeStorage::SMODE_OUTPUT, Platform::Endian::ENDIAN_BIG);
    writer.open(&stream);
    forEachBuiltinDatatype([&]<class Type>(const Type& builtin) {
        using T = typename Type::Native;
        CAPTURE(builtin.getName());
        const DatatypeBase& type = *TypedDatatype<T>::getInstance();
        const T sample = sampleOf(builtin.makeDefault(allocator()));
        auto* const copy = static_cast<T*>(type.createValueCopy(&sample, other));
        auto* const made = static_cast<T*>(type.createValue(other));
        CHECK(ledger.mOutstanding == std::vector<void*>{copy, made});
        auto* const own = static_cast<T*>(type.createValueCopy(&sample));
        auto* const ownDefault = static_cast<T*>(type.createValue());
        CHECK(ledger.mOutstanding.size() == 2);
        CHECK((*copy == sample && *own == sample));
        CHECK((*made == builtin.makeDefault(allocator()) && *ownDefault == *made));
        type.destruct(own);
        type.constructDefault(own);
        CHECK(*own == *made);
        type.destruct(own);
        type.constructCopy(&sample, own);
        CHECK(*own == sample);
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
        type.deleteValue(copy, other);
        type.deleteValue(made, other);
        CHECK(ledger.mOutstanding.empty());
        type.destroyValue(own);
        type.deleteValue(ownDefault);
        type.deleteValue(nullptr);
        type.deleteValue(nullptr, other);
        type.destruct(nullptr);
        type.constructCopy(&sample, nullptr);
        type.getDefaultValue(nullptr);
        type.constructDefault(nullptr);
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

TEST_CASE_FIXTURE(DatatypeTest, "a value that there is no memory for is null, and leaves nothing behind") {
    auto& ledger = *new LedgerAllocator;
    const Memory::AllocatorPtr other(&ledger);
    const String large(100000, 'x'); // more than any memory that the library keeps for later
    const DatatypeBase& type = *TypedDatatype<String>::getInstance();
    getMemory().failAfter(0);
    CHECK(type.createValueCopy(&large, other) == nullptr);
    getMemory().failNever();
    CHECK(ledger.mReturned.size() == 1);
    ledger.mLeft = 0;
    CHECK(type.createValueCopy(&large, other) == nullptr);
    CHECK(type.createValue(other) == nullptr);
    CHECK(registerOwn<Colour>("Colour", &parseColour<0>).parseValue("1", other) == nullptr);
    CHECK(ledger.mOutstanding.empty());
}

TEST_CASE_FIXTURE(DatatypeTest, "a type has the operators of its own, and one without them says so") {
    const DatatypeBase& type = registerOwn<Colour>("Colour");
    const Colour operands[] = {{7}, {2}};
    // What 7 and 2, and what 7 and 7 yield; and the last built-in type that has the operator.
    const struct {
        bool (DatatypeBase::*has)() const;
        void (DatatypeBase::*call)(void*, const void*, const void*) const;
        const char* name;
        int32 result;
        int32 resultOfSame;
        uint32 lastID;
    } operators[] = {
        {&DatatypeBase::hasAddition, &DatatypeBase::callAddition, "callAddition", 9, 14, 20},
        {&DatatypeBase::hasSubstraction, &DatatypeBase::callSubstraction, "callSubstraction", 5, 0, 18},
        {&DatatypeBase::hasMultiplication, &DatatypeBase::callMultiplication, "callMultiplication", 14, 49, 10},
        {&DatatypeBase::hasDivision, &DatatypeBase::callDivision, "callDivision", 3, 1, 10},
        {&DatatypeBase::hasEqual, &DatatypeBase::callEqual, "callEqual", 0, 1, 41},
        {&DatatypeBase::hasUnequal, &DatatypeBase::callUnequal, "callUnequal", 1, 0, 41},
        {&DatatypeBase::hasGreater, &DatatypeBase::callGreater, "callGreater", 1, 0, 10},
        {&DatatypeBase::hasGreaterEqual, &DatatypeBase::callGreaterEqual, "callGreaterEqual", 1, 1, 10},
        {&DatatypeBase::hasSmaller, &DatatypeBase::callSmaller, "callSmaller", 0, 0, 10},
        {&DatatypeBase::hasSmallerEqual, &DatatypeBase::callSmallerEqual, "callSmallerEqual", 0, 1, 10}};
    const DatatypeBase& converted = registerOwn<Converted>("Converted");
    double untouched = 8;
    for (const auto& each : operators) {
        CAPTURE(each.name);
        const auto place = &each - operators;
        const bool compares = place >= 4;
        const auto yields = [&](const Colour& right, int32 expected) {
            Colour result{-1};
            bool isTrue = expected == 0;
            (type.*each.call)(compares ? static_cast<void*>(&isTrue) : &result, operands, &right);
            CHECK((compares ? int32{isTrue} : result.grey) == expected);
        };
        CHECK((type.*each.has)());
        yields(operands[1], each.result);
        yields(operands[0], each.resultOfSame);
        for (uint32 id = 0; id < 42; ++id)
            CHECK((ReflectionInterface::getDatatypeManager()->getDatatype(DatatypeID(id))->*each.has)() ==
                  (id <= each.lastID));
        CHECK((converted.*each.has)() == compares);
        const ExpectedAssertion expected(
            "\nError Message: " + std::string(each.name) + " only usable with non basic datatypes", cBaseFile);
        (TypedDatatype<double>::getInstance()->*each.call)(&untouched, &untouched, &untouched);
    }
    const ExpectedAssertion unbound("\nError Message: callDivision is not supported by type: Vec2d", cBaseFile);
    TypedDatatype<Math::Vec2d>::getInstance()->callDivision(&untouched, &untouched, &untouched);
    CHECK(untouched == 8);

    // Whole numbers wrap, floating ones are exact; the result may be an operand.
    const auto checkSum = [](const auto& left, const auto& right, const auto& sum) {
        const DatatypeBase& vector = *TypedDatatype<decltype(left)>::getInstance();
        auto result = left;
        bool isChanged = false;
        vector.callAddition(&result, &result, &right);
        CHECK(result == sum);
        vector.callUnequal(&isChanged, &result, &left);
        CHECK(isChanged);
        vector.callSubstraction(&result, &result, &right);
        CHECK(result == left);
    };
    checkSum(Math::Vec2i{2147483647, -5}, Math::Vec2i{1, 2}, Math::Vec2i{-2147483647 - 1, -3});
    checkSum(Math::Vec3f{1, 1, 1}, Math::Vec3f{0, 0, 0x1p-23F}, Math::Vec3f{1, 1, 1 + 0x1p-23F});
    String text("con");
    TypedDatatype<String>::getInstance()->callAddition(&text, &text, &text);
    CHECK(text == "concon");
}

TEST_CASE_FIXTURE(DatatypeTest, "a type has what it was given, and asserts and yields nothing for the rest") {
    NFDatatype<Colour>& type = registerOwn<Colour>("Colour");
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
        "Darken", +[](const Colour& object, int32 by) { return object.grey - by; });
    const Container::Vector<DatatypeID> arguments(allocator(), {GET_DATATYPE_ID<int32>()});
    const auto id = type.getFunctionID("Darken", arguments);
    CHECK(type.getReturnValueType(id) == GET_DATATYPE_ID<int32>());
    Container::Vector<DatatypeID> signature(allocator());
    CHECK(type.getArgumentSignature(signature, id));
    CHECK(signature == arguments);
    Reflection::Function::FunctionArgumentList list(arguments, allocator());
    list.set(0, int32{2});
    int32 result = 0;
    CHECK(type.callFunction(&result, id, &colour, list));
    CHECK(result == 3);
    CHECK_FALSE(type.callFunction(id, nullptr, list));
    CHECK(type.getFunctionID("Darken", Container::Vector<DatatypeID>(allocator())) ==
          Reflection::Function::FunctionID());
}

TEST_CASE_FIXTURE(DatatypeTest, "an item of another name is reported, and taken") {
    MemoryStream stream("items", 256);
    BinarySerializeStorage writer(SerializeStorage::SMODE_OUTPUT, Platform::Endian::ENDIAN_LITTLE);
    writer.open(&stream);
    for (const char* const name : {"x", "w", "z"})
        writer.writeFloat64(name, 1);
    writer.writeUInt32("size", 1);
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
    Container::Vector<bool> bits(allocator());
    TypedDatatype<Container::Vector<bool>>::getInstance()->readValue(&bits, &reader);
    CHECK(bits == Container::Vector<bool>(allocator(), {true}));
}
