#include "common/parser/xml/xmlparserexception.h"

namespace Tarq::Common::Parser::XML {

XMLParserException::~XMLParserException() = default;

String XMLParserException::getExceptionName() const {
    return "XMLParserException";
}

} // namespace Tarq::Common::Parser::XML
