#include "common/parser/formula/functionarguments.h"

#include "common/parser/formula/internal/datatypes.h"

#include <algorithm>
#include <cstdint>

namespace Tarq::Common::Parser::Formula {

using Reflection::Datatype::DatatypeBase;
using Reflection::Function::FunctionArgumentList;

FunctionArguments::FunctionArguments(const List::Types& signature, const Memory::AllocatorPtr& allocator)
    : mList(signature, allocator), mOwnPlaces(allocator) {
    for (uint32 index = 0; index < mList.size(); ++index) {
        const DatatypeBase& datatype = *findDatatype(mList.getDatatypeID(index));
        void* const place = mList.getValuePtr(index);
        const bool isSuitable = reinterpret_cast<std::uintptr_t>(place) % datatype.getAlignment() == 0;
        mPlaces[index] = isSuitable ? place : mOwnPlaces.emplace_back(datatype, allocator).get();
    }
}

FunctionArguments::FunctionArguments(Nodes& nodes, const Memory::AllocatorPtr& allocator)
    : FunctionArguments(typesOf(nodes, allocator), allocator) {
    if (size() != nodes.size())
        return;
    std::copy_n(nodes.begin(), size(), mNodes.begin());
    nodes.clear();
}

FunctionArguments::FunctionArguments(const FunctionArguments& other, const Memory::AllocatorPtr& allocator)
    : FunctionArguments(typesOf({other.mNodes.data(), other.size()}, allocator), allocator) {
    for (uint32 index = 0; index < size(); ++index)
        mNodes[index] = other.mNodes[index]->clone();
}

FunctionArguments::~FunctionArguments() {
    for (MathValue* const node : mNodes)
        delete node;
}

const FunctionArgumentList& FunctionArguments::evaluate(VariableAccessor* accessor) {
    for (uint32 index = 0; index < size(); ++index) {
        mNodes[index]->getValue(mPlaces[index], accessor);
        if (!mOwnPlaces.empty() && mPlaces[index] != mList.getValuePtr(index))
            mList.setValue(mPlaces[index], index);
    }
    return mList;
}

bool FunctionArguments::isEqual(const FunctionArguments& other) const {
    return size() == other.size() &&
           std::equal(mNodes.begin(), mNodes.begin() + size(), other.mNodes.begin(),
                      [](MathValue* node, MathValue* otherNode) { return node->isEqual(otherNode); });
}

void FunctionArguments::getContainingVariables(Container::Vector<uint32>& accessIDs) const {
    for (uint32 index = 0; index < size(); ++index)
        mNodes[index]->getContainingVariables(accessIDs);
}

void FunctionArguments::replaceVariableAccessID(uint32 oldID, uint32 newID) {
    for (uint32 index = 0; index < size(); ++index)
        mNodes[index]->replaceVariableAccessID(oldID, newID);
}

} // namespace Tarq::Common::Parser::Formula
