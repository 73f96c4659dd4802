#pragma once

#include "common/parser/parserexception.h"

namespace Tarq::Common::Parser::VRML2 {

/// A text is not the VRML 2.0 that the parser reads. Parameters: "Line" and "Row".
class TARQ_API VRML2ParserException : public ParserException {
public:
    using ParserException::ParserException;
    ~VRML2ParserException() override;
    String getExceptionName() const override;
};

} // namespace Tarq::Common::Parser::VRML2
