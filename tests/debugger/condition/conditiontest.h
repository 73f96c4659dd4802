#pragma once

#include "tests/debugger/servertest.h"
#include "tests/parser/formula/formulatest.h"

#include "common/debugger/condition/conditionparser.h"
#include "common/debugger/condition/debuggervariableaccessor.h"
#include "common/debugger/condition/debuggervariableresolver.h"
#include "common/debugger/model/module.h"
#include "common/debugger/model/objectgroup.h"
#include "common/debugger/model/objectinstance.h"
#include "common/debugger/model/objecttype.h"
#include "common/debugger/model/variabletype.h"
#include "common/reflection/datatype/datatypes.h"

namespace Tarq::Test {

/// A variable of the object type, as conditions name it.
inline Body variable(const std::string& type, const std::string& name) {
    return expression(type, "variable", "><name>" + name + "</name>");
}

/// What conditions are evaluated over: an object type of a module, and one instance of it.
struct ConditionTest : ServerTest {
    using Node = std::unique_ptr<MathValue>;

    ConditionTest()
        : mModule(server().createModule("world", 1, 10)),
          mType(mModule->createObjectGroup("agents")->createObjectType("walker")), mResolver(allocator(), mType) {
        CHECK(Datatype::registerDebuggerDatatypes(ReflectionInterface::getDatatypeManager()));
    }
    ~ConditionTest() { CHECK(server().destroyModule(mModule)); }

    /// Declares a variable; the instance has it at `place`.
    template <class T>
    void declare(const char* name, T& place) {
        REQUIRE(mType->registerVariableType(Network::Message::getStreamID<T>(), name, true));
        mPlaces.emplace_back(name, &place);
    }
    /// Ends the declarations.
    void makeInstance(bool isAttached = true) {
        if (!mType->isAttached())
            mType->attach();
        mInstance = mType->createObjectInstance("ann");
        for (const auto& [name, place] : mPlaces)
            REQUIRE(mInstance->registerVariable(name.c_str(), place));
        if (isAttached)
            mInstance->attach();
    }

    Node parseDocument(const std::string& document, String& error) {
        RecordingStream stream(document);
        return Debugger::parseCondition(stream, mResolver, allocator(), error);
    }
    /// One that is not refused.
    Node parse(const Body& body) {
        String error = "what was there before";
        Node node = parseDocument(element("condition", body), error);
        CHECK(error == "");
        REQUIRE(node);
        return node;
    }
    /// The value of a condition, for the instance.
    std::string valueOf(MathValue& node) {
        auto* const condition = dynamic_cast<TypedMathValue<bool>*>(&node);
        REQUIRE(condition != nullptr);
        Debugger::DebuggerVariableAccessor& accessor = *mInstance->getVariableAccessor();
        accessor.begin();
        const bool value = condition->evaluate(&accessor);
        bool sameValue = !value;
        condition->getValue(sameValue, &accessor);
        CHECK(sameValue == value);
        return std::string(value ? "true" : "false") + (accessor.isMissing() ? ", missing" : "");
    }

    Debugger::Module* mModule;
    Debugger::ObjectType* mType;
    Debugger::ObjectInstance* mInstance = nullptr;
    Debugger::DebuggerVariableResolver mResolver;
    std::vector<std::pair<std::string, void*>> mPlaces;
};

} // namespace Tarq::Test
