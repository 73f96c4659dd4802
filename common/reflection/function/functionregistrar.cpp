#include "common/reflection/function/functionregistrar.h"

#include "common/debug/assert.h"
#include "common/memory/allocate.h"
#include "common/reflection/function/functionargumentlist.h"
#include "common/reflection/function/internal/roundedup.h"
#include "common/reflection/function/internal/signature.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <utility>

namespace Tarq::Common::Reflection::Function {

using Datatype::DatatypeID;

namespace {

using Inside = Threading::ScopedLock<Threading::Mutex>;

} // namespace

/// One block: the record, the types of its arguments, the bytes of the object, the bytes of the pointer.
struct FunctionRegistrar::Record {
    CFunction function;
    Record* replaced; ///< the one it took the place of, which a call may still be using
};

/// The records by id, behind a header. When it grows, a larger one takes its place.
struct FunctionRegistrar::Table {
    std::atomic<uint32> size;
    uint32 capacity;
    Table* replaced; ///< a call may still be using it

    std::atomic<Record*>* entries() noexcept { return reinterpret_cast<std::atomic<Record*>*>(this + 1); }
};

// Inline, because the loader could replace an exported function: calls of it are never inlined otherwise.
inline CFunction* FunctionRegistrar::findRecord(FunctionID functionID) const noexcept {
    Table* const table = mCFunctions.load(std::memory_order_acquire);
    const uint32 index = GetIDWrapperValue(functionID);
    if (!table || index >= table->size.load(std::memory_order_acquire))
        return nullptr;
    Record* const record = table->entries()[index].load(std::memory_order_acquire);
    return record ? &record->function : nullptr;
}

FunctionRegistrar::FunctionRegistrar(const Memory::AllocatorPtr& allocator)
    : mFunctionDeclarations(new (allocator) FunctionDeclarationManager("default")), mRequiredFunctions(allocator),
      mRecordAllocator(allocator) {}

FunctionRegistrar::FunctionRegistrar(const FunctionDeclarationManagerPtr& declarations,
                                     const Memory::AllocatorPtr& allocator)
    : mFunctionDeclarations(declarations), mRequiredFunctions(allocator), mRecordAllocator(allocator) {
    if (!TARQ_ASSERT(declarations, "there are no function declarations to share"))
        mFunctionDeclarations = new (allocator) FunctionDeclarationManager("default");
}

FunctionRegistrar::FunctionRegistrar(const FunctionRegistrar& other)
    : MemoryManaged(), mFunctionDeclarations(other.mFunctionDeclarations), mRequiredFunctions(other.mRecordAllocator),
      mRecordAllocator(other.mRecordAllocator) {
    *this = other;
}

FunctionRegistrar& FunctionRegistrar::operator=(const FunctionRegistrar& other) {
    if (this == &other)
        return *this;
    FunctionRegistrar copy(other.mFunctionDeclarations, mRecordAllocator);
    {
        const Inside inside(other.mMutex);
        copy.mRequiredFunctions = other.mRequiredFunctions;
        if (Table* const table = other.mCFunctions.load(std::memory_order_relaxed)) {
            for (uint32 id = 0; id < table->size.load(std::memory_order_relaxed); ++id) {
                if (const Record* const record = table->entries()[id].load(std::memory_order_relaxed))
                    copy.store(copy.makeRecord(record->function));
            }
        }
    }
    mFunctionDeclarations.swap(copy.mFunctionDeclarations);
    mRequiredFunctions.swap(copy.mRequiredFunctions);
    copy.mCFunctions = mCFunctions.exchange(copy.mCFunctions.load());
    return *this;
}

FunctionRegistrar::~FunctionRegistrar() {
    releaseRecords();
}

// Registration.

FunctionID FunctionRegistrar::internalRegister(String::Text name, CallRoutine callWithoutResult,
                                               CallRoutine callWithResult, const void* object, uint32 objectSize,
                                               const void* functionPointer, uint32 functionPointerSize,
                                               const Types& fullSignature) {
    if (!TARQ_ASSERT(functionPointer && functionPointerSize != 0, "functionpointer is a zero pointer") ||
        !TARQ_ASSERT(callWithoutResult && callWithResult, "a function needs its call routines") ||
        !TARQ_ASSERT(!fullSignature.empty(), "a full signature begins with the type of the result") ||
        !TARQ_ASSERT(fullSignature.size() - 1 <= FunctionArgumentList::cMaximumArguments,
                     "a function has at most ten arguments, but there are ", fullSignature.size() - 1))
        return FunctionID();

    const auto [functionID, otherResult] = mFunctionDeclarations->provideFunctionDeclaration(name, fullSignature);
    if (functionID == FunctionID()) {
        TARQ_FAIL("function: \"", name,
                  "\" is already registered with identical signature and different returnvaluetype: \"",
                  getTypeName(otherResult), "\"");
        return FunctionID();
    }
    // The parts are copied out of the caller's hands in one go.
    Record* const record =
        makeRecord({mFunctionDeclarations, const_cast<void*>(objectSize == 0 ? nullptr : object),
                    const_cast<void*>(functionPointer), callWithoutResult, callWithResult, functionPointerSize,
                    object ? objectSize : 0, functionID, Signature(fullSignature).subspan(1)});
    const Inside inside(mMutex);
    store(record);
    return functionID;
}

FunctionRegistrar::Record* FunctionRegistrar::makeRecord(const CFunction& source) const {
    const std::size_t typesAt = roundedUp(sizeof(Record));
    const std::size_t objectAt = typesAt + roundedUp(source.argumentTypes.size_bytes());
    const std::size_t pointerAt = objectAt + roundedUp(source.objectSize);
    const std::size_t end = pointerAt + roundedUp(source.functionPointerSize);
    auto* const bytes = static_cast<uint8*>(Memory::allocateBytes(mRecordAllocator, end));
    auto* const record = ::new (static_cast<void*>(bytes)) Record{source, nullptr};

    CFunction& function = record->function;
    auto* const types = reinterpret_cast<DatatypeID*>(bytes + typesAt);
    std::uninitialized_copy(source.argumentTypes.begin(), source.argumentTypes.end(), types);
    function.argumentTypes = {types, source.argumentTypes.size()};
    if (source.object) {
        function.object = bytes + objectAt;
        std::memcpy(function.object, source.object, source.objectSize);
    }
    function.functionPointer = bytes + pointerAt;
    std::memcpy(function.functionPointer, source.functionPointer, source.functionPointerSize);
    return record;
}

void FunctionRegistrar::store(Record* record) {
    const uint32 index = GetIDWrapperValue(record->function.functionID);
    Table* table = mCFunctions.load(std::memory_order_relaxed);
    if (!table || index >= table->capacity) {
        Table* const old = table;
        const uint32 oldSize = old ? old->size.load(std::memory_order_relaxed) : 0;
        const uint32 capacity = std::max<uint32>({8, index + 1, oldSize + oldSize / 2});
        void* bytes = nullptr;
        try {
            bytes = Memory::allocateBytes(mRecordAllocator,
                                          sizeof(Table) + std::size_t{capacity} * sizeof(std::atomic<Record*>));
        } catch (...) {
            Container::destroyNode(mRecordAllocator, record);
            throw;
        }
        table = ::new (bytes) Table{oldSize, capacity, old};
        for (uint32 at = 0; at < capacity; ++at) {
            ::new (static_cast<void*>(table->entries() + at))
                std::atomic<Record*>(at < oldSize ? old->entries()[at].load(std::memory_order_relaxed) : nullptr);
        }
        mCFunctions.store(table, std::memory_order_release);
    }
    std::atomic<Record*>& entry = table->entries()[index];
    record->replaced = entry.load(std::memory_order_relaxed);
    entry.store(record, std::memory_order_release);
    if (index >= table->size.load(std::memory_order_relaxed))
        table->size.store(index + 1, std::memory_order_release);
}

void FunctionRegistrar::releaseRecords() noexcept {
    Table* table = mCFunctions.load(std::memory_order_relaxed);
    const uint32 size = table ? table->size.load(std::memory_order_relaxed) : 0;
    for (uint32 at = 0; at < size; ++at) {
        Record* record = table->entries()[at].load(std::memory_order_relaxed);
        while (record)
            Container::destroyNode(mRecordAllocator, std::exchange(record, record->replaced));
    }
    while (table)
        Memory::releaseBytes(mRecordAllocator, std::exchange(table, table->replaced));
}

// Calls.

bool FunctionRegistrar::callFunction(void* result, FunctionID functionID, void* object,
                                     const FunctionArgumentList& arguments) const {
    CFunction* const function = findRecord(functionID);
    if (!function) [[unlikely]]
        return reportNoRecord(functionID);
    return function->callWithResult(result, function, object, arguments);
}

bool FunctionRegistrar::callFunction(FunctionID functionID, void* object, const FunctionArgumentList& arguments) const {
    CFunction* const function = findRecord(functionID);
    if (!function) [[unlikely]]
        return reportNoRecord(functionID);
    return function->callWithoutResult(nullptr, function, object, arguments);
}

bool FunctionRegistrar::reportNoRecord(FunctionID functionID) const {
    Table* const table = mCFunctions.load(std::memory_order_acquire);
    const bool isInTable = table && GetIDWrapperValue(functionID) < table->size.load(std::memory_order_acquire);
    // Tools see this condition, which would admit one id more than there are; do not correct it.
    return TARQ_ASSERT_AS("mCFunctions.size() >= GetIDWrapperValue(id)", isInTable,
                          "invalid functionID - internal error") &&
           TARQ_FAIL("try to call not registered function", getFunctionName(functionID));
}

// What the declarations say.

FunctionID FunctionRegistrar::getFunctionID(String::Text name, const Types& argumentSignature) const {
    return mFunctionDeclarations->getFunctionID(name, argumentSignature);
}

FunctionID FunctionRegistrar::getFunctionIDWithFullSignature(String::Text name, const Types& fullSignature) const {
    return mFunctionDeclarations->getFunctionIDWithFullSignature(name, fullSignature);
}

const FunctionRegistrar::FunctionIDs* FunctionRegistrar::getFunctionIDs(String::Text name) const {
    return mFunctionDeclarations->getFunctionIDs(name);
}

DatatypeID FunctionRegistrar::getReturnValueType(FunctionID functionID) const {
    return mFunctionDeclarations->getReturnValueType(functionID);
}

String FunctionRegistrar::getFunctionName(FunctionID functionID) const {
    return mFunctionDeclarations->getFunctionName(functionID);
}

bool FunctionRegistrar::getFullSignature(Types& signature, FunctionID functionID) const {
    return mFunctionDeclarations->getFullSignature(signature, functionID);
}

bool FunctionRegistrar::getArgumentSignature(Types& signature, FunctionID functionID) const {
    return mFunctionDeclarations->getArgumentSignature(signature, functionID);
}

bool FunctionRegistrar::existsFunction(String::Text name, const Types& argumentSignature,
                                       bool declarationSuffices) const {
    const FunctionID functionID = getFunctionID(name, argumentSignature);
    return functionID != FunctionID() && (declarationSuffices || providesFunction(functionID));
}

bool FunctionRegistrar::providesFunction(FunctionID functionID) const noexcept {
    return findRecord(functionID) != nullptr;
}

// What is required.

FunctionID FunctionRegistrar::addRequiredFunction(String::Text name, const Types& fullSignature) {
    const FunctionID functionID = mFunctionDeclarations->createFunctionDeclaration(name, fullSignature);
    if (functionID != FunctionID())
        addRequiredFunction(functionID);
    return functionID;
}

void FunctionRegistrar::addRequiredFunction(FunctionID functionID) {
    if (getReturnValueType(functionID) == Datatype::INVALID_DATATYPE_ID)
        return;
    const Inside inside(mMutex);
    if (std::find(mRequiredFunctions.begin(), mRequiredFunctions.end(), functionID) == mRequiredFunctions.end())
        mRequiredFunctions.push_back(functionID);
}

FunctionRegistrar::FunctionIDs FunctionRegistrar::getRequiredFunctions() const {
    const Inside inside(mMutex);
    return mRequiredFunctions;
}

bool FunctionRegistrar::checkRegisteredFunctions() const {
    String missing;
    {
        const Inside inside(mMutex);
        Types signature(mRecordAllocator);
        for (const FunctionID each : mRequiredFunctions) {
            if (findRecord(each))
                continue;
            getFullSignature(signature, each);
            missing.append(getTypeName(signature.front())).append(" (*").append(getFunctionName(each)).append(") (");
            appendTypeNames(missing, Signature(signature).subspan(1));
            missing += ")\n";
        }
    }
    return TARQ_ASSERT(missing.empty(), "the following functions are not registered:\n", missing);
}

} // namespace Tarq::Common::Reflection::Function
