#pragma once

#include "common/exceptions/exception.h"

namespace Tarq::Common::Parser {

/// A text does not follow its grammar. Not raised by itself. Parameters: "Line" and "Row", in decimal.
class TARQ_API ParserException : public Exceptions::Exception {
public:
    ParserException(const String& message, uint32 line, uint32 row);
    ~ParserException() override;

    uint32 getLine() const noexcept { return mLine; }
    uint32 getRow() const noexcept { return mRow; }

protected:
    void getExceptionParameter(Exceptions::ParameterList& parameters) const override;

private:
    uint32 mLine;
    uint32 mRow;
};

} // namespace Tarq::Common::Parser
