#include "common/parser/xml/internal/xmldocumentreader.h"

// What looks ahead in a document, which is rare, and what tells errors in the order in which they count.

namespace Tarq::Common::Parser::XML {

XMLNodeType XMLDocumentReader::classifyBy(char* greater, StartTag tag) {
    if (greater[-1] == '/')
        return XML_NODE_EMPTY;
    return *lookBehind(greater, tag) == '<' ? XML_NODE_ELEMENTS : XML_NODE_TEXT;
}

/// The first character behind a '>' that is no white space. When there is none, what was passed inside of the tag does
/// not count.
char* XMLDocumentReader::lookBehind(char* greater, StartTag tag) {
    char* const behind = skipWhite(greater + 1);
    if (behind == mEnd) {
        setLines(tag.lines);
        skipWhite(greater + 1);
        failAtEnd();
    }
    return behind;
}

void XMLDocumentReader::failAtRoot(const char* at, int32 nodeType) {
    fail(at, String("XMLParser: Invalid XML format. Found nodetype : ").appendDecimal(nodeType));
}

void XMLDocumentReader::requireClassification(StartTag tag) {
    if (tag.isClassified)
        return;
    const Lines lines = getLines();
    char* const greater = find('>', tag.begin);
    if (greater == mEnd) {
        setLines(tag.lines);
        failInvalidTag(tag.begin);
    }
    if (greater[-1] != '/')
        lookBehind(greater, tag);
    setLines(lines);
}

void XMLDocumentReader::failInTag(StartTag tag, const char* message) {
    requireClassification(tag);
    fail(mEnd, message);
}

void XMLDocumentReader::failInTagAt(StartTag tag, const char* at, const char* before, const char* after) {
    requireClassification(tag);
    failAtCharacter(at, before, after);
}

} // namespace Tarq::Common::Parser::XML
