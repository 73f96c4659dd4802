#pragma once

#include "common/export.h"

namespace Tarq::Common::Parser::XML {

class XMLTreeBuilder;
struct XMLNodeElements;

/// What reads itself from an element of a tree and writes itself to one.
class TARQ_API XMLParsable {
public:
    XMLParsable() noexcept;
    XMLParsable(const XMLParsable& other) noexcept;
    XMLParsable& operator=(const XMLParsable& other) noexcept;
    virtual ~XMLParsable();

    /// `node` is the object's own element, which the object does not keep. `XMLTreeReader` helps to report what is
    /// missing in it.
    virtual void readFromXML(XMLNodeElements* node) = 0;
    /// Adds to the builder's innermost open element. Does nothing here.
    virtual void writeToXML(XMLTreeBuilder* builder);
};

} // namespace Tarq::Common::Parser::XML
