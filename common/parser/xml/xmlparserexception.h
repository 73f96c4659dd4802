#pragma once

#include "common/parser/parserexception.h"

namespace Tarq::Common::Parser::XML {

/// A text is not the XML that the parser reads. Parameters: "Line" and "Row".
class TARQ_API XMLParserException : public ParserException {
public:
    using ParserException::ParserException;
    ~XMLParserException() override;
    String getExceptionName() const override;
};

} // namespace Tarq::Common::Parser::XML
