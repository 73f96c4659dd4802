#pragma once

#include "common/export.h"
#include "common/memory/allocatorptr.h"
#include "common/reflection/datatype/datatypebase.h"

#include <utility>

namespace Tarq::Common::Parser::Formula {

/// A value of a type that is known at run time only; owns it.
class TARQ_API DatatypeValue {
public:
    using DatatypeBase = Reflection::Datatype::DatatypeBase;

    /// The type's default. Throws `OutOfMemoryException`.
    DatatypeValue(const DatatypeBase& datatype, const Memory::AllocatorPtr& allocator);
    /// Takes over a value that was made on `allocator`. Throws `OutOfMemoryException` for null.
    DatatypeValue(const DatatypeBase& datatype, void* value, const Memory::AllocatorPtr& allocator);
    ~DatatypeValue() { mDatatype.deleteValue(mValue, mAllocator); }
    DatatypeValue(const DatatypeValue&) = delete;
    DatatypeValue& operator=(const DatatypeValue&) = delete;

    void* get() const noexcept { return mValue; }
    const DatatypeBase& getDatatype() const noexcept { return mDatatype; }
    /// It is the caller's then.
    void* release() noexcept { return std::exchange(mValue, nullptr); }

private:
    const DatatypeBase& mDatatype;
    void* mValue;
    Memory::AllocatorPtr mAllocator;
};

} // namespace Tarq::Common::Parser::Formula
