#include "common/debugger/condition/conditionparser.h"

#include "common/debugger/condition/debuggervariableresolver.h"
#include "common/memory/allocate.h"
#include "common/memory/memoryexception.h"
#include "common/parser/parserexception.h"
#include "common/parser/xml/xmlparser.h"
#include "common/platform/thread.h"

#include <exception>
#include <new>

namespace Tarq::Common::Debugger {

namespace {

using Parser::Formula::Expression;
using Parser::Formula::MathValue;

/// What is left in the stream. It comes in pieces: what a stream of the host says of its length may be wrong.
/// False when there is more than anybody has a use for.
bool readRest(IO::Stream& stream, Container::Vector<char>& text) {
    constexpr uint32 cPiece = 4096;
    constexpr uint32 cLongest = 64u << 20;
    for (uint32 size = 0; size <= cLongest;) {
        text.resize(size + cPiece);
        const uint64 count = stream.read(text.data() + size, cPiece);
        size += static_cast<uint32>(count);
        text.resize(size);
        if (count == 0)
            return true;
    }
    return false;
}

std::unique_ptr<MathValue> parseDocument(IO::Stream& stream, DebuggerVariableResolver& resolver,
                                         const Memory::AllocatorPtr& allocator, String& error) {
    Container::Vector<char> text(allocator);
    if (!readRest(stream, text)) {
        error = "the document is too long";
        return nullptr;
    }
    Parser::XML::XMLParser parser;
    Expression::ErrorMsg refusal;
    std::unique_ptr<MathValue> expression(
        Expression::parse(parser.parseBuffer(text.data(), text.size(), false), &resolver, nullptr, allocator, refusal));
    if (!expression)
        error = refusal.existsError() ? refusal.getText() : "the expression is not complete, or of an unknown kind";
    return expression;
}

} // namespace

std::unique_ptr<MathValue> parseCondition(IO::Stream& stream, DebuggerVariableResolver& resolver,
                                          const Memory::AllocatorPtr& allocator, String& error) {
    error.clear();
    try {
        return parseDocument(stream, resolver, allocator, error);
    } catch (Memory::OutOfMemoryException*) {
        throw;
    } catch (Parser::ParserException* exception) {
        const Exceptions::Holder holder(exception);
        error = exception->getMessage() + " (line ";
        error.appendDecimal(exception->getLine()).append(", row ").appendDecimal(exception->getRow()).append(")");
    } catch (Exceptions::Exception* exception) {
        const Exceptions::Holder holder(exception);
        error = exception->getMessage();
    } catch (const std::bad_alloc&) {
        Memory::throwOutOfMemory();
    } catch (const std::exception& exception) {
        error = exception.what();
    } catch (...) {
        Platform::resumeThreadEnd();
        error = "the document cannot be read";
    }
    return nullptr;
}

} // namespace Tarq::Common::Debugger
