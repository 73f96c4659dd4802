#include "common/parser/formula/datatypevalue.h"

#include "common/memory/memoryexception.h"

namespace Tarq::Common::Parser::Formula {

DatatypeValue::DatatypeValue(const DatatypeBase& datatype, const Memory::AllocatorPtr& allocator)
    : DatatypeValue(datatype, datatype.createValue(allocator), allocator) {}

DatatypeValue::DatatypeValue(const DatatypeBase& datatype, void* value, const Memory::AllocatorPtr& allocator)
    : mDatatype(datatype), mValue(value), mAllocator(allocator) {
    if (!mValue)
        throw new Memory::OutOfMemoryException;
}

} // namespace Tarq::Common::Parser::Formula
