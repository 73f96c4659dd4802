#include "common/parser/xml/internal/xmlscanner.h"

#include "common/parser/xml/xmlparserexception.h"

#include <cstddef>
#include <cstring>

namespace Tarq::Common::Parser::XML {

char* XMLScanner::find(char wanted, char* at) const noexcept {
    void* const found = at != mEnd ? std::memchr(at, wanted, static_cast<std::size_t>(mEnd - at)) : nullptr;
    return found ? static_cast<char*>(found) : mEnd;
}

char* XMLScanner::skipWhite(char* at) noexcept {
    for (; at != mEnd && isOf(cWhiteClasses, *at); ++at) {
        if (*at == '\n')
            countLine(at);
    }
    return at;
}

void XMLScanner::fail(const char* at, const String& message) {
    mPosition = at;
    throw new XMLParserException(message, getLine(), getRow());
}

void XMLScanner::failAtCharacter(const char* at, String::Text before, String::Text after) {
    fail(at, String(before) + *at + after);
}

void XMLScanner::failInvalidTag(const char* at) {
    fail(at, "XMLParser: Invalid tag found.");
}

} // namespace Tarq::Common::Parser::XML
