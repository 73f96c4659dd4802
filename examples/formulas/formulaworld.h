#pragma once

#include "support/colour.h"

#include "common/library.h"
#include "common/parser/formula/atomicmathvalue.h"
#include "common/parser/formula/fieldmathvalue.h"
#include "common/parser/formula/variableaccessor.h"
#include "common/parser/formula/variableresolver.h"
#include "common/parser/xml/xmlnode.h"
#include "common/reflection/function/functionbinding.h"
#include "common/reflection/function/functionregistrar.h"
#include "common/reflection/reflectioninterface.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

/// A world that formulas are computed over: agents, whose fields are the variables, a constant, and a few functions.
namespace formulaworld {

using namespace Tarq::Common;
using namespace Tarq::Common::Parser::Formula;
using Parser::XML::XMLNodeElements;
using Position = Math::Vec3f;

struct Agent {
    String name;
    Position position;
    Colour colour;
    float mass;   ///< in kilograms
    int32 health; ///< 100 is good; negative ones are gone
    uint32 gold;  ///< pieces
    int64 age;    ///< in seconds
    bool isAsleep;
};

// What formulas may call.

inline int32 clamp(int32 value, int32 least, int32 most) {
    return std::max(least, std::min(value, most));
}
inline Colour mix(const Colour& a, const Colour& b) {
    const auto half = [](uint8 x, uint8 y) { return static_cast<uint8>((x + y) / 2); };
    return {half(a.red, b.red), half(a.green, b.green), half(a.blue, b.blue)};
}

class World : public VariableAccessor {
public:
    explicit World(std::vector<Agent> agents) : mAgents(std::move(agents)), mRegistrar(Library::getTempAlloc()) {
        mRegistrar.registerFunction("clamp", &clamp);
        mRegistrar.registerFunction("mix", &mix);
        mRegistrar.registerFunction("population", &World::getPopulation, this);
        mRegistrar.registerFunction("wait", &World::wait, this);
    }

    std::vector<Agent>& getAgents() { return mAgents; }
    Reflection::Function::FunctionRegistrar* getFunctionRegistrar() const override { return &mRegistrar; }

private:
    uint32 getPopulation() const { return static_cast<uint32>(mAgents.size()); }
    /// Has no result: no formula can do anything with it.
    void wait(float seconds) { mSeconds += seconds; }

    std::vector<Agent> mAgents;
    float mSeconds = 0;
    mutable Reflection::Function::FunctionRegistrar mRegistrar;
};

/// Finds variables and constants by the attribute "name" of their elements.
class Resolver : public VariableResolver {
public:
    MathValue* getVariable(XMLNodeElements* element, Expression::ErrorMsg& error) override {
        using Make = MathValue*(uint32 offset, uint32 accessID);
        static constexpr struct {
            std::string_view name;
            Make* make;
            std::size_t offset;
        } cFields[] = {
            {"name", &makeField<String>, offsetof(Agent, name)},
            {"position", &makeField<Position>, offsetof(Agent, position)},
            {"colour", &makeField<Colour>, offsetof(Agent, colour)},
            {"mass", &makeField<float>, offsetof(Agent, mass)},
            {"health", &makeField<int32>, offsetof(Agent, health)},
            {"gold", &makeField<uint32>, offsetof(Agent, gold)},
            {"age", &makeField<int64>, offsetof(Agent, age)},
            {"isAsleep", &makeField<bool>, offsetof(Agent, isAsleep)},
        };
        const std::string_view name = nameOf(*element);
        for (uint32 accessID = 0; const auto& field : cFields) {
            if (field.name == name)
                return checkType(field.make(static_cast<uint32>(field.offset), accessID), *element, error);
            ++accessID;
        }
        error.set("there is no variable \"" + String(name) + "\"");
        return nullptr;
    }

    MathValue* getConstant(XMLNodeElements* element, Expression::ErrorMsg& error) override {
        if (nameOf(*element) == "gravity")
            return checkType(new (Library::getTempAlloc()) AtomicMathValue<float>(9.81F), *element, error);
        error.set("there is no constant \"" + String(nameOf(*element)) + "\"");
        return nullptr;
    }

    /// This world has no kinds of its own.
    MathValue* getCustomMathValue(XMLNodeElements*, FunctionEnvironment*, Expression::ErrorMsg&) override {
        return nullptr;
    }

private:
    template <class T>
    static MathValue* makeField(uint32 offset, uint32 accessID) {
        return new (Library::getTempAlloc()) FieldMathValue<T>(offset, accessID);
    }

    static std::string_view nameOf(const XMLNodeElements& element) {
        const char* const name = element.getAttributeString("name");
        return name ? name : "";
    }

    /// Nobody else compares what the element says with what the variable is.
    static MathValue* checkType(MathValue* made, const XMLNodeElements& element, Expression::ErrorMsg& error) {
        std::unique_ptr<MathValue> node(made);
        const String type =
            Reflection::ReflectionInterface::getDatatypeManager()->getDatatypeName(node->getDatatypeID());
        if (type == element.getAttributeString("datatype"))
            return node.release();
        error.set("\"" + String(nameOf(element)) + "\" is of type " + type);
        return nullptr;
    }
};

} // namespace formulaworld
