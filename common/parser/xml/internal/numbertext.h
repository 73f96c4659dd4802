#pragma once

#include "common/types.h"
#include "common/utility/internal/numberscanner.h"

/// Numbers as a document's texts hold them: what the scanning functions of the C library read in its "C" locale.
namespace Tarq::Common::Parser::XML {

/// 0 where the text does not begin with a number.
template <class Number>
Number toNumber(const char* text) noexcept {
    Number number{};
    NumberScanner(text).read(number, NumberScanner::NOTATION_DECIMAL);
    return number;
}

/// Components with a slash between them; from the first that is missing on, they are 0.
template <class Vec>
Vec toVector(const char* text) noexcept {
    NumberScanner scanner(text);
    Vec vector;
    for (uint32 index = 0; index < Vec::cComponents; ++index) {
        if ((index != 0 && !scanner.skip('/')) || !scanner.read(vector[index], NumberScanner::NOTATION_DECIMAL))
            break;
    }
    return vector;
}

} // namespace Tarq::Common::Parser::XML
