#pragma once

#include "tests/reflection/datatype/colour.h"
#include "tests/reflection/function/functiontest.h"

#include "common/callback/callbackallocator.h"
#include "common/parser/formula/atomicmathvalue.h"
#include "common/parser/formula/datatypevalue.h"
#include "common/parser/formula/fieldmathvalue.h"
#include "common/parser/formula/functionenvironment.h"
#include "common/parser/formula/variableresolver.h"
#include "common/parser/xml/xmlparser.h"

#include <charconv>
#include <memory>
#include <string>
#include <vector>

namespace Tarq::Test {

using namespace Common::Parser::Formula;
using Common::Parser::XML::XMLNodeElements;

/// The name of a type of the host's own, which documents write in another way.
inline const std::string cColour = "&lt;Colour&#62;";

/// What stands behind the name of an element: the rest of its start tag, and what is inside.
using Body = std::string;

inline std::string element(const std::string& name, const Body& body) {
    return "<" + name + body + (body.ends_with('/') ? ">" : "</" + name + ">");
}
inline Body expression(const std::string& type, const std::string& kind, const std::string& rest) {
    return " datatype=\"" + type + "\" expressiontype=\"" + kind + "\"" + rest;
}
inline Body lit(const std::string& type, const std::string& text) {
    return expression(type, "value", "><value>" + text + "</value>");
}
inline Body var(const std::string& type, const std::string& name) {
    return expression(type, "variable", " name=\"" + name + "\"/");
}
/// The type that an operator declares has to be known, and means nothing else.
inline Body op(const std::string& name, const Body& left, const Body& right) {
    return expression("Boolean", "binaryoperator",
                      " operatortype=\"" + name + "\">" + element("lhs", left) + element("rhs", right));
}
inline Body negated(const Body& operand) {
    return expression("Boolean", "unaryoperator", " operatortype=\"not\">" + element("value", operand));
}
inline std::string callOf(const std::string& name, const std::vector<Body>& arguments) {
    std::string list = "<functionname>" + name + "</functionname><argumentlist" + (arguments.empty() ? "/>" : ">");
    for (const Body& argument : arguments)
        list += element("argument", argument);
    return list + (arguments.empty() ? "" : "</argumentlist>");
}
inline Body call(const std::string& name, const std::vector<Body>& arguments = {}) {
    return expression("Boolean", "function", ">" + callOf(name, arguments));
}
inline Body memberCall(const Body& object, const std::string& name, const std::vector<Body>& arguments = {}) {
    return expression("Boolean", "memberfunction", ">" + element("value", object) + callOf(name, arguments));
}

// The variables of `Place`, and a few constants.
inline const Body cOn = var("Boolean", "on"), cCount = var("Integer32", "count");
inline const Body cSize = var("UnsignedInteger32", "size"), cTotal = var("Integer64", "total");
inline const Body cSpeed = var("Float", "speed"), cName = var("String", "name"), cAt = var("Vec2f", "at");
inline const Body cTint = var(cColour, "colour"), cWeight = var("Double", "weight");
inline const Body cYes = lit("Boolean", "1"), cOne = lit("Integer32", "1"), cTwo = lit("Integer32", "2");
inline const Body cUnsigned = lit("UnsignedInteger32", "1"), cLong = lit("Integer64", "1"), cHalf = lit("Float", "0.5");
inline const Body cNorth = lit("String", "north"), cWest = lit("String", "west"), cGrey = lit(cColour, "2");

/// A formula in a document.
class Document {
public:
    explicit Document(const Body& body) : mText("<formulas>" + element("formula", body) + "</formulas>") {
        mRoot = mParser.parseBuffer(mText.data(), static_cast<uint32>(mText.size()), false);
    }
    XMLNodeElements* get() const { return mRoot->elements.front()->asElements(); }

private:
    std::string mText;
    Common::Parser::XML::XMLParser mParser;
    XMLNodeElements* mRoot;
};

template <class T>
std::string shownValue(const T& value) {
    if constexpr (std::same_as<T, bool>) {
        return value ? "true" : "false";
    } else if constexpr (std::is_integral_v<T>) {
        return std::to_string(value);
    } else if constexpr (std::is_floating_point_v<T>) {
        char text[40];
        return {text, std::to_chars(text, text + sizeof(text), value).ptr};
    } else if constexpr (std::same_as<T, String>) {
        return value.c_str();
    } else if constexpr (std::same_as<T, Colour>) {
        return "grey" + std::to_string(value.grey);
    } else if constexpr (requires { value.mX; }) {
        return "(" + shownValue(value[0]) + "," + shownValue(value[1]) + ")";
    } else if constexpr (std::same_as<T, Container::Vector<int32>>) {
        return std::to_string(value.size()) + " elements";
    } else {
        return "?";
    }
}

/// What formulas are evaluated over, with the access ids of its fields.
struct Place {
    bool on = true;             // 1
    int32 count = 7;            // 2
    uint32 size = 9;            // 3
    int64 total = 1LL << 40;    // 4
    float speed = 1.5F;         // 5
    String name = "north";      // 6
    Math::Vec2<float> at{3, 4}; // 7
    Colour colour{5};           // 8
    double weight = 0.1;        // 9
};

/// A variable of a host's own class: it calls itself a reference value, and gives its address if it is asked to.
template <class T>
class HostVariable final : public VariableMathValue<T> {
public:
    HostVariable(uint32 offset, uint32 accessID, bool givesAddress = false)
        : mOffset(offset), mAccessID(accessID), mGivesAddress(givesAddress) {}

    void getContainingVariables(Container::Vector<uint32>& accessIDs) const override { accessIDs.push_back(mAccessID); }
    void replaceVariableAccessID(uint32 oldID, uint32 newID) override {
        mAccessID = mAccessID == oldID ? newID : mAccessID;
    }
    bool isReferenceValue() const override { return true; }
    FunctionType getFunctionType() override { return mAccessID; }
    using TypedMathValue<T>::getValue;
    void getValue(T& result, VariableAccessor* accessor) override { result = *find(accessor); }
    void* getValueReference(VariableAccessor* accessor) override { return mGivesAddress ? find(accessor) : nullptr; }
    MathValue* clone() override { return new (this->getAllocator()) HostVariable(mOffset, mAccessID, mGivesAddress); }
    bool isEqual(MathValue* other) override {
        auto* const same = dynamic_cast<HostVariable*>(other);
        return same && same->mOffset == mOffset && same->mAccessID == mAccessID;
    }
    uint32 getMathValueTypeID() override { return MathValueTypeIDHolder::getIDOf<HostVariable>(); }

private:
    T* find(VariableAccessor* accessor) const { return reinterpret_cast<T*>(accessor->getObject() + mOffset); }

    uint32 mOffset;
    uint32 mAccessID;
    bool mGivesAddress;
};

/// A node that says it has a type, and is not of the class that goes with it.
class LyingMathValue final : public MathValue {
public:
    explicit LyingMathValue(DatatypeID type) : mType(type) {}
    DatatypeID getDatatypeID() override { return mType; }
    void getValue(void*, VariableAccessor*) override {}
    MathValue* clone() override { return new (getAllocator()) LyingMathValue(mType); }
    bool isEqual(MathValue* other) override { return other == this; }
    uint32 getMathValueTypeID() override { return MathValueTypeIDHolder::getIDOf<LyingMathValue>(); }

private:
    DatatypeID mType;
};

/// Finds the fields of `Place`, and does whatever else a host may do.
class TestResolver final : public VariableResolver {
public:
    TestResolver(const Place& place, const Memory::AllocatorPtr& allocator) : mPlace(place), mAllocator(allocator) {}

    MathValue* getVariable(XMLNodeElements* element, Expression::ErrorMsg& error) override {
        const std::string_view name = element->getAttributeString("name");
        const String type = element->getAttributeString("datatype");
        if (name == "lying")
            return new (mAllocator) LyingMathValue(ReflectionInterface::getDatatypeManager()->getDatatypeID(type));
        if (name == "untyped")
            return new (mAllocator) LyingMathValue(DatatypeID());
        if (name == "throwing")
            throw new Exceptions::Exception("no such place");
        if (name == "refused" || name == "praised")
            error.set("there is no such variable");
        return findField(name == "praised" ? "speed" : name);
    }
    MathValue* getConstant(XMLNodeElements*, Expression::ErrorMsg&) override {
        return new (mAllocator) AtomicMathValue<float>(0.5F);
    }
    /// An expression inside of another element.
    MathValue* getCustomMathValue(XMLNodeElements* element, FunctionEnvironment* environment,
                                  Expression::ErrorMsg& error) override {
        if (element->getAttributeString("expressiontype") == std::string_view("unwanted"))
            error.set("this kind is unwanted");
        XMLNodeElements* const inner = element->getNextElements("inner");
        return inner ? Expression::parse(inner, this, environment, mAllocator, error) : nullptr;
    }

private:
    MathValue* findField(std::string_view name) {
        if (name == "host colour")
            return make<HostVariable>(&Place::colour, 8, true);
        if (name == "distant colour")
            return make<HostVariable>(&Place::colour, 8, false);
        MathValue* found = nullptr;
        uint32 accessID = 0;
        const auto look = [&](std::string_view fieldName, auto member) {
            ++accessID;
            if (name == fieldName)
                found = make<FieldMathValue>(member, accessID);
        };
        look("on", &Place::on);
        look("count", &Place::count);
        look("size", &Place::size);
        look("total", &Place::total);
        look("speed", &Place::speed);
        look("name", &Place::name);
        look("at", &Place::at);
        look("colour", &Place::colour);
        look("weight", &Place::weight);
        return found;
    }
    template <template <class> class Node, class T, class... Arguments>
    MathValue* make(T Place::*member, uint32 accessID, Arguments... arguments) {
        const auto offset = reinterpret_cast<const char*>(&(mPlace.*member)) - reinterpret_cast<const char*>(&mPlace);
        return new (mAllocator) Node<T>(static_cast<uint32>(offset), accessID, arguments...);
    }

    const Place& mPlace;
    const Memory::AllocatorPtr& mAllocator;
};

class TestAccessor final : public VariableAccessor {
public:
    FunctionRegistrar* getFunctionRegistrar() const override { return mRegistrar; }
    FunctionRegistrar* mRegistrar = nullptr;
};

/// What formula tests run in: a place, functions, and memory of the nodes' own, of which every block counts.
class FormulaTest : public FunctionTest {
public:
    using Node = std::unique_ptr<MathValue>;

    FormulaTest()
        : mNodeMemory(new CountingMemory), mNodes(::new (mNodeMemory->allocate(sizeof(Callback::CallbackAllocator)))
                                                      Callback::CallbackAllocator("", mNodeMemory)),
          mResolver(mPlace, mNodes), mDeclarations(new (allocator()) FunctionDeclarationManager("formulas")),
          mRegistrar(mDeclarations, allocator()), mEnvironment(mDeclarations, &mRegistrar, mNodes) {
        auto* const colour = ReflectionInterface::getDatatypeManager()->registerNFDatatype<Colour>("<Colour>", Colour(),
                                                                                                   &parseColour<0>);
        colour->getFunctions().registerMemberFunction(
            "Brighten", +[](Colour& of, int32 by) { return of.grey += by; });
        colour->getFunctions().registerMemberFunction(
            "Reset", +[](Colour& of) { of.grey = 0; });
        colour->getFunctions().registerMemberFunction(
            "Mixed", +[](Colour& of, const Colour& by) { return of + by; });
        mAccessor.setObject(&mPlace);
        mAccessor.mRegistrar = &mRegistrar;
    }
    ~FormulaTest() { CHECK(mNodeMemory->getBlocks() == 1); }

    Node parse(XMLNodeElements* of, Expression::ErrorMsg& error) {
        return Node(Expression::parse(of, &mResolver, &mEnvironment, mNodes, error));
    }
    /// One that is not refused.
    template <class Wanted = MathValue>
    std::unique_ptr<Wanted> parse(const Body& body) {
        const Document document(body);
        Expression::ErrorMsg error;
        Node node = parse(document.get(), error);
        CHECK(error.getText() == "");
        REQUIRE(dynamic_cast<Wanted*>(node.get()) != nullptr);
        return std::unique_ptr<Wanted>(static_cast<Wanted*>(node.release()));
    }

    /// The value, in whichever way it is asked for.
    std::string valueOf(MathValue& node) {
        std::string shown = "a type that nobody knows";
        const auto look = [&]<class T>(std::type_identity<T>) {
            if (node.getDatatypeID() != Datatype::GET_DATATYPE_ID<T>())
                return;
            const DatatypeValue value(*Datatype::TypedDatatype<T>::getInstance(), allocator());
            node.getValue(value.get(), &mAccessor);
            shown = shownValue(*static_cast<const T*>(value.get()));
        };
        Datatype::forEachBuiltinDatatype(
            [&]<class Type>(const Type&) { look(std::type_identity<typename Type::Native>()); });
        look(std::type_identity<Colour>());
        return shown;
    }

    /// What a formula comes to: its value; or why it is refused; and the assertions on the way, with their file.
    std::string outcomeOfFormula(const Body& body) {
        const Document document(body);
        Expression::ErrorMsg error;
        Node node;
        std::string reports = outcomeOf([&] { node = parse(document.get(), error); });
        CHECK((error.existsError() == (error.getElement() != nullptr) && !(node && error.existsError())));
        std::string outcome = error.getText().c_str();
        if (node)
            reports += outcomeOf([&] { outcome = valueOf(*node); });
        if (node && reports.empty())
            checkLaws(node, outcome);
        return outcome + (outcome.empty() || reports.empty() ? "" : "; ") + reports;
    }

    /// Evaluation takes no memory; a copy is equal and stands on its own; and to merge leaves the value as it is.
    void checkLaws(Node& node, const std::string& value) {
        const int64 before = mNodeMemory->getTaken();
        CHECK(valueOf(*node) == value);
        CHECK(mNodeMemory->getTaken() == before);
        Node copy(node->clone());
        CHECK((copy->isEqual(node.get()) && node->isEqual(copy.get()) && !node->isEqual(nullptr)));
        CHECK((copy->getDatatypeID() == node->getDatatypeID() && copy->isConstant() == node->isConstant()));
        if (Node merged(node->merge()); merged)
            node = std::move(merged);
        CHECK(valueOf(*node) == value);
        node.reset();
        CHECK(valueOf(*copy) == value);
    }

    // The order is that of their destruction, backwards.
    CountingMemoryPtr mNodeMemory;
    Memory::AllocatorPtr mNodes;
    Place mPlace;
    TestResolver mResolver;
    FunctionDeclarationManagerPtr mDeclarations;
    FunctionRegistrar mRegistrar;
    FunctionEnvironment mEnvironment;
    TestAccessor mAccessor;
};

/// Every body takes its memory from the nodes'. Calls `body` with ever more of it, until that returns true; what it
/// takes in vain is given back. Returns how many blocks it takes.
inline int64 countFailures(FormulaTest& test, const auto& body) {
    for (int64 granted = 0;; ++granted) {
        const int64 before = test.mNodeMemory->getBlocks();
        bool isDone = false;
        test.mNodeMemory->failAfter(granted);
        const std::string outcome = outcomeOf([&] { isDone = body(); });
        test.mNodeMemory->failNever();
        if (isDone)
            return granted;
        REQUIRE(outcome != "");
        REQUIRE(test.mNodeMemory->getBlocks() == before);
    }
}

} // namespace Tarq::Test
