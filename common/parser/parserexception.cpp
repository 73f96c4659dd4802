#include "common/parser/parserexception.h"

namespace Tarq::Common::Parser {

ParserException::ParserException(const String& message, uint32 line, uint32 row)
    : Exception(message), mLine(line), mRow(row) {}

ParserException::~ParserException() = default;

void ParserException::getExceptionParameter(Exceptions::ParameterList& parameters) const {
    parameters.push_back({"Line", String().appendDecimal(mLine)});
    parameters.push_back({"Row", String().appendDecimal(mRow)});
}

} // namespace Tarq::Common::Parser
