#include "common/reflection/datatype/datatypemanager.h"

#include "common/interface.h"
#include "common/library.h"
#include "common/memory/memoryexception.h"
#include "common/reflection/reflectioninterface.h"
#include "tests/reflection/datatype/colour.h"
#include "tests/support/librarytest.h"

#include <memory>
#include <sstream>
#include <string>

#include <dlfcn.h>

using namespace Tarq::Common;
using namespace Tarq::Common::Reflection::Datatype;
using namespace Tarq::Test;
using Tarq::Common::Reflection::ReflectionInterface;

namespace {

const std::string cManagerFile = "common/reflection/datatype/datatypemanager";
const std::string cColour = typeid(Colour).name();

class ManagerTest : public LibraryTest {
public:
    DatatypeManagerPtr manager{new (allocator()) DatatypeManager};
};

class BuiltinTest : public ManagerTest {
public:
    BuiltinTest() { registerDebuggerDatatypes(manager); }
};

} // namespace

TEST_CASE_FIXTURE(BuiltinTest, "a fresh manager has 42 types in a fixed order, with their native types and operators") {
    const std::string elements =
        "Boolean Integer08 Integer16 Integer32 Integer64 UnsignedInteger08 UnsignedInteger16 UnsignedInteger32 "
        "UnsignedInteger64 Float Double Vec2f Vec2d Vec2i32 Vec2u32 Vec3f Vec3d Vec3i32 Vec3u32 String WString ";
    std::istringstream names(elements + elements);
    const uint32 sizes[] = {
        1, 1, 2, 4, 8, 1, 2, 4, 8, 4, 8, 8, 16, 8, 8, 12, 24, 12, 12, sizeof(String), sizeof(WString)};
    uint32 id = 0;
    forEachBuiltinDatatype([&]<class Type>(const Type& builtin) {
        using T = typename Type::Native;
        const bool isContainer = id >= 21;
        std::string name;
        names >> name;
        if (isContainer)
            name = "Container[" + name + "]";
        CAPTURE(name);
        const auto* const type = static_cast<Datatype<T>*>(manager->getDatatype(DatatypeID(id)));
        REQUIRE(type == TypedDatatype<T>::getInstance());
        CHECK(manager->getDatatypeID(name) == DatatypeID(id));
        CHECK(manager->getDatatypeName(DatatypeID(id)) == name.c_str());
        CHECK(type->getID() == DatatypeID(id));
        CHECK(GET_DATATYPE_ID<const T&>() == DatatypeID(id));
        CHECK(type->getSize() == (isContainer ? sizeof(T) : sizes[id]));
        CHECK(type->isBasicDatatype() == (id <= 10));
        CHECK(type->hasAddition() == (id <= 20));
        CHECK(type->hasSubstraction() == (id <= 18));
        CHECK(type->hasMultiplication() == (id <= 10));
        CHECK(type->hasUnequal());
        CHECK(type->hasSmaller() == (id <= 10));
        if constexpr (std::is_arithmetic_v<T>)
            CHECK(builtin.makeDefault(allocator()) == 0);
        ++id;
    });
    CHECK(id == 42);
    CHECK(manager->getDatatype(DatatypeID(42)) == nullptr);
    manager->finishInitialization();
    CHECK(std::get<ElementType<Math::Vec2f>>(cElementTypes).defaultValue == -3.4028235e38F);
    CHECK(std::get<ElementType<Math::Vec3d>>(cElementTypes).defaultValue == -1.7976931348623157e308);
    CHECK(std::get<ElementType<Math::Vec3i>>(cElementTypes).makeDefault(allocator()).mZ == -2147483647);
    CHECK(std::get<ElementType<Math::Vec2u>>(cElementTypes).makeDefault(allocator()).mY == 0);
}

TEST_CASE_FIXTURE(BuiltinTest, "types that differ in spelling are one, and what is no type has no id and no name") {
    CHECK(GET_DATATYPE_ID<char>() == DatatypeID(1));
    CHECK(GET_DATATYPE_ID<long>() == DatatypeID(sizeof(long) == 8 ? 4 : 3));
    CHECK(GET_DATATYPE_ID<long long>() == DatatypeID(4));
    CHECK(GET_DATATYPE_ID<unsigned long long&&>() == DatatypeID(8));
    CHECK(GET_DATATYPE_ID<void>() == VOID_DATATYPE_ID);
    CHECK(manager->getDatatypeID("void") == VOID_DATATYPE_ID);
    CHECK(manager->getDatatypeID("VOID") == VOID_DATATYPE_ID);
    for (const char* const name : {"void ", "voi", "Vector", "boolean", "", static_cast<const char*>(nullptr)})
        CHECK(manager->getDatatypeID(name) == INVALID_DATATYPE_ID);
    CHECK(manager->getDatatypeName(VOID_DATATYPE_ID) == "void");
    CHECK(manager->getDatatypeName(DatatypeID(42)) == "");
    CHECK(manager->getDatatypeName(INVALID_DATATYPE_ID) == "");
    CHECK(manager->getDatatype(VOID_DATATYPE_ID) == nullptr);
    const ExpectedAssertion expected("TypedDatatype<T_DATATYPE>::exists()\nError Message: requested DataType: \"" +
                                         cColour + "\" is not registered",
                                     "common/reflection/datatype/datatypebase");
    CHECK(GET_DATATYPE_ID<Colour>() == INVALID_DATATYPE_ID);
}

TEST_CASE_FIXTURE(BuiltinTest, "a type is registered once in a module, and is unknown when its manager is gone") {
    DatatypeManagerPtr other(new (allocator()) DatatypeManager);
    registerDebuggerDatatypes(manager);
    registerDebuggerDatatypes(other);
    CHECK(other->getDatatypeID("Boolean") == INVALID_DATATYPE_ID);
    Datatype<Colour>* const colour = manager->registerDatatype<Colour>("Colour", Colour{7}, nullptr);
    {
        const ExpectedAssertion expected(
            "\nError Message: try to register DataType \"Color\" but exists already with name \"Colour\" !",
            cManagerFile, 2);
        CHECK(manager->registerDatatype<Colour>("Color", Colour{8}, nullptr) == colour);
        CHECK(manager->registerNFDatatype<Colour>("Color", Colour{8}, nullptr) == nullptr);
    }
    manager.reset();
    CHECK_FALSE(TypedDatatype<bool>::exists());
    CHECK_FALSE(TypedDatatype<Colour>::exists());
    registerDebuggerDatatypes(other);
    CHECK(other->getDatatypeID("Container[WString]") == DatatypeID(41));
}

TEST_CASE_FIXTURE(BuiltinTest, "a name and a native type that do not belong together are refused or reported") {
    const auto report = [](const char* condition, const char* text) {
        return ExpectedAssertion(condition + ("\nError Message: datatype: " + cColour) + text, cManagerFile);
    };
    const auto taken = report("typeIDIter != mTypeIDNameMapping.end()", " cannot have the name of another type: Float");
    CHECK(manager->registerNFDatatype<Colour>("Float", Colour(), nullptr) == nullptr);
    CHECK(manager->getDatatype(DatatypeID(42)) == nullptr);
    CHECK_FALSE(TypedDatatype<Colour>::exists());

    manager->registerNFDatatype<Colour>("Colour", Colour(), nullptr);
    const auto both =
        report("nameIter->second == typeIDIter->second", " already registered with the name: Colour instead of: Float");
    CHECK(manager->checkExistance("Float", cColour));
}

TEST_CASE_FIXTURE(ManagerTest, "a native type that another module registers under a second name has both") {
    manager->registerDatatype<float>("Real", 1, nullptr);
    const ExpectedAssertion expected("typeIDIter == mTypeIDNameMapping.end()\nError Message: datatype: " +
                                         std::string(typeid(float).name()) + " already registered with the name: Real",
                                     cManagerFile);
    registerDebuggerDatatypes(manager);
    CHECK(manager->getDatatypeID("Float") == DatatypeID(10));
    CHECK(GET_DATATYPE_ID<float>() == manager->getDatatypeID("Real"));
}

TEST_CASE_FIXTURE(LibraryTest, "an id without a type is listed at the end of the registration") {
    struct Reserving : DatatypeManager {
        void reserve(const char* name) {
            mNameMapping[name] = DatatypeID(mDatatypes.size());
            mDatatypes.push_back(nullptr);
        }
    } manager;
    manager.reserve("Later");
    manager.registerNFDatatype<Colour>("Colour", Colour(), nullptr);
    manager.reserve("Never");
    const ExpectedAssertion expected("missing.empty()\nError Message: the following datatypes are not registered and "
                                     "will cause errors:/nLater\nNever\n",
                                     cManagerFile);
    manager.finishInitialization();
}

TEST_CASE_FIXTURE(ManagerTest, "the interface keeps the first manager until the last close") {
    CHECK(ReflectionInterface::getMemoryAllocator().isEmpty());
    ReflectionInterface::init(manager);
    CHECK(GET_DATATYPE_ID<double>() == DatatypeID(10));
    const DatatypeManagerPtr second(new (allocator()) DatatypeManager);
    ReflectionInterface::init(second);
    CHECK(ReflectionInterface::getMemoryAllocator() == manager->getAllocator());
    CHECK(second->getDatatypeID("Boolean") == INVALID_DATATYPE_ID);
    ReflectionInterface::close();
    CHECK(ReflectionInterface::getDatatypeManager() == manager);
    ReflectionInterface::close();
    CHECK(ReflectionInterface::getDatatypeManager().isEmpty());
    CHECK(manager.getReferenceCount() == 1);

    const ExpectedAssertion surplus("mInitCount > 0\nError Message: Deinit is called to often for: ReflectionInterface",
                                    "common/utility/initcounter");
    ReflectionInterface::close();
}

TEST_CASE_FIXTURE(BareTest, "an initialisation without memory keeps nothing, and registers each type wholly or not") {
    const AssertionRecorder exhaustions; // The allocators report them too.
    int failures = 0;
    for (bool isInitialised = false; !isInitialised;) {
        Interface::initLibrary(getMemoryCallback());
        DatatypeManagerPtr manager(new (Library::getTempAlloc()) DatatypeManager);
        getMemory().failAfter(failures);
        try {
            ReflectionInterface::init(manager);
            isInitialised = true;
            ReflectionInterface::close();
        } catch (Memory::OutOfMemoryException* exception) {
            delete exception;
            ++failures;
        }
        getMemory().failNever();
        uint32 id = 0;
        forEachBuiltinDatatype([&]<class Type>(const Type& type) {
            const bool isThere = manager->getDatatype(DatatypeID(id)) != nullptr;
            CHECK(manager->getDatatypeID(type.getName()) == (isThere ? DatatypeID(id++) : INVALID_DATATYPE_ID));
        });
        manager.reset();
        CHECK_FALSE(TypedDatatype<bool>::exists());
        Interface::closeLibrary();
    }
    CHECK(failures >= 3);
}

TEST_CASE_FIXTURE(BuiltinTest, "a module knows the types by pointers of its own, which go with it") {
    const std::string file = TARQ_TEST_MODULE_DIR "/datatypes" TARQ_TEST_MODULE_SUFFIX;
    NFDatatype<Colour>* const colour = manager->registerNFDatatype<Colour>("Colour", Colour{1}, &parseColour<100>);
    const auto isParsedAs = [&](Colour expected) {
        void* const made = colour->parseValue("5", allocator());
        const bool isExpected = *static_cast<Colour*>(made) == expected;
        colour->deleteValue(made, allocator());
        return isExpected;
    };
    for (int round = 0; round < 2; ++round) {
        std::unique_ptr<void, int (*)(void*)> module(dlopen(file.c_str(), RTLD_NOW | RTLD_GLOBAL), &dlclose);
        REQUIRE(module);
        const auto count = reinterpret_cast<uint32 (*)()>(dlsym(module.get(), "countKnownDatatypes"));
        const auto registerHere =
            reinterpret_cast<const DatatypeBase* (*)(const DatatypeManagerPtr&)>(dlsym(module.get(), "registerColour"));
        CHECK(count() == 0);
        CHECK(registerHere(manager) == colour);
        CHECK(count() == 43);
        CHECK(manager->getDatatype(DatatypeID(43)) == nullptr);
        CHECK(isParsedAs({205}));
        module.reset();
        CHECK(dlopen(file.c_str(), RTLD_NOW | RTLD_NOLOAD) == nullptr);
        CHECK(isParsedAs({105}));
        CHECK(TypedDatatype<Colour>::getInstance() == colour);
    }
}
