#pragma once

#include "common/export.h"
#include "common/io/stream.h"
#include "common/parser/formula/mathvalue.h"

#include <memory>

namespace Tarq::Common::Debugger {

class DebuggerVariableResolver;

/// Makes the formula of an XML document, from the stream's position on; its root element is the expression. Null when
/// it is no formula: a document that is malformed or too deep, an unknown variable, a kind of expression that
/// conditions do not have; `error` says why then. Nothing is thrown but `OutOfMemoryException`.
TARQ_API std::unique_ptr<Parser::Formula::MathValue> parseCondition(IO::Stream& stream,
                                                                    DebuggerVariableResolver& resolver,
                                                                    const Memory::AllocatorPtr& allocator,
                                                                    String& error);

} // namespace Tarq::Common::Debugger
