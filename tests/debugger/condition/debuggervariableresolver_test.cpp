#include "common/debugger/condition/debuggervariableresolver.h"

#include "tests/debugger/condition/conditiontest.h"

#include "common/debugger/condition/internal/referenceddebuggermathvalue.h"

#include <set>

using namespace Tarq::Test;

namespace {

const std::string cNode = "common/debugger/condition/internal/referenceddebuggermathvalue";
const std::string cResolverFile = "common/debugger/condition/debuggervariableresolver";
const std::string cInstanceFile = "common/debugger/model/objectinstance";
const std::string cNotNeeded = "\nError Message: not needed";

/// A value that is not the default one; `seed` makes another one.
template <class T>
T sampleOf(int seed) {
    if constexpr (std::same_as<T, bool>) {
        return seed != 0;
    } else if constexpr (std::is_arithmetic_v<T>) {
        return static_cast<T>(17 + seed);
    } else if constexpr (std::same_as<T, String>) {
        return String("text ").appendDecimal(seed);
    } else if constexpr (std::same_as<T, WString>) {
        return WString(L"wide ").appendDecimal(seed);
    } else if constexpr (requires { typename T::Component; }) {
        T vector;
        for (uint32 index = 0; index < T::cComponents; ++index)
            vector[index] = static_cast<typename T::Component>(3 + seed + static_cast<int>(index));
        return vector;
    } else {
        T list{Memory::AllocatorPtr()};
        for (int count = 0; count <= seed; ++count)
            list.push_back(sampleOf<typename T::value_type>(count));
        return list;
    }
}

template <class T>
struct Sample {
    T value = sampleOf<T>(1);
};

/// A variable of each built-in type.
struct AllTypesTest : ConditionTest {
    AllTypesTest() {
        forEach([this]<class T>(T& variable) { declare(nameOf<T>().c_str(), variable); });
    }
    void forEach(const auto& visit) {
        std::apply([&visit](auto&... sample) { (visit(sample.value), ...); }, mSamples);
    }
    template <class T>
    static std::string nameOf() {
        return Datatype::TypedDatatype<T>::getInstance()->getName().c_str();
    }

    template <class... E>
    static std::tuple<Sample<E>..., Sample<Container::Vector<E>>...>
    samplesOf(const std::tuple<Datatype::ElementType<E>...>&);
    decltype(samplesOf(Datatype::cElementTypes)) mSamples;
};

/// A variable of a type that is none of the built-in ones.
class OddVariableType final : public Debugger::VariableType {
public:
    explicit OddVariableType(DatatypeID type)
        : VariableType(Network::Message::STREAM_TYPE_BOOL, "odd", true, nullptr, 0), mDatatype(type) {}
    DatatypeID getDatatypeID() const override { return mDatatype; }
    bool read(void*, MessageReader&) const override { return false; }
    void write(const void*, MessageBuilder&) const override {}

private:
    DatatypeID mDatatype;
};

} // namespace

TEST_CASE_FIXTURE(AllTypesTest, "a variable of each type has a node that reads it anew each time") {
    makeInstance();
    Debugger::DebuggerVariableAccessor& accessor = *mInstance->getVariableAccessor();
    std::set<uint32> classes;
    forEach([&]<class T>(T& variable) {
        const std::string name = nameOf<T>();
        CAPTURE(name);
        const Node node = parse(Tarq::Test::variable("Boolean", name));
        CHECK((node->getDatatypeID() == Datatype::GET_DATATYPE_ID<T>() && !node->isConstant()));
        CHECK((node->getOperationType() == Expression::OPERATION_NONE && node->isReferenceValue()));
        CHECK(node->merge() == nullptr);
        CHECK(classes.insert(node->getMathValueTypeID()).second);
        const Node copy(node->clone());
        CHECK(copy->getMathValueTypeID() == node->getMathValueTypeID());
        T value = sampleOf<T>(2);
        for (const int seed : {1, 0}) {
            variable = sampleOf<T>(seed);
            node->getValue(&value, &accessor);
            CHECK(value == variable);
            value = sampleOf<T>(2);
            copy->getValue(&value, &accessor);
            CHECK(value == variable);
        }
        auto* const typed = dynamic_cast<TypedMathValue<T>*>(node.get());
        REQUIRE(typed != nullptr);
        CHECK(typed->evaluate(&accessor) == variable);
        CHECK(!accessor.isMissing());

        const ExpectedAssertion expected(cNotNeeded, cNode, 4);
        Container::Vector<uint32> ids(allocator());
        node->getContainingVariables(ids);
        node->replaceVariableAccessID(1, 2);
        CHECK((ids.empty() && !node->isEqual(node.get()) && !node->getValueReference(&accessor)));
    });
    CHECK(classes.size() == 42);
}

TEST_CASE_FIXTURE(AllTypesTest, "a variable that is not registered any more has no value") {
    makeInstance();
    const Node number = parse(op("equal", variable("Integer32", "Integer32"), lit("Integer32", "0")));
    const Node text = parse(op("equal", variable("String", "String"), lit("String", "")));
    const Node size = parse(op("equal", memberCall(variable("Container[Vec2f]", "Container[Vec2f]"), "Size"),
                               lit("UnsignedInteger32", "0")));
    for (const auto& tried :
         {std::pair(number.get(), "Integer32"), {text.get(), "String"}, {size.get(), "Container[Vec2f]"}}) {
        CAPTURE(tried.second);
        CHECK(valueOf(*tried.first) == "false");
        uint32 id = 0;
        REQUIRE(mType->getVarID(id, tried.second));
        CHECK(mInstance->unregisterVariable(id));
        CHECK(valueOf(*tried.first) == "true, missing");
        CHECK(valueOf(*parse(variable("Boolean", "Boolean"))) == "true");
    }
}

TEST_CASE_FIXTURE(AllTypesTest, "values are read of attached instances only, and of the type's own") {
    makeInstance(false);
    Debugger::DebuggerVariableAccessor accessor(mInstance, nullptr);
    const Node node = parse(variable("UnsignedInteger16", "UnsignedInteger16"));
    Tarq::Common::uint16 value = 5;
    {
        const ExpectedAssertion expected(
            "mIsAttached\nError Message: Tried to get variable value pointer of an unattached ObjectInstance",
            cInstanceFile);
        node->getValue(&value, &accessor);
    }
    CHECK((value == 0 && accessor.isMissing()));
    accessor.begin();
    CHECK(!accessor.isMissing());

    mInstance->attach();
    node->getValue(&value, &accessor);
    CHECK((value == 18 && !accessor.isMissing()));

    Debugger::ObjectType* const other = mType->getGroup()->createObjectType("stone");
    other->attach();
    Debugger::ObjectInstance* const stone = other->createObjectInstance("flint");
    stone->attach();
    node->getValue(&value, stone->getVariableAccessor());
    CHECK((value == 0 && stone->getVariableAccessor()->isMissing()));
}

TEST_CASE_FIXTURE(AllTypesTest, "the resolver knows variables only") {
    const Document document(var("Boolean", "Boolean"));
    Expression::ErrorMsg error;
    {
        const ExpectedAssertion expected("\nError Message: In 'formulas'->'formula' the tag 'name' is required !",
                                         "common/parser/xml/xmltreereader");
        CHECK(mResolver.getVariable(document.get(), error) == nullptr);
    }
    const ExpectedAssertion expected("\nError Message: not implement and should not be calld in debugger",
                                     cResolverFile, 2);
    CHECK(mResolver.getConstant(document.get(), error) == nullptr);
    CHECK(mResolver.getCustomMathValue(document.get(), nullptr, error) == nullptr);
    CHECK(!error.existsError());
}

TEST_CASE_FIXTURE(AllTypesTest, "what conditions have no use for is reported") {
    makeInstance();
    {
        const Node node = parse(variable("Integer32", "Integer32"));
        const ExpectedAssertion expected("\nError Message: not implemented - not needed", cNode);
        auto& typed = static_cast<Debugger::ReferencedDebuggerMathValue<int32>&>(*node);
        CHECK(typed.getTypedValueReference(mInstance->getVariableAccessor()) == nullptr);
    }
    {
        auto* const registrar = new (allocator()) FunctionRegistrar(allocator());
        const Debugger::DebuggerVariableAccessor accessor(mInstance, registrar);
        CHECK(&accessor.getInstance() == mInstance);
        const ExpectedAssertion expected("\nError Message: not needed - not implemented",
                                         "common/debugger/condition/debuggervariableaccessor");
        CHECK(accessor.getFunctionRegistrar() == registrar);
    }
    auto* const colour =
        ReflectionInterface::getDatatypeManager()->registerNFDatatype<Colour>("<Colour>", Colour(), &parseColour<0>);
    for (const DatatypeID type : {colour->getDatatypeID(), DatatypeID()}) {
        const OddVariableType odd(type);
        const Node node(new (allocator()) Debugger::UntypedReferencedDebuggerMathValue(odd));
        CHECK((node->getDatatypeID() == type && node->isReferenceValue() && !node->isConstant()));
        const Node copy(node->clone());
        CHECK((copy->getDatatypeID() == type && copy->getMathValueTypeID() == node->getMathValueTypeID()));
        Debugger::DebuggerVariableAccessor& accessor = *mInstance->getVariableAccessor();
        accessor.begin();
        Colour value{5};
        const ExpectedAssertion expected("\nError Message: ToDo: implement", cNode);
        node->getValue(&value, &accessor);
        CHECK((value.grey == 5 && accessor.isMissing()));
    }
}
