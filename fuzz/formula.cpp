#include "common/exceptions/exception.h"
#include "common/library.h"
#include "common/memory/memorystream.h"
#include "common/parser/formula/atomicmathvalue.h"
#include "common/parser/formula/fieldmathvalue.h"
#include "common/parser/formula/functionenvironment.h"
#include "common/parser/formula/variableresolver.h"
#include "common/parser/xml/xmlparser.h"
#include "common/parser/xml/xmltreereader.h"
#include "common/reflection/function/functionbinding.h"
#include "common/reflection/function/functionregistrar.h"
#include "common/reflection/reflectioninterface.h"
#include "common/serialize/binaryserializestorage.h"
#include "fuzz/library.h"

#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <memory>
#include <sstream>
#include <string>
#include <string_view>

// The root of a document is a formula. It is parsed twice; both trees, a copy, the folded tree, and the one that is
// taken apart and connected again have one value. All of it stands on the global heap, where the sanitizers see it.

using namespace Tarq::Common;
using namespace Tarq::Common::Parser::Formula;
using namespace Tarq::Common::Reflection;
using Parser::XML::XMLNodeElements;
using Node = std::unique_ptr<MathValue>;

namespace {

const Memory::AllocatorPtr cHeap;

struct Object {
    String text = "text";
    Math::Vec3f vector = {1, 2, 3};
    double real = 0.5;
    int64 large = -5000000000;
    float fraction = 2.5F;
    int32 number = -7;
    uint32 count = 3000000000U;
    bool flag = true;
} object;

/// A variable whose value has a place that it does not tell.
class HiddenText final : public VariableMathValue<String> {
public:
    bool isReferenceValue() const override { return true; }
    using TypedMathValue<String>::getValue;
    void getValue(String& result, VariableAccessor*) override { result = object.text; }
    MathValue* clone() override { return new (getAllocator()) HiddenText; }
    bool isEqual(MathValue* other) override { return other && other->getMathValueTypeID() == getMathValueTypeID(); }
    uint32 getMathValueTypeID() override { return MathValueTypeIDHolder::getIDOf<HiddenText>(); }
};

/// A variable whose class does not say what type it has.
class ListMathValue final : public MathValue {
    using List = Container::Vector<int32>;

public:
    bool isConstant() override { return false; }
    Datatype::DatatypeID getDatatypeID() override { return Datatype::GET_DATATYPE_ID<List>(); }
    void getValue(void* result, VariableAccessor*) override {
        auto& list = *static_cast<List*>(result);
        list.clear();
        list.push_back(5);
    }
    MathValue* clone() override { return new (getAllocator()) ListMathValue; }
    bool isEqual(MathValue* other) override { return other && other->getMathValueTypeID() == getMathValueTypeID(); }
    uint32 getMathValueTypeID() override { return MathValueTypeIDHolder::getIDOf<ListMathValue>(); }
};

/// Says that it is a bool, and is no node for one.
MathValue* makeLiar() {
    const Datatype::DatatypeBase& datatype = *Datatype::TypedDatatype<bool>::getInstance();
    return new (cHeap) UntypedAtomicMathValue(datatype.createValue(cHeap), datatype);
}

class Resolver : public VariableResolver {
public:
    MathValue* getVariable(XMLNodeElements* element, Expression::ErrorMsg& error) override {
        const char* const name = element->getAttributeString("name");
        switch (name ? name[0] : '\0') {
        case 't':
            return make<String>(offsetof(Object, text));
        case 'a':
            return new (cHeap) ListMathValue;
        case 'v':
            return make<Math::Vec3f>(offsetof(Object, vector));
        case 'r':
            return make<double>(offsetof(Object, real));
        case 'l':
            return make<int64>(offsetof(Object, large));
        case 'f':
            return make<float>(offsetof(Object, fraction));
        case 'n':
            return make<int32>(offsetof(Object, number));
        case 'c':
            return make<uint32>(offsetof(Object, count));
        case 'b':
            return make<bool>(offsetof(Object, flag));
        case 'h':
            return new (cHeap) HiddenText;
        case 'x':
            return makeLiar();
        case 'e':
            error.set("there is no such variable");
            return nullptr;
        default:
            return nullptr;
        }
    }
    MathValue* getConstant(XMLNodeElements* element, Expression::ErrorMsg&) override {
        const char* const name = element->getAttributeString("name");
        return name ? new (cHeap) AtomicMathValue<float>(std::nanf("")) : nullptr;
    }
    /// A kind that parses on its own what is inside.
    MathValue* getCustomMathValue(XMLNodeElements* element, FunctionEnvironment* environment,
                                  Expression::ErrorMsg& error) override {
        XMLNodeElements* const inner = element->getNextElements("value");
        return inner ? Expression::parse(inner, this, environment, cHeap, error) : nullptr;
    }

private:
    template <class T>
    static MathValue* make(std::size_t offset) {
        const auto place = static_cast<uint32>(offset);
        return new (cHeap) FieldMathValue<T>(place, place);
    }
};

class Accessor : public VariableAccessor {
public:
    Accessor() : mRegistrar(cHeap) {
        setObject(&object);
        mRegistrar.registerFunction(
            "max", +[](int32 a, int32 b) { return a > b ? a : b; });
        mRegistrar.registerFunction(
            "abs", +[](float value) { return std::fabs(value); });
        mRegistrar.registerFunction(
            "flag", +[](bool value, int64 number) { return value && number > 0; });
        mRegistrar.registerFunction(
            "twice", +[](const String& text) { return text.length() < 64 ? text + text : text; });
        mRegistrar.registerFunction(
            "move", +[](const Math::Vec3f& vector, double) { return vector; });
        mRegistrar.registerFunction(
            "nothing", +[](int32) {});
    }
    Function::FunctionRegistrar* getFunctionRegistrar() const override { return &mRegistrar; }

private:
    mutable Function::FunctionRegistrar mRegistrar;
};

void require(bool condition) {
    if (!condition)
        std::abort();
}

/// The bytes that a storage has of the value. Whichever float it is that is no number, it counts as one and the same.
std::string valueOf(MathValue& node, VariableAccessor& accessor) {
    const Datatype::DatatypeBase* const datatype =
        ReflectionInterface::getDatatypeManager()->getDatatype(node.getDatatypeID());
    require(datatype);
    const auto release = [&](void* value) { datatype->deleteValue(value, cHeap); };
    const std::unique_ptr<void, decltype(release)> value(datatype->createValue(cHeap), release);
    node.getValue(value.get(), &accessor);
    if (auto* const typed = dynamic_cast<TypedMathValue<float>*>(&node);
        typed && std::isnan(typed->evaluate(&accessor)))
        return std::isnan(*static_cast<const float*>(value.get())) ? "no number" : "";
    if (auto* const typed = dynamic_cast<TypedMathValue<bool>*>(&node))
        require(typed->evaluate(&accessor) == *static_cast<const bool*>(value.get()));
    Memory::MemoryStream stream("value", 256);
    Serialize::BinarySerializeStorage storage(Serialize::BinarySerializeStorage::SMODE_OUTPUT,
                                              Platform::Endian::ENDIAN_LITTLE);
    storage.open(&stream);
    datatype->writeValue(value.get(), &storage);
    storage.close();
    std::string bytes(static_cast<std::size_t>(stream.getLength()), '\0');
    stream.seek(0, IO::Stream::SORIGIN_BEGIN);
    stream.read(bytes.data(), bytes.size());
    return bytes;
}

/// Null when it is refused.
Node parse(XMLNodeElements* root, FunctionEnvironment& environment) {
    Resolver resolver;
    Expression::ErrorMsg error;
    Node node(Expression::parse(root, &resolver, &environment, cHeap, error));
    require(!node || !error.existsError());
    require(!error.existsError() || error.getElement());
    std::stringstream path;
    Parser::XML::XMLTreeReader::CreateNamedNodeHierarchy(path, error.getElement());
    return node;
}

/// Takes a condition apart twice; returns what it is connected to again.
Node reconnect(Node node) {
    if (!dynamic_cast<TypedMathValue<bool>*>(node.get()))
        return node;
    Expression::containsFunctionInDisjunction(1, node.get());
    Container::Vector<MathValue*> constants(cHeap);
    auto* const others = static_cast<TypedMathValue<bool>*>(Expression::extractFromDisjunction(
        constants, node.release(), [](MathValue* part) { return part->isConstant(); }));
    Container::Vector<TypedMathValue<bool>*> parts(cHeap);
    if (others)
        Expression::splitDisjunction(parts, others);
    for (MathValue* const constant : constants)
        parts.push_back(dynamic_cast<TypedMathValue<bool>*>(constant));
    return Node(Expression::joinTests(parts, cHeap));
}

void renumber(MathValue& node) {
    Container::Vector<uint32> before(cHeap);
    node.getContainingVariables(before);
    for (const uint32 id : before)
        node.replaceVariableAccessID(id, 1000 + id % 2);
    Container::Vector<uint32> after(cHeap);
    node.getContainingVariables(after);
    require(after.size() == before.size());
    for (const uint32 id : after)
        require(id >= 1000);
}

void check(XMLNodeElements* root) {
    Accessor accessor;
    FunctionEnvironment environment(accessor.getFunctionRegistrar()->getFunctionDeclarations(),
                                    accessor.getFunctionRegistrar(), cHeap);
    Node node = parse(root, environment);
    Node again = parse(root, environment);
    require(!node == !again);
    if (!node)
        return;
    accessor.getFunctionRegistrar()->checkRegisteredFunctions();
    const std::string value = valueOf(*node, accessor);
    require(valueOf(*node, accessor) == value && valueOf(*again, accessor) == value);

    const Node copy(node->clone());
    require(copy->getDatatypeID() == node->getDatatypeID() && copy->isConstant() == node->isConstant());
    const bool isItself = node->isEqual(node.get()); // unless a part has no equal
    require(node->isEqual(copy.get()) == isItself && copy->isEqual(again.get()) == isItself);

    const bool isConstant = again->isConstant();
    if (Node folded(again->merge()); folded) {
        require(isConstant && folded->isConstant() && folded->getDatatypeID() == node->getDatatypeID());
        again = std::move(folded);
    }
    require(valueOf(*again, accessor) == value);
    require(again->isEqual(node.get()) == node->isEqual(again.get()));

    renumber(*node);
    require(valueOf(*node, accessor) == value);
    node = reconnect(std::move(node));
    require(valueOf(*node, accessor) == value);
    node.reset();
    require(valueOf(*copy, accessor) == value);
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    Tarq::Fuzz::bringUpWithTypes();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    std::string document(reinterpret_cast<const char*>(data), size);
    Parser::XML::XMLParser parser;
    try {
        check(parser.parseBuffer(document.data(), static_cast<uint32>(size), false));
    } catch (Exceptions::Exception* exception) {
        const Exceptions::Holder holder(exception);
    }
    return 0;
}
