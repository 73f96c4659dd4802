// tarq-formulas [FILE]: formulas from a document, computed over the agents of a small world.
//
// Parses every child of the document's root, which may have any name, as a formula, folds what is constant in it, and
// writes its value for each agent; where it reads nothing of the world, only once. Without a file it has formulas of
// its own. What is wrong is told on standard error, with the way from the root to the element that was refused.

#include "formulas/formuladocument.h"
#include "formulas/formulaworld.h"
#include "support/calls.h"
#include "support/commandline.h"
#include "support/errorreport.h"
#include "support/xmldocument.h"

#include "common/parser/formula/functionenvironment.h"
#include "common/parser/xml/xmltreereader.h"

#include <cstdio>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

using namespace formulaworld;
using errorreport::guarded;
using Parser::XML::XMLNode;

namespace {

constexpr const char* cHelp =
    R"(Usage: tarq-formulas [FILE]

Computes the formulas of an XML document, "-" for the standard input, over the agents of a small world. Each child of
the root is a formula; docs/formulas.md shows what they look like. There are

variables   name (String), position (Vec3f), colour (Colour), mass (Float), health (Integer32),
            gold (UnsignedInteger32), age (Integer64), isAsleep (Boolean)
constants   gravity (Float)
functions   clamp(value, least, most) of Integer32, mix(Colour, Colour), population(), wait(Float)

Ends with 0, with 1 when something is wrong in the file, and with 2 when the command line is wrong.
)";

using Formula = std::unique_ptr<MathValue>;

std::string pathOf(const XMLNode* element) {
    std::stringstream text;
    Parser::XML::XMLTreeReader::CreateNamedNodeHierarchy(text, element);
    return text.str();
}

/// Null when the element is refused, which is told then. Of what is missing, the library tells by an assertion.
Formula parse(XMLNodeElements* element, FunctionEnvironment& environment) {
    Resolver resolver;
    Expression::ErrorMsg error;
    Formula formula(Expression::parse(element, &resolver, &environment, Library::getTempAlloc(), error));
    if (error.existsError()) {
        const XMLNode* const place = error.getElement();
        errorreport::error("in " + pathOf(place ? place : element) + ": " + error.getText().c_str());
    }
    if (formula) {
        if (Formula folded(formula->merge()); folded)
            formula = std::move(folded);
    }
    return formula;
}

std::string valueOf(MathValue& formula, VariableAccessor& accessor) {
    // A condition is worth its own path: this is how a host asks for it a million times a second.
    if (auto* const condition = dynamic_cast<TypedMathValue<bool>*>(&formula))
        return condition->evaluate(&accessor) ? "true" : "false";
    const calls::Value value(
        *Reflection::ReflectionInterface::getDatatypeManager()->getDatatype(formula.getDatatypeID()));
    formula.getValue(value.get(), &accessor);
    return value.toText();
}

/// The values for all agents up to the first error, or the one of a formula that is constant.
std::string valuesOf(MathValue& formula, World& world) {
    if (formula.isConstant())
        return valueOf(formula, world);
    std::string text;
    const int countBefore = errorreport::count;
    for (Agent& agent : world.getAgents()) {
        if (errorreport::count != countBefore)
            break;
        world.setObject(&agent);
        text += (text.empty() ? "" : ", ") + std::string(agent.name.view()) + " " + valueOf(formula, world);
    }
    return text;
}

void compute(XMLNode& node, FunctionEnvironment& environment, World& world) {
    const char* const attribute = node.getAttributeString("name");
    const std::string name = attribute ? attribute : node.name;
    std::string line;
    const bool isRight = guarded(name, [&] {
        XMLNodeElements* const element = node.asElements();
        if (!element)
            return errorreport::error("in " + pathOf(&node) + ": a formula is no text");
        const Formula formula = parse(element, environment);
        if (formula)
            line = name + " (" + calls::nameOf(formula->getDatatypeID()) + "): " + valuesOf(*formula, world);
    });
    if (isRight)
        std::printf("%s\n", errorreport::printable(line).c_str());
}

void computeAll(const XMLNodeElements& root) {
    World world({
        {"ann", {3, 4, 0}, {0xFF, 0x80, 0}, 60, 80, 120, 3600, false},
        {"bob", {0, -2, 1.5F}, {0x20, 0xC0, 0x20}, 82.5F, 40, 15, 86400, false},
        {"eve", {0, 0, 0}, {0xFF, 0x80, 0}, 55, -7, 3000000000, 6000000000, true},
    });
    FunctionEnvironment environment(world.getFunctionRegistrar()->getFunctionDeclarations(),
                                    world.getFunctionRegistrar(), Library::getTempAlloc());
    for (XMLNode* const node : root.elements)
        compute(*node, environment, world);
}

void computeFile(const std::string& name) {
    guarded(xmldocument::shownName(name), [&name] {
        xmldocument::Document document(name);
        if (const XMLNodeElements* const root = document.parse())
            computeAll(*root);
    });
}

/// Its errors are part of the show.
void computeOwn() {
    std::string text(cFormulaDocument);
    Parser::XML::XMLParser parser;
    computeAll(*parser.parseBuffer(text.data(), static_cast<uint32>(text.size()), false));
    errorreport::count = 0;
}

/// The registry of types, for as long as this lives.
struct Registry {
    Registry() {
        using Reflection::Datatype::DatatypeManager;
        const Reflection::Datatype::DatatypeManagerPtr manager(new (Library::getTempAlloc()) DatatypeManager);
        Reflection::ReflectionInterface::init(manager);
        manager->registerNFDatatype<Colour>("Colour", Colour(), &parseColour);
    }
    ~Registry() { Reflection::ReflectionInterface::close(); }
    Registry(const Registry&) = delete;
    Registry& operator=(const Registry&) = delete;
};

void run(const std::vector<std::string>& arguments) {
    if (arguments.size() > 1 || (!arguments.empty() && arguments[0].size() > 1 && arguments[0][0] == '-'))
        throw UsageError("it takes one file");
    // Values and errors stand in the order of the formulas, also where both go to one file.
    std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
    const Registry registry;
    guarded("formulas", [&arguments] {
        if (arguments.empty())
            computeOwn();
        else
            computeFile(arguments[0]);
    });
}

} // namespace

int main(int argc, char** argv) {
    return runProgram("tarq-formulas", cHelp, argc, argv, &run);
}
