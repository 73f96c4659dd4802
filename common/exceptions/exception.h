#pragma once

#include "common/container/list.h"
#include "common/container/pair.h"
#include "common/debug/callstack.h"
#include "common/export.h"
#include "common/string.h"

#include <cstddef>
#include <utility>

/// Exceptions report what a caller did wrong and what failed outside; they are thrown as pointers.
///
///     throw new IO::FileNotFoundException("...", name, fullName);
///
///     try { ... }
///     catch (IO::FileException* exception) {
///         const Exceptions::Holder holder(exception); // deletes it at the end of the scope
///         ...
///     }
namespace Tarq::Common::Exceptions {

/// A named parameter of an exception and its value.
using Parameter = Container::Pair<String, String>;
using ParameterList = Container::List<Parameter>;

/// Base of everything that the library throws: a message, named parameters, an inner exception that led to this one,
/// and the call stack of the place where it was made.
///
/// Ownership: whoever catches it deletes it. Its bytes come from the exception allocator and go back there.
/// Threads: an exception belongs to the thread that caught it. Making one records return addresses only; the first
/// reading of the call stack finds their names, and several exceptions may be read on several threads at once.
class TARQ_API Exception {
public:
    /// Which parts of a call stack's lines are shown; combine them with `|`.
    enum CallStackListingOption : uint32 {
        CALLSTACK_NONE = 0,
        CALLSTACK_FUNCTION = 1,
        CALLSTACK_SOURCE = 2, ///< file and line
        CALLSTACK_MODULE = 8,
        CALLSTACK_ALL = CALLSTACK_FUNCTION | CALLSTACK_SOURCE | CALLSTACK_MODULE,
    };

    explicit Exception(const String& message);
    virtual ~Exception();
    Exception(const Exception&) = delete;
    Exception& operator=(const Exception&) = delete;

    /// The name of the class.
    virtual String getExceptionName() const;
    /// Shows `composeText(option)` in a message box, with the exception's name as the caption.
    virtual void showException(CallStackListingOption option) const;

    /// Message, inner exceptions by name, parameters, and the call stack if `option` selects any part of its lines.
    String composeText(CallStackListingOption option) const;

    const String& getMessage() const noexcept { return mMessage; }
    /// The named parameters, those of the base classes first.
    ParameterList getParameters() const;
    /// From the function that made the exception outwards; calls beyond the innermost 128 are left out. The first
    /// reading may wait for the loader: no initialiser of a module may wait for the thread that reads.
    const Debug::CallStack& getCallStack() const;

    /// Takes ownership of `inner` and deletes the inner exception held before; one from inside that exception is kept.
    /// Handing in the one already held, or null in the place of none, changes nothing. Asserts that this exception is
    /// not inside of `inner`; otherwise does nothing.
    void setInnerException(Exception* inner);
    /// Hands the inner exception out; the caller owns it then. Null when there is none.
    [[nodiscard]] Exception* releaseInnerException() noexcept;
    /// Null when there is none.
    Exception* getInnerException() const noexcept { return mInnerException; }

    const Memory::AllocatorPtr& getAllocator() const noexcept { return mAllocator; }

    static void* operator new(std::size_t size);
    static void operator delete(void* object) noexcept;

protected:
    /// For exceptions that cannot rely on the exception allocator: everything comes from `allocator`.
    Exception(const char* message, const Memory::AllocatorPtr& allocator);

    /// Appends the class's named parameters; a derived class appends its own after its base's.
    virtual void getExceptionParameter(ParameterList& parameters) const;

private:
    void appendCallStack(String& text, CallStackListingOption option) const;

    Memory::AllocatorPtr mAllocator;
    Debug::CallStackRecord mCallStackRecord;
    mutable Debug::CallStack mCallStack; ///< filled at the first reading
    String mMessage;
    Exception* mInnerException = nullptr;
};

constexpr Exception::CallStackListingOption operator|(Exception::CallStackListingOption a,
                                                      Exception::CallStackListingOption b) noexcept {
    return static_cast<Exception::CallStackListingOption>(static_cast<uint32>(a) | static_cast<uint32>(b));
}

/// Deletes a caught exception at the end of the scope.
template <class Held = Exception>
class Holder {
public:
    explicit Holder(Held* exception) noexcept : mException(exception) {}
    Holder(Holder&& other) noexcept : mException(other.release()) {}
    ~Holder() { delete mException; }

    Held* operator->() const noexcept { return mException; }
    Held& operator*() const noexcept { return *mException; }
    /// Hands the exception out; the caller owns it then, to throw it on or to make it an inner exception.
    Held* release() noexcept { return std::exchange(mException, nullptr); }

private:
    Held* mException;
};

} // namespace Tarq::Common::Exceptions
