#include "common/exceptions/exception.h"

#include "common/debug/assert.h"
#include "common/debug/tarqmessagebox.h"
#include "common/library.h"
#include "common/memory/internal/managedblock.h"
#include "common/platform/callstack.h"

namespace Tarq::Common::Exceptions {

// The constructors and `operator new` are never inlined: their frames' ends tell which functions are not part of the
// call stack.

[[gnu::noinline]] Exception::Exception(const String& message)
    : mAllocator(Library::getExceptionAlloc()), mCallStack(Library::getDebugAlloc()),
      mMessage(message.view(), mAllocator) {
    mCallStackRecord.captureMaker(Library::getDebugAlloc(), this, Platform::getFrameEnd());
}

[[gnu::noinline]] Exception::Exception(const char* message, const Memory::AllocatorPtr& allocator)
    : mAllocator(allocator), mCallStack(allocator), mMessage(String::View(message), allocator) {
    mCallStackRecord.captureMaker(allocator, this, Platform::getFrameEnd());
}

Exception::~Exception() {
    delete mInnerException;
}

String Exception::getExceptionName() const {
    return "Exception";
}

void Exception::getExceptionParameter(ParameterList&) const {}

ParameterList Exception::getParameters() const {
    ParameterList parameters(Library::getTempAlloc());
    getExceptionParameter(parameters);
    return parameters;
}

const Debug::CallStack& Exception::getCallStack() const {
    if (!mCallStackRecord.isEmpty() && mCallStack.empty())
        mCallStackRecord.resolve(mCallStack);
    return mCallStack;
}

void Exception::setInnerException(Exception* inner) {
    if (inner == mInnerException)
        return;
    bool isAround = false;
    for (const Exception* each = inner; each; each = each->mInnerException)
        isAround = isAround || each == this;
    if (!TARQ_ASSERT(!isAround, "An exception cannot be inside itself"))
        return;
    // One from inside the exception that goes, which a caller may want to keep, is taken out first.
    for (Exception* owner = mInnerException; owner; owner = owner->mInnerException) {
        if (owner->mInnerException == inner)
            owner->mInnerException = nullptr;
    }
    delete std::exchange(mInnerException, inner);
}

Exception* Exception::releaseInnerException() noexcept {
    return std::exchange(mInnerException, nullptr);
}

void Exception::showException(CallStackListingOption option) const {
    Debug::TarqMessageBox::show(getExceptionName(), composeText(option), Debug::TarqMessageBox::ICON_NONE);
}

String Exception::composeText(CallStackListingOption option) const {
    String text = "Error: ";
    text += mMessage;

    if (mInnerException)
        text += "\nInner Exceptions:";
    for (const Exception* inner = mInnerException; inner; inner = inner->mInnerException)
        text.append("\n   ").append(inner->getExceptionName());

    const ParameterList parameters = getParameters();
    if (!parameters.empty())
        text += "\nParameters:";
    for (const Parameter& parameter : parameters)
        text.append("\n   ").append(parameter.first).append(": ").append(parameter.second);

    if (option != CALLSTACK_NONE)
        appendCallStack(text, option);
    return text;
}

void Exception::appendCallStack(String& text, CallStackListingOption option) const {
    text += "\nCallStack:\n   ";
    for (const Debug::CallStackEntry& entry : getCallStack()) {
        String line;
        if (option & CALLSTACK_MODULE)
            line += entry.mModule;
        if (option & CALLSTACK_SOURCE) {
            if (!line.empty())
                line += ", ";
            line.append(entry.mFile).append(" (").appendDecimal(entry.mLine).append(")");
        }
        if (option & CALLSTACK_FUNCTION) {
            if (!line.empty())
                line += ": ";
            line += entry.mFunction;
        }
        text.append(line).append("\n   ");
    }
}

[[gnu::noinline]] void* Exception::operator new(std::size_t size) {
    void* const object = Memory::newManagedBlock(size, Library::getExceptionAlloc());
    Debug::CallStackRecord::announce(object, Platform::getFrameEnd(), Platform::getReturnAddress());
    return object;
}

void Exception::operator delete(void* object) noexcept {
    Debug::CallStackRecord::forget(object);
    Memory::deleteManagedBlock(object);
}

} // namespace Tarq::Common::Exceptions
