#include "common/parser/formula/mathvalue.h"

#include "common/parser/formula/variableaccessor.h"
#include "common/parser/formula/variableresolver.h"
#include "common/threading/spinlock.h"

namespace Tarq::Common::Parser::Formula {

namespace {

std::atomic<uint32> gNextID{0};

} // namespace

uint32 MathValueTypeIDHolder::getNewID() noexcept {
    return gNextID.fetch_add(1, std::memory_order_relaxed);
}

uint32 MathValueTypeIDHolder::number(std::atomic<uint32>& id) noexcept {
    static constinit Threading::SpinLock lock(Threading::cSpinCount);
    const Threading::ScopedLock hold(lock);
    uint32 known = id.load(std::memory_order_relaxed);
    if (known == cNotNumbered) {
        known = getNewID();
        id.store(known, std::memory_order_relaxed);
    }
    return known;
}

VariableAccessor::~VariableAccessor() = default;
VariableResolver::~VariableResolver() = default;

MathValue::MathValue() = default;
MathValue::~MathValue() = default;

bool MathValue::isConstant() {
    return true;
}

Expression::Operation MathValue::getOperationType() {
    return Expression::OPERATION_NONE;
}

FunctionType MathValue::getFunctionType() {
    return 0;
}

void MathValue::getContainingVariables(Container::Vector<uint32>&) const {}

MathValue* MathValue::merge() {
    return nullptr;
}

bool MathValue::isReferenceValue() const {
    return false;
}

void MathValue::replaceVariableAccessID(uint32, uint32) {}

DatatypeID MathValue::getLeftDatatypeID() {
    return DatatypeID();
}

DatatypeID MathValue::getRightDatatypeID() {
    return DatatypeID();
}

void* MathValue::getValueReference(VariableAccessor*) {
    return nullptr;
}

template class TypedMathValue<bool>;
template class TypedMathValue<int32>;
template class TypedMathValue<uint32>;
template class TypedMathValue<int64>;
template class TypedMathValue<float>;
template class TypedMathValue<String>;
template class VariableMathValue<bool>;
template class VariableMathValue<int32>;
template class VariableMathValue<uint32>;
template class VariableMathValue<int64>;
template class VariableMathValue<float>;
template class VariableMathValue<String>;

} // namespace Tarq::Common::Parser::Formula
