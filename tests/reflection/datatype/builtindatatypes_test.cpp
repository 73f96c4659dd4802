#include "common/reflection/datatype/builtindatatypes.h"

#include "common/exceptions/exception.h"
#include "common/memory/memorystream.h"
#include "common/reflection/datatype/datatypes.h"
#include "common/reflection/datatype/stringconversionfunctions.h"
#include "common/reflection/function/functionargumentlist.h"
#include "common/serialize/binaryserializestorage.h"
#include "common/serialize/serializeexception.h"
#include "tests/reflection/datatype/colour.h"
#include "tests/reflection/function/functiontest.h"

#include <string>

using namespace Tarq::Common;
using namespace Tarq::Common::Reflection::Datatype;
using namespace Tarq::Test;
using namespace std::string_literals;
using Serialize::BinarySerializeStorage;
using Serialize::SerializeException;
using Serialize::SerializeStorage;

namespace {

/// Items that are written, and then read.
struct StoredItems {
    StoredItems() { mWriter.open(&mStream); }

    SerializeStorage& write() { return mWriter; }
    SerializeStorage& read() {
        mWriter.close();
        mStream.seek(0, IO::Stream::SORIGIN_BEGIN);
        REQUIRE(mReader.open(&mStream));
        return mReader;
    }

private:
    Memory::MemoryStream mStream{"items", 4096};
    BinarySerializeStorage mWriter{SerializeStorage::SMODE_OUTPUT, Platform::Endian::ENDIAN_LITTLE};
    BinarySerializeStorage mReader{SerializeStorage::SMODE_INPUT, Platform::Endian::ENDIAN_LITTLE};
};

class BuiltinTest : public FunctionTest {
public:
    using Strings = Container::Vector<String>;

    template <class T>
    static const DatatypeBase& typeOf() {
        return *TypedDatatype<T>::getInstance();
    }
    /// Calls a member function of lists of strings while there is no memory; what the call needs is made before that.
    template <class... Arguments>
    void callWithoutMemory(void* result, const char* name, Strings& strings, const Arguments&... arguments) const {
        CAPTURE(name);
        const auto id = typeOf<Strings>().getFunctionID(name, types<Arguments...>());
        const List list = listOf(arguments...);
        getMemory().failAfter(0);
        const bool isCalled = typeOf<Strings>().callFunction(result, id, &strings, list);
        getMemory().failNever();
        CHECK(isCalled);
    }
};

} // namespace

TEST_CASE_FIXTURE(BuiltinTest, "elements that are read stand behind those there are, and go when one is missing") {
    forEachElementType([&]<class E>(const ElementType<E>& element) {
        CAPTURE(element.name);
        using Elements = Container::Vector<E>;
        const E one = TextForm<E>::convert("1", allocator());
        const E zero = TextForm<E>::convert("0", allocator());
        const Elements stored(allocator(), {one, zero});
        StoredItems items;
        typeOf<Elements>().writeValue(&stored, &items.write());
        items.write().writeUInt32("count", 3);
        typeOf<E>().writeValue(&one, &items.write());

        SerializeStorage& storage = items.read();
        Elements list(allocator(), {zero});
        typeOf<Elements>().readValue(&list, &storage);
        const Elements expected(allocator(), {zero, one, zero});
        CHECK(list == expected);
        catchThrown<SerializeException>([&] { typeOf<Elements>().readValue(&list, &storage); });
        CHECK(list == expected);
    });
}

TEST_CASE_FIXTURE(BuiltinTest, "a vector that is stored in part only is not read at all") {
    StoredItems items;
    items.write().writeInt32("x", 1);
    items.write().writeInt32("y", 2);
    Math::Vec3i vector{4, 5, 6};
    catchThrown<SerializeException>([&] { typeOf<Math::Vec3i>().readValue(&vector, &items.read()); });
    CHECK(vector == Math::Vec3i{4, 5, 6});
}

TEST_CASE_FIXTURE(BuiltinTest, "values are read from a storage that has no names") {
    // A uint32 has the tag 06, a uint8 02, a string 0c; behind the items, two tables without a name.
    Memory::MemoryStream stream("nameless", 64);
    const std::string bytes = "\x12\x01\x03\0\0\0\x2A\0\0\0\0\0\0\0\x02\0\0\0"s
                              "\x06\x07\0\0\0\x06\x08\0\0\0"s
                              "\x06\x02\0\0\0\x02\x09\x02\x0A"s
                              "\x0C\x02\0ab"s
                              "\0\0\0\0\0\0\0\0"s;
    stream.write(bytes.data(), bytes.size());
    stream.seek(0, IO::Stream::SORIGIN_BEGIN);
    BinarySerializeStorage storage(SerializeStorage::SMODE_INPUT, Platform::Endian::ENDIAN_LITTLE);
    REQUIRE(storage.open(&stream));
    Math::Vec2u vector;
    Container::Vector<uint8> list(allocator());
    String text;
    typeOf<Math::Vec2u>().readValue(&vector, &storage);
    typeOf<Container::Vector<uint8>>().readValue(&list, &storage);
    typeOf<String>().readValue(&text, &storage);
    CHECK(vector == Math::Vec2u{7, 8});
    CHECK(list == Container::Vector<uint8>(allocator(), {9, 10}));
    CHECK(text == "ab");
}

TEST_CASE_FIXTURE(BuiltinTest, "a container of a type that cannot be stored is registered, and cannot be stored") {
    using Colours = Container::Vector<Colour>;
    Colours colours(allocator(), {Colour{1}});
    const DatatypeBase* const type =
        ReflectionInterface::getDatatypeManager()->registerNFDatatype<Colours>("Container[Colour]", colours, nullptr);
    REQUIRE(type);
    const ExpectedAssertion expected("\nError Message: no serializer defined for type: Container[Colour]",
                                     "common/reflection/datatype/datatypebase", 2);
    StoredItems items;
    type->writeValue(&colours, &items.write());
    type->readValue(&colours, &items.write());
    CHECK(colours == Colours(allocator(), {Colour{1}}));
}

TEST_CASE_FIXTURE(BuiltinTest, "an element that there is no memory for is asserted, and changes nothing") {
    const String large(100000, 'x'); // more than any memory that the library keeps for later
    const Strings before(allocator(), {"a", large});
    Strings strings = before;
    String result = "old";
    const ExpectedAssertion expected("\nError Message: there is no room for the element",
                                     "common/reflection/datatype/internal/builtintraits", 3);
    callWithoutMemory(nullptr, "PushBack", strings, large);
    callWithoutMemory(nullptr, "SetElement", strings, uint32{0}, large);
    callWithoutMemory(&result, "GetElement", strings, uint32{1});
    CHECK(strings == before);
    CHECK(result == "");
}
