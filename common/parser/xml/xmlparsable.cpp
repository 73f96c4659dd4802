#include "common/parser/xml/xmlparsable.h"

namespace Tarq::Common::Parser::XML {

XMLParsable::XMLParsable() noexcept = default;
XMLParsable::XMLParsable(const XMLParsable& other) noexcept = default;
XMLParsable& XMLParsable::operator=(const XMLParsable&) noexcept = default;
XMLParsable::~XMLParsable() = default;

void XMLParsable::writeToXML(XMLTreeBuilder*) {}

} // namespace Tarq::Common::Parser::XML
