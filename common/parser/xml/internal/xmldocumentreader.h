#pragma once

#include "common/parser/xml/internal/xmlnodefactory.h"
#include "common/parser/xml/internal/xmlscanner.h"
#include "common/parser/xml/xmltreebuilder.h"

#include <string_view>

namespace Tarq::Common::Parser::XML {

/// Who reads the files that a document includes.
class XMLIncludeHandler {
public:
    /// Returns whose tree takes the place of the include element. The scanner's position is behind that element.
    virtual XMLTreeBuilder* readIncluded(const char* fileName, XMLScanner& scanner) = 0;

protected:
    ~XMLIncludeHandler() = default;
};

/// Reads one document from a buffer into a tree, once.
///
/// The grammar decides what an element is by what stands behind the first '>' after its '<', even if that is inside of
/// a value. Still, a tag is gone through only once: a first '>' inside of a value is noted on the way, and where there
/// is none, it is the one that ends the tag. Only a tag with an error is gone through again, because it is another
/// error when there is no '>' at all.
///
/// A zero is written behind a name, value or text when what it overwrites has been looked at.
class XMLDocumentReader final : public XMLScanner {
public:
    /// Without a handler, include elements are refused.
    XMLDocumentReader(char* buffer, uint32 size, XMLTreeBuilder& builder, XMLIncludeHandler* includes) noexcept
        : XMLScanner(buffer, size), mBuilder(builder), mIncludes(includes) {}

    /// Deletes the tree that the builder has, once the first tag is found to be a root. Throws `XMLParserException`,
    /// and what the include handler throws.
    XMLNodeElements* read(bool copyStrings);

private:
    struct StartTag {
        char* begin;               ///< its '<'
        Lines lines;               ///< in front of it
        bool isClassified = false; ///< whether `type` is known
        XMLNodeType type = XML_NODE_EMPTY;

        bool isClosed = false; ///< ends with "/>"
        char* nameEnd = nullptr;
        char* end = nullptr; ///< behind its own '>'

        char* name() const noexcept { return begin + 1; }
        uint32 nameLength() const noexcept { return static_cast<uint32>(nameEnd - name()); }
    };

    // The steps of the loop over the document are put into one function, whose values stay in registers.

    char* findRoot();
    void requireRoot(char* begin);

    // What reads a piece of the document takes the place where that begins. These return the first character behind it
    // that is no white space, and for the root the place behind it.

    [[gnu::always_inline]] char* readNode(char* begin);
    [[gnu::always_inline]] char* readElement(char* begin);
    char* readOther(char* begin);
    [[gnu::always_inline]] char* close(char* begin);

    // These return the place right behind it.

    [[gnu::always_inline]] char* readText(const StartTag& tag, char* at, XMLAttributes&& attributes);
    char* readInclude(char* begin);
    [[gnu::always_inline]] char* readAttribute(StartTag& tag, char* name, XMLAttributeCollector& attributes);
    [[gnu::always_inline]] char* readEndTag(char* begin, const char* name, uint32 nameLength);
    char* readEndTagWithCare(char* begin, std::string_view name);
    /// Null when it is neither a comment nor a declaration, or has no end.
    char* skipMarkup(char* begin) const noexcept;

    // These return what they look for.

    [[gnu::always_inline]] char* findValueEnd(StartTag& tag, char* value);
    char* findSign(char sign, StartTag tag, char* at, const char* before, const char* after);
    [[gnu::always_inline]] char* skipToNode(char* at);
    [[gnu::always_inline]] char* skipInTag(const StartTag& tag, char* at);
    [[gnu::always_inline]] XMLAttributes readStartTag(StartTag& tag);
    [[gnu::always_inline]] XMLAttributes readAttributes(StartTag& tag);
    [[gnu::always_inline]] XMLNodeElements* addElements(const StartTag& tag, XMLAttributes&& attributes);
    [[gnu::always_inline]] const char* keep(char* text, char* end);

    /// There is a character behind `begin`.
    [[gnu::always_inline]] bool isInclude(const char* begin) const noexcept;
    XMLNodeType classifyBy(char* greater, StartTag tag);
    char* lookBehind(char* greater, StartTag tag);

    [[noreturn]] void failAtRoot(const char* at, int32 nodeType);
    /// Of what is wrong with a tag, that which hinders its classification is told before anything else.
    void requireClassification(StartTag tag);
    [[noreturn]] void failInTag(StartTag tag, const char* message);
    [[noreturn]] void failInTagAt(StartTag tag, const char* at, const char* before, const char* after);

    XMLTreeBuilder& mBuilder;
    XMLIncludeHandler* mIncludes;
    XMLArena* mArena = nullptr;
    XMLNodeElements* mOpen = nullptr; ///< the innermost element whose end tag is still to come
    XMLNodeElements* mRoot = nullptr;
    bool mCopies = false;
};

} // namespace Tarq::Common::Parser::XML
