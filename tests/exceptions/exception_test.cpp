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

#include <algorithm>

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

TEST_CASE_FIXTURE(BareTest, "exceptions can be made, shown and deleted while the library is down") {
    const Holder exception(new FileNotFoundException("down", "file", "/file"));
    exception->setInnerException(new OutOfMemoryException);
    CHECK(
        exception->composeText(Exception::CALLSTACK_ALL)
            .starts_with("Error: down\nInner Exceptions:\n   OutOfMemoryException\nParameters:\n   Filename: file\n   "
                         "FullFilename: /file\nCallStack:\n   "));
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
        outer->setInnerException(nullptr);
        auto* const first = new Tracked(firstAlive);
        outer->setInnerException(first);
        outer->setInnerException(first);
        CHECK(outer->getInnerException() == first);
        CHECK(firstAlive == 1);
        outer->setInnerException(new Tracked(secondAlive));
        CHECK(firstAlive == 0);

        Holder released(outer->releaseInnerException());
        CHECK(outer->getInnerException() == nullptr);
        CHECK(secondAlive == 1);
        outer->setInnerException(new Tracked(firstAlive));
        outer->getInnerException()->setInnerException(released.release());
    }
    CHECK(firstAlive == 0);
    CHECK(secondAlive == 0);
}

TEST_CASE_FIXTURE(LibraryTest, "an exception in the middle may be taken out, and none gets inside itself") {
    int middleAlive = 0;
    int innerAlive = 0;
    const Holder outer(new Exception("outer"));
    outer->setInnerException(new Tracked(middleAlive));
    outer->getInnerException()->setInnerException(new Tracked(innerAlive));
    outer->setInnerException(outer->getInnerException()->getInnerException());
    CHECK(middleAlive == 0);
    CHECK(innerAlive == 1);

    const ExpectedAssertion expected("!isAround\nError Message: An exception cannot be inside itself",
                                     "common/exceptions/exception", 2);
    outer->setInnerException(&*outer);
    outer->getInnerException()->setInnerException(&*outer);
    CHECK(outer->getInnerException()->getInnerException() == nullptr);
}

TEST_CASE_FIXTURE(LibraryTest, "each option shows its parts of every call-stack line") {
    const Holder exception(new Exception("here"));
    const Debug::CallStackEntry& first = exception->getCallStack().front();
    const std::string source = std::string(first.mFile.c_str()) + " (" + std::to_string(first.mLine) + ")";
    const std::string function = first.mFunction.c_str();
    const struct {
        unsigned option;
        std::string firstLine;
    } cases[] = {
        {1, function},
        {2, source},
        {3, source + ": " + function},
        {4, ""},
        {8, "tarq-tests"},
        {9, "tarq-tests: " + function},
        {11, "tarq-tests, " + source + ": " + function},
    };
    for (const auto& each : cases) {
        CAPTURE(each.option);
        const String text = exception->composeText(static_cast<Exception::CallStackListingOption>(each.option));
        CHECK(text.starts_with(("Error: here\nCallStack:\n   " + each.firstLine + "\n   ").c_str()));
        CHECK(std::ranges::count(text, '\n') == exception->getCallStack().size() + 2);
    }
    CHECK(exception->composeText(Exception::CALLSTACK_NONE) == "Error: here");
    CHECK(exception->getAllocator() == Library::getExceptionAlloc());
}
