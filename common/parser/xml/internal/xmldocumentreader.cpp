#include "common/parser/xml/internal/xmldocumentreader.h"

#include <utility>

namespace Tarq::Common::Parser::XML {

namespace {

constexpr std::string_view cIncludeTag = "<xi:include ";

constexpr int32 cEndTag = -3;
constexpr int32 cInvalidNode = -4;

constexpr const char* cNotRoot = "XMLParser: First tag must be a root node";
constexpr const char* cEndInName = "XMLParser: Reached end of buffer during name read";
constexpr const char* cBadNameStart = "name has invalid first char '";
constexpr const char* cMustBeIn = "' , must be in 'abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ_'";
constexpr const char* cInvalidCharacter = "XMLParser: Invalid character '";

} // namespace

XMLNodeElements* XMLDocumentReader::read(bool copyStrings) {
    char* at = findRoot();
    mCopies = copyStrings;
    mBuilder.startXMLTree(copyStrings);
    mArena = &mBuilder.arena(static_cast<std::size_t>(mEnd - mBegin));
    do
        at = readNode(at);
    while (mOpen);
    setPosition(at);
    mBuilder.mCurrent = mBuilder.mRoot = mBuilder.mOpen = mRoot;
    return mRoot;
}

char* XMLDocumentReader::findRoot() {
    char* at = find('<', mBegin);
    if (at == mEnd)
        failAtRoot(mBegin, cInvalidNode);
    while (*at == '<' && at + 1 != mEnd && (at[1] == '?' || at[1] == '!')) {
        char* const behind = skipMarkup(at);
        if (!behind)
            failAtRoot(at, cInvalidNode);
        at = skipToNode(behind);
    }
    requireRoot(at);
    return at;
}

void XMLDocumentReader::requireRoot(char* begin) {
    if (*begin != '<' || begin + 1 == mEnd)
        failAtRoot(begin, cInvalidNode);
    if (begin[1] == '/')
        failAtRoot(begin, cEndTag);
    if (isInclude(begin))
        fail(begin, cNotRoot);
    const StartTag tag{begin, getLines()};
    char* const greater = find('>', begin);
    if (greater == mEnd)
        failAtRoot(begin, cInvalidNode);
    const bool isRoot = classifyBy(greater, tag) == XML_NODE_ELEMENTS;
    setLines(tag.lines);
    if (!isRoot)
        fail(begin, cNotRoot);
}

inline char* XMLDocumentReader::readNode(char* begin) {
    if (*begin != '<' || begin + 1 == mEnd)
        failInvalidTag(begin);
    if (begin[1] == '/')
        return close(begin);
    if (!isOf(CHARACTER_NAME_START, begin[1]) || isInclude(begin)) [[unlikely]]
        return readOther(begin);
    return readElement(begin);
}

inline char* XMLDocumentReader::skipToNode(char* at) {
    return skipWhite(at, [this]() -> char* { failAtEnd(); });
}

inline char* XMLDocumentReader::readElement(char* begin) {
    StartTag tag{begin, getLines()};
    XMLAttributes attributes = readStartTag(tag);
    char* at = tag.end;
    if (!tag.isClassified) [[likely]] {
        if (tag.isClosed) {
            addElements(tag, std::move(attributes));
            return skipToNode(at);
        }
        at = skipWhite(at, [&]() -> char* { return lookBehind(tag.end - 1, tag); });
        tag.type = *at == '<' ? XML_NODE_ELEMENTS : XML_NODE_TEXT;
    }
    if (tag.type == XML_NODE_TEXT)
        return skipToNode(readText(tag, at, std::move(attributes)));
    XMLNodeElements* const node = addElements(tag, std::move(attributes));
    if (tag.type == XML_NODE_ELEMENTS) {
        mRoot = mOpen ? mRoot : node;
        mOpen = node;
    }
    return tag.isClassified ? skipToNode(at) : at;
}

inline XMLNodeElements* XMLDocumentReader::addElements(const StartTag& tag, XMLAttributes&& attributes) {
    const char* const name = keep(tag.name(), tag.nameEnd);
    return XMLNodeFactory::makeElements(*mArena, tag.type, mOpen, name, std::move(attributes), tag.nameLength());
}

/// What is in front of `at` is white space.
inline char* XMLDocumentReader::readText(const StartTag& tag, char* at, XMLAttributes&& attributes) {
    char* const textEnd = findTextEnd(at, [this]() -> char* { failAtEnd(); });
    at = readEndTag(textEnd, tag.name(), tag.nameLength());
    *textEnd = '\0';
    const char* const name = keep(tag.name(), tag.nameEnd);
    XMLNodeFactory::makeText(*mArena, mOpen, name, keep(tag.end, textEnd), std::move(attributes));
    return at;
}

inline char* XMLDocumentReader::close(char* begin) {
    char* const at = readEndTag(begin, mOpen->name, XMLNodeFactory::nameLengthOf(*mOpen));
    mOpen = static_cast<XMLNodeElements*>(mOpen->parent);
    return mOpen ? skipToNode(at) : at;
}

/// Comments, declarations, include elements, and what is nothing at all.
char* XMLDocumentReader::readOther(char* begin) {
    char* behind = nullptr;
    if (begin[1] == '?' || begin[1] == '!')
        behind = skipMarkup(begin);
    else if (isInclude(begin))
        behind = readInclude(begin);
    else
        failInTagAt({begin, getLines()}, begin + 1, cBadNameStart, cMustBeIn);
    if (!behind)
        failInvalidTag(begin);
    return skipToNode(behind);
}

char* XMLDocumentReader::readInclude(char* begin) {
    StartTag tag{begin, getLines()};
    tag.isClassified = true;
    const XMLAttributes attributes = readStartTag(tag);
    setPosition(tag.end);
    if (!mIncludes)
        fail(tag.end, "XMLParser: We have no FileSystem defined, but there is an xi:include tag in the current xml "
                      "definition");
    const auto parse = attributes.find("parse");
    if (parse != attributes.end() && std::string_view(parse->second) != "xml")
        fail(tag.end, "XMLParser: We support currently only xi:include tags with attribute parse=\"xml\" or no parse "
                      "attribute.");
    const auto href = attributes.find("href");
    if (href == attributes.end())
        fail(tag.end, "XMLParser: xi:include tag without href attribute found");
    mBuilder.mOpen = mOpen;
    mBuilder.addTree(mIncludes->readIncluded(href->second, *this));
    return tag.end;
}

inline char* XMLDocumentReader::readEndTag(char* begin, const char* name, uint32 nameLength) {
    static constexpr std::ptrdiff_t cShort = EightCharacters::cCount;
    if (nameLength <= cShort && mEnd - begin > 2 + cShort) [[likely]] {
        char* const at = begin + 2;
        if (begin[1] == '/' && at[nameLength] == '>' && EightCharacters(at).areSame(EightCharacters(name), nameLength))
            [[likely]]
            return at + nameLength + 1;
    }
    return readEndTagWithCare(begin, {name, nameLength});
}

char* XMLDocumentReader::readEndTagWithCare(char* begin, std::string_view name) {
    char* at = begin + 1;
    if (at == mEnd)
        failAtEnd();
    if (*at != '/')
        failAtCharacter(at, "XMLParser: Expected '/' but found '", "'");
    char* const nameBegin = ++at;
    if (at != mEnd && !isOf(CHARACTER_NAME_START, *at))
        failAtCharacter(at, cBadNameStart, cMustBeIn);
    at = skipName(at, [this]() -> char* { fail(mEnd, cEndInName); });
    const std::string_view found(nameBegin, static_cast<std::size_t>(at - nameBegin));
    at = skipToNode(at);
    if (*at != '>')
        failAtCharacter(at, cInvalidCharacter, "' in starttag.");
    if (found != name)
        fail(at + 1, "XMLParser: Name in starttag and endtag are not equal");
    return at + 1;
}

char* XMLDocumentReader::skipMarkup(char* begin) const noexcept {
    const std::string_view rest(begin, static_cast<std::size_t>(mEnd - begin));
    const bool isComment = rest.starts_with("<!--");
    if (!isComment && !rest.starts_with("<?"))
        return nullptr;
    const std::string_view closing = isComment ? "-->" : "?>";
    const std::size_t found = rest.find(closing, isComment ? 4 : 2);
    return found != std::string_view::npos ? begin + found + closing.size() : nullptr;
}

/// The first character of the name is known to be one.
inline XMLAttributes XMLDocumentReader::readStartTag(StartTag& tag) {
    char* at = tag.nameEnd = skipName(tag.name() + 1, [&]() -> char* { failInTag(tag, cEndInName); });
    if (isOf(cWhiteClasses, *at))
        return readAttributes(tag);
    tag.isClosed = *at == '/' && at + 1 != mEnd && at[1] == '>';
    if (*at != '>' && !tag.isClosed)
        failInTagAt(tag, at, cInvalidCharacter, "' in name.");
    tag.end = at + (tag.isClosed ? 2 : 1);
    *tag.nameEnd = '\0';
    return XMLNodeFactory::noAttributes(*mArena);
}

inline XMLAttributes XMLDocumentReader::readAttributes(StartTag& tag) {
    XMLAttributeCollector attributes(*mArena);
    char* at = skipInTag(tag, tag.nameEnd);
    while (isOf(CHARACTER_NAME_START, *at))
        at = skipInTag(tag, readAttribute(tag, at, attributes));
    if (*at == '/') {
        tag.isClosed = true;
        if (++at == mEnd)
            failInTag(tag, cEndOfBuffer);
        if (*at != '>')
            failInTagAt(tag, at, cInvalidCharacter, "' in starttag.");
    } else if (*at != '>') {
        failInTagAt(tag, at, cBadNameStart, cMustBeIn);
    }
    tag.end = at + 1;
    *tag.nameEnd = '\0';
    return attributes.finish(mCopies);
}

inline char* XMLDocumentReader::skipInTag(const StartTag& tag, char* at) {
    return skipWhite(at, [&]() -> char* { failInTag(tag, cEndOfBuffer); });
}

inline char* XMLDocumentReader::readAttribute(StartTag& tag, char* name, XMLAttributeCollector& attributes) {
    char* const nameEnd = skipName(name + 1, [&]() -> char* { failInTag(tag, cEndInName); });
    char* at = nameEnd;
    if (*at != '=') [[unlikely]]
        at = findSign('=', tag, at, "XMLParser: Expected assign operator '=' but found '", "'");
    if (++at == mEnd || *at != '"') [[unlikely]]
        at = findSign('"', tag, at, "XMLParser: Expected envelop char '\"' , found '", "'");
    char* const value = at + 1;
    char* const valueEnd = findValueEnd(tag, value);
    *nameEnd = '\0';
    *valueEnd = '\0';
    attributes.add(name, value);
    return valueEnd + 1;
}

/// What may have white space in front.
char* XMLDocumentReader::findSign(char sign, StartTag tag, char* at, const char* before, const char* after) {
    at = skipInTag(tag, at);
    if (*at != sign)
        failInTagAt(tag, at, before, after);
    return at;
}

inline char* XMLDocumentReader::findValueEnd(StartTag& tag, char* value) {
    char* at = findQuote(value, [&]() -> char* { failInTag(tag, cEndOfBuffer); });
    if (*at == '>') [[unlikely]] {
        if (!tag.isClassified)
            tag.type = classifyBy(at, tag);
        tag.isClassified = true;
        at = find('"', at);
        if (at == mEnd)
            failAtEnd();
    }
    return at;
}

inline bool XMLDocumentReader::isInclude(const char* begin) const noexcept {
    return begin[1] == cIncludeTag[1] &&
           std::string_view(begin, static_cast<std::size_t>(mEnd - begin)).starts_with(cIncludeTag);
}

inline const char* XMLDocumentReader::keep(char* text, char* end) {
    return mCopies ? mArena->copyText({text, static_cast<std::size_t>(end - text)}) : text;
}

} // namespace Tarq::Common::Parser::XML
