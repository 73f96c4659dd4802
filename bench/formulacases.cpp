#include "bench/cases.h"
#include "bench/registry.h"
#include "common/parser/formula/fieldmathvalue.h"
#include "common/parser/formula/variableaccessor.h"
#include "common/parser/formula/variableresolver.h"
#include "common/parser/xml/xmlparser.h"

#include <lua.hpp>
#include <muParser.h>

#include <array>
#include <cstddef>
#include <memory>
#include <string_view>

// Everybody computes (a * 2 + b) < c && d == 5 for a thousand objects, each with other values. The peers compute in
// double precision, which is what they have; ours computes as the types of the variables say.

namespace Tarq::Bench {

namespace {

using namespace Common::Parser::Formula;
using Common::int32;

struct Agent {
    float a;
    float b;
    float c;
    int32 d;
};

/// About one in eight fulfils the condition.
std::array<Agent, 1000>& agents() {
    static auto all = [] {
        std::array<Agent, 1000> made{};
        uint32 state = 1;
        const auto random = [&state](uint32 bound) {
            state = state * 1664525 + 1013904223;
            return static_cast<int32>((state >> 8) % bound);
        };
        for (Agent& agent : made)
            agent = {static_cast<float>(random(100)) / 4, static_cast<float>(random(100)) / 4,
                     static_cast<float>(random(300)) / 4, random(4) + 3};
        return made;
    }();
    return all;
}

[[gnu::noinline]] bool holds(const Agent& agent) {
    return (agent.a * 2 + agent.b) < agent.c && agent.d == 5;
}

template <class Evaluate>
void evaluateAll(benchmark::State& state, Evaluate evaluate) {
    uint32 expected = 0;
    for (const Agent& agent : agents())
        expected += holds(agent) ? 1U : 0U;
    for (auto _ : state) {
        uint32 found = 0;
        for (Agent& agent : agents())
            found += evaluate(agent) ? 1U : 0U;
        check(found == expected, "the formula has a wrong value");
    }
    countOperations(state, agents().size());
}

constexpr std::string_view cDocument = R"(<formulas>
<formula datatype="Boolean" expressiontype="binaryoperator" operatortype="and">
    <lhs datatype="Boolean" expressiontype="binaryoperator" operatortype="smaller">
        <lhs datatype="Float" expressiontype="binaryoperator" operatortype="add">
            <lhs datatype="Float" expressiontype="binaryoperator" operatortype="mul">
                <lhs datatype="Float" expressiontype="variable" name="a"/>
                <rhs datatype="Float" expressiontype="value"><value>2</value></rhs>
            </lhs>
            <rhs datatype="Float" expressiontype="variable" name="b"/>
        </lhs>
        <rhs datatype="Float" expressiontype="variable" name="c"/>
    </lhs>
    <rhs datatype="Boolean" expressiontype="binaryoperator" operatortype="equal">
        <lhs datatype="Integer32" expressiontype="variable" name="d"/>
        <rhs datatype="Integer32" expressiontype="value"><value>5</value></rhs>
    </rhs>
</formula>
</formulas>
)";

class AgentAccessor final : public VariableAccessor {
public:
    Common::Reflection::Function::FunctionRegistrar* getFunctionRegistrar() const override { return nullptr; }
};

class AgentResolver final : public VariableResolver {
public:
    MathValue* getVariable(Common::Parser::XML::XMLNodeElements* element, Expression::ErrorMsg&) override {
        switch (element->getAttributeString("name")[0]) {
        case 'a':
            return make<float>(offsetof(Agent, a));
        case 'b':
            return make<float>(offsetof(Agent, b));
        case 'c':
            return make<float>(offsetof(Agent, c));
        default:
            return make<int32>(offsetof(Agent, d));
        }
    }
    MathValue* getConstant(Common::Parser::XML::XMLNodeElements*, Expression::ErrorMsg&) override { return nullptr; }
    MathValue* getCustomMathValue(Common::Parser::XML::XMLNodeElements*, FunctionEnvironment*,
                                  Expression::ErrorMsg&) override {
        return nullptr;
    }

private:
    template <class T>
    static MathValue* make(std::size_t offset) {
        return new (Common::Library::getTempAlloc()) FieldMathValue<T>(static_cast<uint32>(offset));
    }
};

/// The document with the formula.
class Document {
public:
    std::unique_ptr<MathValue> parse() {
        mText = cDocument; // the parser writes zeros into it
        Common::Parser::XML::XMLNodeElements* const root =
            mParser.parseBuffer(mText.data(), static_cast<uint32>(mText.size()), false);
        std::unique_ptr<MathValue> formula(
            Expression::parse(root->getNextElements("formula"), &mResolver, nullptr, Common::Library::getTempAlloc()));
        check(dynamic_cast<TypedMathValue<bool>*>(formula.get()) != nullptr, "the formula cannot be parsed");
        return formula;
    }

private:
    std::string mText;
    Common::Parser::XML::XMLParser mParser;
    AgentResolver mResolver;
};

void evaluateByOurs(benchmark::State& state) {
    const Registry registry;
    const std::unique_ptr<MathValue> formula = Document().parse();
    auto* const condition = static_cast<TypedMathValue<bool>*>(formula.get());
    AgentAccessor accessor;
    evaluateAll(state, [&](Agent& agent) {
        accessor.setObject(&agent);
        return condition->evaluate(&accessor);
    });
}

void evaluateByMuParser(benchmark::State& state) {
    double a = 0;
    double b = 0;
    double c = 0;
    double d = 0;
    mu::Parser parser;
    parser.DefineVar("a", &a);
    parser.DefineVar("b", &b);
    parser.DefineVar("c", &c);
    parser.DefineVar("d", &d);
    parser.SetExpr("(a*2+b)<c && d==5");
    evaluateAll(state, [&](const Agent& agent) {
        a = static_cast<double>(agent.a);
        b = static_cast<double>(agent.b);
        c = static_cast<double>(agent.c);
        d = agent.d;
        return parser.Eval() != 0;
    });
}

void evaluateByLua(benchmark::State& state) {
    struct Close {
        void operator()(lua_State* lua) const { lua_close(lua); }
    };
    const std::unique_ptr<lua_State, Close> holder(luaL_newstate());
    lua_State* const lua = holder.get();
    check(luaL_dostring(lua, "return function(a, b, c, d) return (a*2+b) < c and d == 5 end") == LUA_OK,
          "the formula cannot be parsed");
    evaluateAll(state, [&](const Agent& agent) {
        lua_pushvalue(lua, -1);
        lua_pushnumber(lua, static_cast<double>(agent.a));
        lua_pushnumber(lua, static_cast<double>(agent.b));
        lua_pushnumber(lua, static_cast<double>(agent.c));
        lua_pushinteger(lua, agent.d);
        lua_call(lua, 4, 1);
        const bool result = lua_toboolean(lua, -1) != 0;
        lua_pop(lua, 1);
        return result;
    });
}

void evaluateCompiled(benchmark::State& state) {
    evaluateAll(state, [](const Agent& agent) { return holds(agent); });
}

void parseByOurs(benchmark::State& state) {
    const Registry registry;
    Document document;
    for (auto _ : state)
        document.parse();
}

void parseByMuParser(benchmark::State& state) {
    double value = 0;
    mu::Parser parser;
    for (const char* const name : {"a", "b", "c", "d"})
        parser.DefineVar(name, &value);
    for (auto _ : state) {
        parser.SetExpr("(a*2+b)<c && d==5");
        benchmark::DoNotOptimize(parser.Eval());
    }
}

} // namespace

std::vector<Case> formulaCases() {
    return {
        {"formula/evaluate",
         evaluateByOurs,
         {{"muParser", 0.45, evaluateByMuParser}, {"Lua 5.4", 0.35, evaluateByLua}, {"compiled", 0, evaluateCompiled}}},
        {"formula/parse", parseByOurs, {{"muParser, and one evaluation", 0, parseByMuParser}}},
    };
}

} // namespace Tarq::Bench
