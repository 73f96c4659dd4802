#include "bench/cases.h"
#include "bench/cxx17/rttrcalls.h"
#include "bench/registry.h"
#include "common/library.h"
#include "common/reflection/function/functionbinding.h"

#include <string>
#include <vector>

namespace Tarq::Bench {

namespace {

using Common::int32;
using namespace Common::Reflection;

constexpr uint32 cFunctions = 1000;

double compute(int32 count, float factor, double offset) {
    return count * static_cast<double>(factor) + offset;
}

/// The names of all functions, in an order that is nobody's.
const std::vector<std::string>& functionNames() {
    static const std::vector<std::string> names = [] {
        constexpr uint32 cStep = 617;
        std::vector<std::string> made;
        for (uint32 index = 0; index < cFunctions; ++index)
            made.push_back("computeValue" + std::to_string(index * cStep % cFunctions));
        return made;
    }();
    return names;
}

/// Calls `call` with the arguments of the `number`th call.
template <class Call>
double callWith(int32 number, Call call) {
    return call(number, static_cast<float>(number % 1024) / 4, number / 2.0);
}

/// The arguments change from one call to the next, and every result counts.
template <class Call>
void makeCalls(benchmark::State& state, Call call) {
    int32 calls = 0;
    double sum = 0;
    for (auto _ : state)
        sum += callWith(++calls, call);
    double expected = 0;
    for (int32 number = 1; number <= calls; ++number)
        expected += callWith(number, compute);
    check(sum == expected, "a result is wrong");
}

/// The same with each of the names in turn.
template <class Call>
void makeCallsByName(benchmark::State& state, Call call) {
    auto name = functionNames().begin();
    makeCalls(state, [&](auto... arguments) {
        if (name == functionNames().end())
            name = functionNames().begin();
        return call(*name++, arguments...);
    });
}

class Ours {
public:
    Ours() {
        for (const std::string& name : functionNames())
            mLast = mRegistrar.registerFunction(name, &compute);
    }

    double callById(int32 count, float factor, double offset) { return call(mLast, count, factor, offset); }
    double callByName(const std::string& name, int32 count, float factor, double offset) {
        return call(mRegistrar.getFunctionID(name, mSignature), count, factor, offset);
    }

private:
    double call(Function::FunctionID id, int32 count, float factor, double offset) {
        mArguments.set(0, count);
        mArguments.set(1, factor);
        mArguments.set(2, offset);
        double result = 0;
        mRegistrar.callFunction(&result, id, nullptr, mArguments);
        return result;
    }

    const Registry mRegistry;
    const Common::Memory::AllocatorPtr& mAllocator = Common::Library::getTempAlloc();
    const Function::FunctionRegistrar::Types mSignature{
        mAllocator,
        {Datatype::GET_DATATYPE_ID<int32>(), Datatype::GET_DATATYPE_ID<float>(), Datatype::GET_DATATYPE_ID<double>()}};
    Function::FunctionRegistrar mRegistrar{mAllocator};
    Function::FunctionArgumentList mArguments{mSignature, mAllocator};
    Function::FunctionID mLast;
};

void callByIdByOurs(benchmark::State& state) {
    Ours ours;
    makeCalls(state, [&](auto... arguments) { return ours.callById(arguments...); });
}

void callByNameByOurs(benchmark::State& state) {
    Ours ours;
    makeCallsByName(state, [&](const auto&... arguments) { return ours.callByName(arguments...); });
}

void callByIdByRttr(benchmark::State& state) {
    const RttrCalls rttr(functionNames(), &compute);
    makeCalls(state, [&](auto... arguments) { return rttr.callById(arguments...); });
}

void callByNameByRttr(benchmark::State& state) {
    const RttrCalls rttr(functionNames(), &compute);
    makeCallsByName(state, [&](const auto&... arguments) { return rttr.callByName(arguments...); });
}

} // namespace

std::vector<Case> functionCases() {
    return {
        {"function/call-by-id", callByIdByOurs, {{"RTTR", 0.4, callByIdByRttr}}},
        {"function/call-by-name", callByNameByOurs, {{"RTTR", 0.8, callByNameByRttr}}},
    };
}

} // namespace Tarq::Bench
