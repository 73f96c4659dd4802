#include "common/network/message/streamids.h"

#include "tests/reflection/datatype/colour.h"
#include "tests/reflection/function/functiontest.h"

#include <map>
#include <string>

using namespace Tarq::Common;
using namespace Tarq::Common::Network::Message;
using namespace Tarq::Common::Reflection::Datatype;
using namespace Tarq::Test;

namespace {

/// In the order of the data types; the number of a container is 128 more, and its name has "ARRAY_" in it.
struct Row {
    const char* datatype;
    int number;
    std::string name;
};
const Row cRows[] = {
    {"Boolean", 0, "BOOL"},
    {"Integer08", 1, "INT08"},
    {"Integer16", 2, "INT16"},
    {"Integer32", 3, "INT32"},
    {"Integer64", 4, "INT64"},
    {"UnsignedInteger08", 5, "UINT08"},
    {"UnsignedInteger16", 6, "UINT16"},
    {"UnsignedInteger32", 7, "UINT32"},
    {"UnsignedInteger64", 8, "UINT64"},
    {"Float", 9, "FLOAT32"},
    {"Double", 10, "FLOAT64"},
    {"Vec2f", 16, "VEC_2_FLOAT32"},
    {"Vec2d", 17, "VEC_2_FLOAT64"},
    {"Vec2i32", 18, "VEC_2_INT32"},
    {"Vec2u32", 19, "VEC_2_UINT32"},
    {"Vec3f", 20, "VEC_3_FLOAT32"},
    {"Vec3d", 21, "VEC_3_FLOAT64"},
    {"Vec3i32", 22, "VEC_3_INT32"},
    {"Vec3u32", 23, "VEC_3_UINT32"},
    {"String", 11, "BSTRING"},
    {"WString", 12, "WSTRING"},
};

std::string nameOf(int number) {
    const char* const name = getStreamIDName(static_cast<StreamIDs>(number));
    return name ? name : "none";
}

} // namespace

TEST_CASE("every number has the name of its enumerator, and those that name no type have none") {
    std::map<int, std::string> names;
    for (const Row& row : cRows) {
        names[row.number] = "STREAM_TYPE_" + row.name;
        names[row.number + 128] = "STREAM_TYPE_ARRAY_" + row.name;
    }
    REQUIRE(names.size() == 42);
    for (int number = 0; number < 256; ++number) {
        CAPTURE(number);
        CHECK(nameOf(number) == (names.contains(number) ? names[number] : "none"));
    }
}

TEST_CASE_FIXTURE(FunctionTest, "every built-in type has its tag, by its native type, its name and its id") {
    const Row* row = cRows;
    forEachElementType([&row]<class E>(const ElementType<E>& element) {
        CAPTURE(element.name);
        const int number = row->number;
        CHECK(std::string(element.name) == (row++)->datatype);
        CHECK(getStreamID<E>() == number);
        CHECK(getStreamID<Container::Vector<E>>() == number + 128);
        StreamIDs found = STREAM_TYPE_BOOL;
        CHECK(getStreamIDFromDatatypeID(found, GET_DATATYPE_ID<E>()));
        CHECK(found == number);
        const auto id = ReflectionInterface::getDatatypeManager()->getDatatypeID(ContainerType<E>{element}.getName());
        CHECK(getStreamIDFromDatatypeID(found, id));
        CHECK(found == number + 128);
    });
    CHECK(getStreamID<long long>() == STREAM_TYPE_INT64);
    CHECK(getStreamID<char>() == STREAM_TYPE_INT08);
    CHECK(getStreamID<StreamIDs>() == STREAM_TYPE_UINT08);
}

TEST_CASE_FIXTURE(FunctionTest, "a type that is not built in has no tag") {
    ReflectionInterface::getDatatypeManager()->registerNFDatatype<Colour>("Colour", Colour(), nullptr);
    for (const DatatypeID id : {GET_DATATYPE_ID<Colour>(), VOID_DATATYPE_ID, INVALID_DATATYPE_ID}) {
        const ExpectedAssertion expected("\nError Message: data type not supported yet: (" +
                                             std::to_string(GetIDWrapperValue(id)) + ")",
                                         "common/network/message/streamids");
        StreamIDs found = STREAM_TYPE_WSTRING;
        CHECK(!getStreamIDFromDatatypeID(found, id));
        CHECK(found == STREAM_TYPE_WSTRING);
    }
}

TEST_CASE_FIXTURE(LibraryTest, "types that are not registered have no tag") {
    const ExpectedAssertion expected("\nError Message: data type not supported yet: (0)",
                                     "common/network/message/streamids");
    StreamIDs found;
    CHECK(!getStreamIDFromDatatypeID(found, DatatypeID(0)));
}

TEST_CASE_FIXTURE(LibraryTest, "tags do not depend on the order in which types were registered") {
    const DatatypeManagerPtr manager(new (allocator()) DatatypeManager);
    manager->registerNFDatatype<Colour>("Colour", Colour(), nullptr);
    manager->registerDatatype<float>("Float", 0.0F, nullptr);
    ReflectionInterface::init(manager);
    StreamIDs found = STREAM_TYPE_BOOL;
    CHECK(getStreamIDFromDatatypeID(found, DatatypeID(1)));
    CHECK(found == STREAM_TYPE_FLOAT32);
    CHECK(getStreamIDFromDatatypeID(found, DatatypeID(2)));
    CHECK(found == STREAM_TYPE_BOOL);
    ReflectionInterface::close();
}
