#include "common/parser/vrml2/vrml2parserexception.h"

namespace Tarq::Common::Parser::VRML2 {

VRML2ParserException::~VRML2ParserException() = default;

String VRML2ParserException::getExceptionName() const {
    return "VRML2ParserException";
}

} // namespace Tarq::Common::Parser::VRML2
