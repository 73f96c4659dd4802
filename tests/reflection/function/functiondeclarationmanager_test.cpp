#include "tests/memory/ledgerallocator.h"
#include "tests/reflection/function/functiontest.h"

#include <memory>

using namespace Tarq::Test;
using IDs = Container::Vector<FunctionID>;
using Names = FunctionDeclarationManager::Names;

namespace {

const std::string cFile = "common/reflection/function/functiondeclarationmanager: ";

std::string walk(const FunctionDeclarationManager& manager) {
    std::string text;
    FunctionDeclarationManager::Types signature{Memory::AllocatorPtr()};
    for (FunctionIterator at = manager.getFunctionIterator(); !at.reachedEnd(); ++at) {
        CHECK(at.getFullSignature(signature));
        text += std::string(at.getFunctionName().c_str()) + std::to_string(GetIDWrapperValue(at.getFunctionID())) +
                "/" + std::to_string(signature.size()) + " ";
    }
    return text;
}

} // namespace

TEST_CASE_FIXTURE(FunctionTest, "a declaration is found by its name and the types that match it") {
    FunctionDeclarationManager manager("shared");
    const FunctionID first = manager.createFunctionDeclaration("f", types<void, int32>());
    const FunctionID other = manager.createFunctionDeclaration("f", types<float, String>());
    const FunctionID sameArguments = manager.createFunctionDeclaration("f", types<float, int32>());
    CHECK((first == FunctionID(0) && other == FunctionID(1) && sameArguments == FunctionID(2)));
    const std::tuple<const char*, Types, FunctionID> cases[] = {
        {"f", types<int32>(), first},        {"f", types<uint32>(), first},
        {"f", types<String>(), other},       {"f", types<int16>(), FunctionID()},
        {"f", types<>(), FunctionID()},      {"f", types<int32, int32>(), FunctionID()},
        {"F", types<int32>(), FunctionID()}, {nullptr, types<>(), FunctionID()},
    };
    for (const auto& [name, arguments, found] : cases)
        CHECK(manager.getFunctionID(name, arguments) == found);
    CHECK(manager.getFunctionIDWithFullSignature("f", types<float, uint32>()) == sameArguments);
    CHECK(manager.existsFunctionDeclaration("f", types<float, uint32>()));
    CHECK(!manager.existsFunctionDeclaration("f", types<double, int32>()));
    CHECK(manager.createFunctionDeclaration("f", types<void, uint32>()) == first);
}

TEST_CASE_FIXTURE(FunctionTest, "a declaration keeps what it was made with, and takes names while it has none") {
    auto& ledger = *new LedgerAllocator;
    const Memory::AllocatorPtr owner(&ledger);
    std::unique_ptr<FunctionDeclarationManager> manager(new (owner) FunctionDeclarationManager("shared"));
    const Types full = types<bool, float, float>();
    const Names late(allocator(), {"late"});
    const FunctionID id = manager->createFunctionDeclaration("move", full, "motion", "");
    manager->createFunctionDeclaration("move", full, "other", ",moved, x,,y,");
    manager->createFunctionDeclaration("move", full, "other", late);
    FunctionDeclarationManager copy(*manager);
    for (const FunctionDeclarationManager* each : {manager.get(), &copy}) {
        CHECK((each->getName() == "shared" && each->getFunctionName(id) == "move"));
        CHECK(each->getClassifier(id) == "motion");
        CHECK(each->getSignatureNames(id) == Names(allocator(), {"moved", " x", "y"}));
        Types signature(allocator());
        CHECK((each->getFullSignature(signature, id) && signature == full));
        CHECK((each->getArgumentSignature(signature, id) && signature == types<float, float>()));
        CHECK(each->getReturnValueType(id) == full[0]);
        CHECK(each->getFunctionID("move", signature) == id);
    }
    const FunctionID second = copy.createFunctionDeclaration("move", types<void>(), "", late);
    CHECK((copy.getSignatureNames(second) == late && *copy.getFunctionIDs("move") == IDs(allocator(), {id, second})));
    CHECK(*manager->getFunctionIDs("move") == IDs(allocator(), {id}));
    manager.reset();
    CHECK(ledger.mOutstanding.empty());
}

TEST_CASE_FIXTURE(FunctionTest, "an unknown id and an empty signature are reported and change nothing") {
    FunctionDeclarationManager manager("shared");
    manager.createFunctionDeclaration("f", types<void>());
    Types signature = types<int8>();
    const std::string invalid =
        cFile + "mFunctionDeclarations.size() > GetIDWrapperValue(functionID)\nError Message: invalid functionID";
    const FunctionID unknown(1);
    const Datatype::DatatypeID none;
    CHECK(outcomeOf([&] { CHECK(manager.getReturnValueType(unknown) == none); }) == invalid + ": 1");
    CHECK(outcomeOf([&] { CHECK(!manager.getFullSignature(signature, FunctionID())); }) == invalid + ": 4294967295");
    CHECK(outcomeOf([&] { CHECK(!manager.getArgumentSignature(signature, unknown)); }) == invalid + ": 1");
    CHECK(outcomeOf([&] { CHECK(manager.getFunctionName(unknown).empty()); }) == invalid);
    CHECK(outcomeOf([&] { CHECK(manager.getSignatureNames(unknown).empty()); }) == invalid);
    CHECK(outcomeOf([&] { CHECK(manager.getClassifier(unknown).empty()); }) == invalid);
    CHECK(signature == types<int8>());
    CHECK(outcomeOf([&] {
              CHECK(manager.createFunctionDeclaration("g", types<>()) == FunctionID());
          }).ends_with("the type of the result"));
    CHECK(manager.getFunctionIDs("g") == nullptr);
    CHECK(manager.createSignatureErrorMsg("differs:", "f", types<void>(), types<int32, float, String>()) ==
          "differs:\n existing signature: void f()\n expected signature: Integer32 f(Float,String)");
}

TEST_CASE_FIXTURE(FunctionTest, "functions are walked by name, and those of one name as they were declared") {
    FunctionDeclarationManager manager("shared");
    manager.createFunctionDeclaration("b", types<void, float>());
    const IDs* const before = manager.getFunctionIDs("b");
    manager.createFunctionDeclaration("c", types<void>());
    manager.createFunctionDeclaration("a", types<void, int8, int8>());
    manager.createFunctionDeclaration("b", types<void>());
    manager.createFunctionDeclaration("b", types<void, int8>());
    CHECK(walk(manager) == "a2/3 b0/2 b3/1 b4/2 c1/1 ");
    CHECK((*before == IDs(allocator(), {FunctionID(0)}) && manager.getFunctionIDs("d") == nullptr));
    CHECK(*manager.getFunctionIDs("b") == IDs(allocator(), {FunctionID(0), FunctionID(3), FunctionID(4)}));

    FunctionIterator at = manager.getFunctionIterator().getNext();
    CHECK((at.getNext().getFunctionID() == FunctionID(3) && at.getFunctionID() == FunctionID(0)));
    while (!at.reachedEnd())
        ++at;
    Types signature = types<int8>();
    CHECK((at.getNext().reachedEnd() && at.getFunctionID() == FunctionID() && at.getFunctionName().empty()));
    CHECK((!at.getFullSignature(signature) && signature == types<int8>()));
}
