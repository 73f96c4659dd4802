#pragma once

#include "common/io/stream.h"
#include "common/memory/memorymanaged.h"
#include "common/parser/xml/xmlnode.h"

namespace Tarq::Common::Parser::XML {

/// Writes trees as text: a line for each tag, with a tab for each level, and a text on the line of its tags.
///
/// Names, values and texts are written as they are: those that an `XMLParser` has read come out as they went in. Only
/// `<xi:include` with a line break or a tab behind it, which includes nothing, gets the space with which it does.
/// Comments, declarations, values that a repeated attribute had before, and the order of attributes are not in a tree.
///
/// A tree that was built may come back as another one, or not at all: "<" in a text, ">" or a double quote in a value,
/// names that are none, and a root without children make a document that cannot be read, or is read as something else;
/// blanks at the start of a text are kept, but a text that is empty or nothing but blanks becomes an element without
/// children.
///
/// Threads: any, each with a stream and a tree of its own. What the stream throws passes on; a part is written then.
class TARQ_API XMLWriter : public Memory::MemoryManaged {
public:
    /// Deeper levels than this are indented like this one.
    static constexpr uint32 cMostTabs = 1024;

    ~XMLWriter() override;

    /// Writes the declaration that stands in front of a document: version 1.0, UTF-8.
    virtual void writeHeader(IO::Stream* stream);
    /// Writes the node and all that is in it. Throws `ArgumentNullException` when there is no node.
    virtual void writeTree(IO::Stream* stream, XMLNode* node);
};

} // namespace Tarq::Common::Parser::XML
