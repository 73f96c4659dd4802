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
const std::string cTypesFile = "common/reflection/datatype/datatypes";

class ManagerTest : public LibraryTest {
public:
    DatatypeManagerPtr manager{new (allocator()) DatatypeManager};
};

class BuiltinTest : public ManagerTest {
public:
    BuiltinTest() { registerDebuggerDatatypes(manager); }
};

/// Whether the type has what types of its family have member functions for.
template <class T>
bool hasFunctions() {
    auto& type = *static_cast<Datatype<T>*>(TypedDatatype<T>::getInstance());
    const Container::Vector<DatatypeID> noArguments(type.getAllocator());
    const auto has = [&](const char* name) { return type.getFunctions().existsFunction(name, noArguments, false); };
    return type.isBasicDatatype() || has("GetLength") || has("Size");
}

/// The report of a registration, or of a name, that does not suit a native type.
template <class T>
ExpectedAssertion misfit(const std::string& condition, const std::string& text) {
    return {condition + "\nError Message: datatype: " + typeid(T).name() + text, cManagerFile};
}

/// Another module of the host, for as long as this lives.
class LoadedModule {
public:
    static std::string file() { return TARQ_TEST_MODULE_DIR "/datatypes" TARQ_TEST_MODULE_SUFFIX; }

    const DatatypesModule* operator->() const { return mFunctions; }

private:
    std::unique_ptr<void, int (*)(void*)> mModule{dlopen(file().c_str(), RTLD_NOW | RTLD_GLOBAL), &dlclose};
    const DatatypesModule* mFunctions = static_cast<const DatatypesModule*>(dlsym(mModule.get(), "datatypesModule"));
};

} // namespace

namespace Tarq::Test {

/// The version of this module; the loaded one has another.
struct Versioned {
    int32 number = 0;
};

} // namespace Tarq::Test

TEST_CASE_FIXTURE(BuiltinTest, "a fresh manager has 42 types in a fixed order, with their native types and operators") {
    const std::string elements =
        "Boolean Integer08 Integer16 Integer32 Integer64 UnsignedInteger08 UnsignedInteger16 UnsignedInteger32 "
        "UnsignedInteger64 Float Double Vec2f Vec2d Vec2i32 Vec2u32 Vec3f Vec3d Vec3i32 Vec3u32 String WString ";
    std::istringstream names(elements + elements);
    const uint32 sizes[] = {
        1, 1, 2, 4, 8, 1, 2, 4, 8, 4, 8, 8, 16, 8, 8, 12, 24, 12, 12, sizeof(String), sizeof(WString)};
    const double components[] = {-3.4028235e38F, -1.7976931348623157e308, -2147483647, 0}; // the defaults of vectors
    uint32 id = 0;
    forEachBuiltinDatatype([&]<class Type>(const Type&) {
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
        auto* const value = static_cast<T*>(type->createValue());
        if constexpr (std::is_arithmetic_v<T>) {
            CHECK(*value == 0);
        } else if constexpr (requires { value->mX; }) {
            for (uint32 index = 0; index < T::cComponents; ++index)
                CHECK((*value)[index] == components[(id - 11) % 4]);
        } else {
            CHECK(value->begin() == value->end());
        }
        type->deleteValue(value);
        CHECK(hasFunctions<T>());
        ++id;
    });
    CHECK(id == 42);
    CHECK(manager->getDatatype(DatatypeID(42)) == nullptr);
    manager->finishInitialization();
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
    const ExpectedAssertion expected(
        std::string("TypedDatatype<T_DATATYPE>::exists()\nError Message: requested DataType: "
                    "\"") +
            typeid(Colour).name() + "\" is not registered",
        "common/reflection/datatype/datatypebase");
    CHECK(GET_DATATYPE_ID<Colour>() == INVALID_DATATYPE_ID);
}

TEST_CASE_FIXTURE(BuiltinTest, "a type is registered once in a module, and is unknown when its manager is gone") {
    const LoadedModule module;
    const DatatypeManagerPtr other(new (allocator()) DatatypeManager);
    CHECK(registerDebuggerDatatypes(manager));
    CHECK(manager->getDatatype(DatatypeID(42)) == nullptr);
    {
        const ExpectedAssertion expected(
            "isSameManager\nError Message: the built-in datatypes are registered with another manager", cTypesFile, 3);
        CHECK_FALSE(registerDebuggerDatatypes(other));
        ReflectionInterface::init(other);
        CHECK(ReflectionInterface::getDatatypeManager().isEmpty());
        CHECK(other->getDatatype(DatatypeID(0)) == nullptr);
        module->registerColour(other, false);
        CHECK(module->countKnown() == 1);
    }
    Datatype<Colour>* const colour = manager->registerDatatype<Colour>("Colour", Colour{7}, nullptr);
    {
        const ExpectedAssertion expected(
            "\nError Message: try to register DataType \"Color\" but exists already with name \"Colour\" !",
            cManagerFile, 2);
        const auto otherKind =
            misfit<Colour>("datatype->isOf(description)", " is registered as another kind of type: Colour");
        CHECK(manager->registerDatatype<Colour>("Color", Colour{8}, nullptr) == colour);
        CHECK(manager->registerNFDatatype<Colour>("Color", Colour{8}, nullptr) == nullptr);
    }
    manager.reset();
    CHECK_FALSE(TypedDatatype<bool>::exists());
    CHECK_FALSE(TypedDatatype<Colour>::exists());
    CHECK(registerDebuggerDatatypes(other));
    CHECK(other->getDatatypeID("Container[WString]") == DatatypeID(42));
    CHECK(hasFunctions<Container::Vector<WString>>());
}

TEST_CASE_FIXTURE(BuiltinTest, "a name and a native type that do not belong together are refused or reported") {
    const auto taken =
        misfit<Colour>("typeIDIter != mTypeIDNameMapping.end()", " cannot have the name of another type: Float");
    CHECK(manager->registerNFDatatype<Colour>("Float", Colour(), nullptr) == nullptr);
    CHECK_FALSE(TypedDatatype<Colour>::exists());

    const LoadedModule module;
    manager->registerNFDatatype<Versioned>("Versioned", Versioned(), nullptr);
    const auto otherVersion =
        misfit<Versioned>("datatype->isOf(description)", " is registered as another kind of type: Versioned");
    CHECK(module->registerVersioned(manager, "Versioned") == nullptr);
    const auto otherName = misfit<Versioned>("nameIter->second == typeIDIter->second",
                                             " already registered with the name: Versioned instead of: Float");
    CHECK(module->registerVersioned(manager, "Float") == nullptr);
    CHECK(manager->getDatatype(DatatypeID(43)) == nullptr);
}

TEST_CASE_FIXTURE(ManagerTest, "what a host registers before the built-in types stays, and lacks nothing of theirs") {
    using List = Container::Vector<WString>;
    manager->registerDatatype<float>("Real", 1, nullptr);
    manager->registerNFDatatype<Math::Vec2f>("Vec2f", Math::Vec2f(), nullptr);
    manager->registerNFDatatype<Colour>("Container[WString]", Colour(), nullptr);
    const auto second =
        misfit<float>("typeIDIter == mTypeIDNameMapping.end()", " already registered with the name: Real");
    const auto taken = misfit<List>("typeIDIter != mTypeIDNameMapping.end()",
                                    " cannot have the name of another type: Container[WString]");
    const auto unbound =
        misfit<List>("datatype && datatype->isOf(description)", " is not registered with the name: Container[WString]");
    CHECK(registerDebuggerDatatypes(manager));
    CHECK(manager->getDatatypeID("Float") == DatatypeID(12));
    CHECK(GET_DATATYPE_ID<float>() == manager->getDatatypeID("Real"));
    CHECK(hasFunctions<Math::Vec2f>());
    CHECK_FALSE(TypedDatatype<List>::exists());
}

TEST_CASE_FIXTURE(LibraryTest, "an id without a type is listed at the end of the registration") {
    struct Reserving : DatatypeManager {
        void reserve(const char* name) {
            if (name)
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
    manager.reserve(nullptr);
    const ExpectedAssertion nameless("found != mNameMapping.end()\nError Message: cannot find datatypename - internal "
                                     "error - please report",
                                     cManagerFile);
    CHECK(manager.getDatatypeName(DatatypeID(3)) == "");
}

TEST_CASE_FIXTURE(ManagerTest, "the interface keeps the first manager until the last close") {
    CHECK(ReflectionInterface::getMemoryAllocator().isEmpty());
    {
        const ExpectedAssertion none("manager\nError Message: there is no manager to register the datatypes with",
                                     cTypesFile);
        ReflectionInterface::init(DatatypeManagerPtr());
    }
    ReflectionInterface::init(manager);
    CHECK(GET_DATATYPE_ID<double>() == DatatypeID(10));
    const DatatypeManagerPtr second(new (allocator()) DatatypeManager);
    ReflectionInterface::init(second);
    ReflectionInterface::init(DatatypeManagerPtr());
    CHECK(ReflectionInterface::getMemoryAllocator() == manager->getAllocator());
    CHECK(second->getDatatypeID("Boolean") == INVALID_DATATYPE_ID);
    ReflectionInterface::close();
    ReflectionInterface::close();
    CHECK(ReflectionInterface::getDatatypeManager() == manager);
    ReflectionInterface::close();
    CHECK(ReflectionInterface::getDatatypeManager().isEmpty());
    CHECK(manager.getReferenceCount() == 1);

    const ExpectedAssertion surplus("mInitCount > 0\nError Message: Deinit is called to often for: ReflectionInterface",
                                    "common/utility/initcounter");
    ReflectionInterface::close();
}

TEST_CASE_FIXTURE(BareTest, "an initialisation without memory keeps nothing, and the next one goes on from there") {
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
        CHECK(ReflectionInterface::getDatatypeManager().isEmpty());
        ReflectionInterface::init(manager);
        uint32 id = 0;
        forEachBuiltinDatatype([&]<class Type>(const Type& type) {
            CHECK(manager->getDatatypeID(type.getName()) == DatatypeID(id));
            CHECK(GET_DATATYPE_ID<typename Type::Native>() == DatatypeID(id++));
            CHECK(hasFunctions<typename Type::Native>());
        });
        ReflectionInterface::close();
        manager.reset();
        CHECK_FALSE(TypedDatatype<bool>::exists());
        Interface::closeLibrary();
    }
    CHECK(failures >= 3);
}

TEST_CASE_FIXTURE(BuiltinTest, "a module knows the types by pointers of its own, which go with it") {
    NFDatatype<Colour>* const colour = manager->registerNFDatatype<Colour>("Colour", Colour{1}, &parseColour<100>);
    const auto isParsedAs = [&](Colour expected) {
        void* const made = colour->parseValue("5", allocator());
        const bool isExpected = *static_cast<Colour*>(made) == expected;
        colour->deleteValue(made, allocator());
        return isExpected;
    };
    for (const bool isParsedThere : {true, false}) {
        {
            const LoadedModule module;
            CHECK(module->countKnown() == 0);
            CHECK(module->registerColour(manager, isParsedThere) == colour);
            CHECK(module->countKnown() == 43);
            CHECK(manager->getDatatype(DatatypeID(43)) == nullptr);
            CHECK(isParsedAs({isParsedThere ? 205 : 105}));
        }
        CHECK(dlopen(LoadedModule::file().c_str(), RTLD_NOW | RTLD_NOLOAD) == nullptr);
        CHECK(isParsedAs({105}));
        CHECK(TypedDatatype<Colour>::getInstance() == colour);
    }
}

TEST_CASE_FIXTURE(BuiltinTest, "a module that outlives a manager knows none of its types, and registers anew") {
    const LoadedModule module;
    CHECK(module->registerColour(manager, true));
    manager.reset();
    CHECK(module->countKnown() == 0);
    const DatatypeManagerPtr other(new (allocator()) DatatypeManager);
    const DatatypeBase* const colour = module->registerColour(other, true);
    CHECK(colour == other->getDatatype(DatatypeID(42)));
    CHECK(module->countKnown() == 43);
}
