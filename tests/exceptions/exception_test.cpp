#include "common/exceptions/exception.h"

#include "common/exceptions/argumentexception.h"
#include "common/exceptions/invalidstateexception.h"
#include "common/exceptions/notsupportedexception.h"
#include "common/exceptions/unauthorizedaccessexception.h"
#include "common/io/directoryexception.h"
#include "common/io/ioexception.h"
#include "common/memory/memoryexception.h"
#include "common/parser/vrml2/vrml2parserexception.h"
#include "common/parser/xml/xmlparserexception.h"
#include "common/serialize/serializeexception.h"
#include "tests/support/librarytest.h"
#include "tests/support/messageboxrecorder.h"

using namespace Tarq::Common;
using namespace Tarq::Test;
using Exceptions::Exception;

namespace {

/// Throws the pointer and catches it as one to a base class.
template <class Base, class Derived>
Exception* caughtAs(Derived* exception) {
    static_assert(std::is_base_of_v<Base, Derived>);
    try {
        throw exception;
    } catch (Base* caught) {
        return caught;
    }
}

struct FamilyMember {
    const char* name;
    /// `text` is the message, and the value of the class's textual parameters.
    Exception* (*make)(const String& text);
    /// With a "$" where `text` shows.
    const char* shown;
};

using namespace Exceptions;
using namespace IO;
using Memory::MemoryException;
using Memory::OutOfMemoryException;
using Parser::ParserException;
using Serialize::SerializeException;
using Serialize::TypeMismatchException;

const FamilyMember cFamily[] = {
    {"Exception", [](const String& s) { return new Exception(s); }, "Error: $"},
    {"ArgumentException", [](const String& s) { return caughtAs<Exception>(new ArgumentException(s, s)); },
     "Error: $\nParameters:\n   ArgumentName: $"},
    {"ArgumentOutOfRangeException",
     [](const String& s) { return caughtAs<ArgumentException>(new ArgumentOutOfRangeException(s, s)); },
     "Error: $\nParameters:\n   ArgumentName: $"},
    {"ArgumentNullException",
     [](const String& s) { return caughtAs<ArgumentException>(new ArgumentNullException(s, s)); },
     "Error: $\nParameters:\n   ArgumentName: $"},
    {"InvalidStateException", [](const String& s) { return caughtAs<Exception>(new InvalidStateException(s)); },
     "Error: $"},
    {"NotSupportedException", [](const String& s) { return caughtAs<Exception>(new NotSupportedException(s)); },
     "Error: $"},
    {"UnAuthorizedAccessException",
     [](const String& s) { return caughtAs<Exception>(new UnAuthorizedAccessException(s)); }, "Error: $"},
    {"Exception", [](const String& s) { return caughtAs<Exception>(new MemoryException(s)); }, "Error: $"},
    {"OutOfMemoryException", [](const String&) { return caughtAs<MemoryException>(new OutOfMemoryException); },
     "Error: No Memory available"},
    {"IOException", [](const String& s) { return caughtAs<Exception>(new IOException(s)); }, "Error: $"},
    {"FileException", [](const String& s) { return caughtAs<IOException>(new FileException(s, s, "/full")); },
     "Error: $\nParameters:\n   Filename: $\n   FullFilename: /full"},
    {"FileNotFoundException",
     [](const String& s) { return caughtAs<FileException>(new FileNotFoundException(s, "name", s)); },
     "Error: $\nParameters:\n   Filename: name\n   FullFilename: $"},
    {"FileExistException", [](const String& s) { return caughtAs<FileException>(new FileExistException(s, s, s)); },
     "Error: $\nParameters:\n   Filename: $\n   FullFilename: $"},
    {"OutOfSpaceException", [](const String& s) { return caughtAs<IOException>(new OutOfSpaceException(s)); },
     "Error: $"},
    {"DirectoryException", [](const String& s) { return caughtAs<IOException>(new DirectoryException(s, s)); },
     "Error: $\nParameters:\n   Directory: $"},
    {"DirectoryExistsException",
     [](const String& s) { return caughtAs<DirectoryException>(new DirectoryExistsException(s, s)); },
     "Error: $\nParameters:\n   Directory: $"},
    {"DirectoryNotEmptyException",
     [](const String& s) { return caughtAs<DirectoryException>(new DirectoryNotEmptyException(s, s)); },
     "Error: $\nParameters:\n   Directory: $"},
    {"DirectoryNotFoundException",
     [](const String& s) { return caughtAs<DirectoryException>(new DirectoryNotFoundException(s, s)); },
     "Error: $\nParameters:\n   Directory: $"},
    {"SerializeException", [](const String& s) { return caughtAs<Exception>(new SerializeException(s)); }, "Error: $"},
    {"TypeMismatchException",
     [](const String& s) { return caughtAs<SerializeException>(new TypeMismatchException(s, s, "uint32")); },
     "Error: $\nParameters:\n   FoundType: $\n   ExpectedType: uint32"},
    {"Exception", [](const String& s) { return caughtAs<Exception>(new ParserException(s, 1, 2)); },
     "Error: $\nParameters:\n   Line: 1\n   Row: 2"},
    {"XMLParserException",
     [](const String& s) { return caughtAs<ParserException>(new Parser::XML::XMLParserException(s, 0, 4294967295)); },
     "Error: $\nParameters:\n   Line: 0\n   Row: 4294967295"},
    {"VRML2ParserException",
     [](const String& s) { return caughtAs<ParserException>(new Parser::VRML2::VRML2ParserException(s, 7, 0)); },
     "Error: $\nParameters:\n   Line: 7\n   Row: 0"},
};

std::string fillIn(const char* shown, const String& text) {
    std::string filled;
    for (; *shown != '\0'; ++shown) {
        if (*shown == '$')
            filled += text.c_str();
        else
            filled += *shown;
    }
    return filled;
}

/// Knows when it goes.
class Tracked : public Exception {
public:
    explicit Tracked(int& alive) : Exception("tracked"), mAlive(alive) { ++mAlive; }
    ~Tracked() override { --mAlive; }

private:
    int& mAlive;
};

/// What a line of the call stack shows, from the entry's parts.
std::string lineOf(const Debug::CallStackEntry& entry, unsigned option) {
    const std::string source = std::string(entry.mFile.c_str()) + " (" + std::to_string(entry.mLine) + ")";
    const std::string module = entry.mModule.c_str();
    const std::string function = entry.mFunction.c_str();
    switch (option) {
    case 1:
        return function;
    case 2:
        return source;
    case 3:
        return source + ": " + function;
    case 8:
        return module;
    case 9:
        return module.empty() ? function : module + ": " + function;
    case 11:
        return (module.empty() ? source : module + ", " + source) + ": " + function;
    default:
        return "";
    }
}

} // namespace

TEST_CASE_FIXTURE(LibraryTest, "every exception shows its message and its parameters under its name") {
    for (const String& text : {String("buffer"), String(""), String("%s\n\t\xc3\xa9")}) {
        for (const FamilyMember& member : cFamily) {
            CAPTURE(member.name);
            const Holder exception(member.make(text));
            CHECK(exception->getExceptionName() == member.name);
            const MessageBoxRecorder box;
            exception->showException(Exception::CALLSTACK_NONE);
            REQUIRE(box.getShown().size() == 1);
            CHECK(box.getShown()[0].caption == member.name);
            CHECK(box.getShown()[0].text == fillIn(member.shown, text));
            CHECK(box.getShown()[0].icon == Debug::TarqMessageBox::ICON_NONE);
        }
    }
}

TEST_CASE_FIXTURE(BareTest, "every exception can be made, shown and deleted while the library is down") {
    for (const FamilyMember& member : cFamily) {
        CAPTURE(member.name);
        const Holder exception(member.make("down"));
        CHECK(exception->composeText(Exception::CALLSTACK_NONE) == fillIn(member.shown, "down").c_str());
        CHECK(exception->composeText(Exception::CALLSTACK_ALL).contains("\nCallStack:\n   "));
    }
}

TEST_CASE_FIXTURE(LibraryTest, "an exception that finds no memory is an out-of-memory exception, and nothing is lost") {
    // So long that each copy of the text is a block from the host.
    const String text(300, 'x');
    int refused = 0;
    for (const FamilyMember& member : cFamily) {
        CAPTURE(member.name);
        // What is shorter has its pages from now on.
        delete member.make(text);
        const int64 before = getMemory().getBlocks();
        for (int granted = 0;; ++granted) {
            getMemory().failAfter(granted);
            Exception* made = nullptr;
            try {
                made = member.make(text);
            } catch (OutOfMemoryException* exception) {
                const Holder holder(exception);
                ++refused;
            }
            getMemory().failNever();
            if (made) {
                CHECK(Holder(made)->getExceptionName() == member.name);
                break;
            }
            CHECK(getMemory().getBlocks() == before);
        }
    }
    CHECK(refused >= 22);
}

TEST_CASE_FIXTURE(LibraryTest, "inner exceptions are named from the outermost inwards, before the parameters") {
    const Holder outer(new ArgumentNullException("null", "buffer"));
    auto* const middle = new FileNotFoundException("not shown", "not", "shown");
    outer->setInnerException(middle);
    CHECK(outer->composeText(Exception::CALLSTACK_NONE) ==
          "Error: null\nInner Exceptions:\n   FileNotFoundException\nParameters:\n   ArgumentName: buffer");
    middle->setInnerException(new IOException("not shown either"));
    CHECK(outer->composeText(Exception::CALLSTACK_NONE) ==
          "Error: null\nInner Exceptions:\n   FileNotFoundException\n   IOException\nParameters:\n   "
          "ArgumentName: buffer");
}

TEST_CASE_FIXTURE(LibraryTest, "an inner exception goes when it is replaced, and with its owner") {
    int firstAlive = 0;
    int secondAlive = 0;
    {
        const Holder outer(new Exception("outer"));
        CHECK(outer->getInnerException() == nullptr);
        outer->setInnerException(nullptr);
        Tracked* const first = new Tracked(firstAlive);
        outer->setInnerException(first);
        outer->setInnerException(first);
        CHECK(firstAlive == 1);
        CHECK(outer->getInnerException() == first);
        outer->setInnerException(new Tracked(secondAlive));
        CHECK(firstAlive == 0);
        CHECK(secondAlive == 1);
        outer->setInnerException(nullptr);
        CHECK(secondAlive == 0);
        CHECK(outer->getInnerException() == nullptr);
        outer->setInnerException(new Tracked(firstAlive));
        outer->getInnerException()->setInnerException(new Tracked(secondAlive));
    }
    CHECK(firstAlive == 0);
    CHECK(secondAlive == 0);
}

TEST_CASE_FIXTURE(LibraryTest, "a holder that has handed its exception out does not delete it") {
    int alive = 0;
    Exception* out = nullptr;
    {
        Holder holder(new Tracked(alive));
        out = holder.release();
    }
    CHECK(alive == 1);
    delete out;
    CHECK(alive == 0);
}

TEST_CASE_FIXTURE(LibraryTest, "each option shows its parts of every call-stack line") {
    const unsigned line = __LINE__ + 1;
    const Holder exception(new Exception("here"));
    const Debug::CallStack& callStack = exception->getCallStack();
    REQUIRE(!callStack.empty());
    for (const unsigned option : {1u, 2u, 3u, 4u, 8u, 9u, 11u}) {
        CAPTURE(option);
        std::string expected = "Error: here\nCallStack:\n   ";
        for (const Debug::CallStackEntry& entry : callStack)
            expected += lineOf(entry, option) + "\n   ";
        CHECK(exception->composeText(static_cast<Exception::CallStackListingOption>(option)) == expected.c_str());
    }
    CHECK(callStack.front().mLine == line);
    CHECK(callStack.front().mFile.ends_with("tests/exceptions/exception_test.cpp"));
    CHECK(callStack.front().mModule.contains("tarq-tests"));
    CHECK(exception->composeText(Exception::CALLSTACK_NONE) == "Error: here");
}

TEST_CASE_FIXTURE(LibraryTest, "an exception keeps a copy of its message, made on the exception allocator") {
    String message("first");
    const Holder exception(new Exception(message));
    message.append(" and more");
    CHECK(exception->getMessage() == "first");
    CHECK(exception->getAllocator() == Library::getExceptionAlloc());
}
