#include "common/parser/xml/xmlnode.h"

#include "common/debug/assert.h"
#include "common/parser/xml/internal/numbertext.h"
#include "common/parser/xml/internal/xmlarena.h"
#include "common/string.h"

#include <algorithm>
#include <cstring>
#include <string_view>

namespace Tarq::Common::Parser::XML {

namespace {

using Traits = CharacterTraits<char>;

/// Whether the first characters of the text, as many as there are in `lowerCase`, are these, in either case.
bool beginsWith(const char* text, std::string_view lowerCase) noexcept {
    // The text's NUL differs from every character, so nothing behind it is looked at.
    return std::all_of(lowerCase.begin(), lowerCase.end(), [&text](char c) { return Traits::toLower(*text++) == c; });
}

bool isText(const char* text, const char* expected) noexcept {
    return std::strcmp(text, expected) == 0;
}

bool toBool(const char* text) noexcept {
    return isText(text, "1") || beginsWith(text, "true");
}

float toFloat32(const char* text) noexcept {
    return static_cast<float>(toNumber<double>(text));
}

uint32 toUInt32(const char* text) noexcept {
    return static_cast<uint32>(toNumber<int64>(text));
}

bool isNamed(const XMLNode* node, const char* name) noexcept {
    return node && name && isText(node->name, name);
}

template <class Value>
bool store(Value& value, const char* text, Value (*convert)(const char*) noexcept) noexcept {
    if (text)
        value = convert(text);
    return text != nullptr;
}

} // namespace

XMLNode::XMLNode(uint32 nodeType, XMLNode* parentNode, const char* nodeName, const Memory::AllocatorPtr& allocator)
    : type(nodeType), parent(parentNode), name(orEmpty(nodeName)), attributes(XMLArena::create(allocator, 0)) {}

/// Only a node that a caller made comes here, and it has an arena to itself.
XMLNode::~XMLNode() {
    XMLArena::destroy(attributes.mArena);
}

void XMLNode::addAttribute(const char* attributeName, const char* value) {
    attributes.set(orEmpty(attributeName), orEmpty(value));
}

const char* XMLNode::getAttributeString(const char* attributeName) const noexcept {
    const auto* const found = attributeName ? attributes.findEntry(attributeName) : nullptr;
    return found ? found->second : nullptr;
}

bool XMLNode::getAttributeInt32(int32& value, const char* attributeName) const noexcept {
    return store(value, getAttributeString(attributeName), toNumber<int32>);
}

bool XMLNode::getAttributeUInt32(uint32& value, const char* attributeName) const noexcept {
    return store(value, getAttributeString(attributeName), toUInt32);
}

bool XMLNode::getAttributeFloat32(float& value, const char* attributeName) const noexcept {
    return store(value, getAttributeString(attributeName), toFloat32);
}

bool XMLNode::getAttributeBool(bool& value, const char* attributeName) const noexcept {
    const char* const text = getAttributeString(attributeName);
    if (!text)
        return false;
    const bool isTrue = isText(text, "1") || (beginsWith(text, "true") && text[4] == '\0');
    if (!isTrue && !isText(text, "0") && !beginsWith(text, "false"))
        return false;
    value = isTrue;
    return true;
}

XMLNode* XMLNodeList::removeLast() noexcept {
    if (!mFirst)
        return nullptr;
    XMLNode* const last = mFirst->mPrevious;
    if (last == mFirst) {
        mFirst = nullptr;
    } else {
        last->mPrevious->mNext = nullptr;
        mFirst->mPrevious = last->mPrevious;
    }
    last->mPrevious = nullptr;
    --mSize;
    return last;
}

XMLNodeText::XMLNodeText(XMLNode* parentNode, const char* nodeName, const char* nodeText,
                         const Memory::AllocatorPtr& allocator)
    : XMLNode(XML_NODE_TEXT, parentNode, nodeName, allocator), text(orEmpty(nodeText)) {}

int32 XMLNodeText::getInt32() const noexcept {
    return toNumber<int32>(text);
}

int64 XMLNodeText::getInt64() const noexcept {
    return toNumber<int64>(text);
}

uint64 XMLNodeText::getUInt64() const noexcept {
    return toNumber<uint64>(text);
}

float XMLNodeText::getFloat32() const noexcept {
    return toFloat32(text);
}

double XMLNodeText::getFloat64() const noexcept {
    return toNumber<double>(text);
}

Math::Vec3f XMLNodeText::getVec3f() const noexcept {
    return toVector<Math::Vec3f>(text);
}

Math::Vec3i XMLNodeText::getVec3i32() const noexcept {
    return toVector<Math::Vec3i>(text);
}

Math::Vec3u XMLNodeText::getVec3u32() const noexcept {
    return toVector<Math::Vec3u>(text);
}

Math::Vec2f XMLNodeText::getVec2f() const noexcept {
    return toVector<Math::Vec2f>(text);
}

Math::Vec2i XMLNodeText::getVec2i32() const noexcept {
    return toVector<Math::Vec2i>(text);
}

Math::Vec2u XMLNodeText::getVec2u32() const noexcept {
    return toVector<Math::Vec2u>(text);
}

bool XMLNodeText::getBool() const noexcept {
    return toBool(text);
}

XMLNodeElements::XMLNodeElements(XMLNode* parentNode, const char* nodeName, const Memory::AllocatorPtr& allocator)
    : XMLNode(XML_NODE_ELEMENTS, parentNode, nodeName, allocator) {}

void XMLNodeElements::addElement(XMLNode* node) {
    if (!TARQ_ASSERT(node, "There is no node to add"))
        return;
    if (!TARQ_ASSERT(node != this, "The node '", name, "' cannot be its own child") ||
        !TARQ_ASSERT_AS("node is nobody's child", !XMLNodeList::isListed(*node), "The node '", node->name,
                        "' is a child already"))
        return;
    elements.append(*node);
    node->parent = this;
    type = XML_NODE_ELEMENTS;
}

XMLNode* XMLNodeElements::removeLastElement() noexcept {
    XMLNode* const last = elements.removeLast();
    if (!last)
        return nullptr;
    if (mCurrent == last)
        mCurrent = elements.back();
    last->parent = nullptr;
    return last;
}

XMLNode* XMLNodeElements::getNextNode(const char* nodeName) noexcept {
    return isNamed(nodeAtCursor(), nodeName) ? getNextNode() : nullptr;
}

XMLNode* XMLNodeElements::getNextNode() noexcept {
    XMLNode* const node = nodeAtCursor();
    if (node)
        mCurrent = node;
    return node;
}

XMLNodeElements* XMLNodeElements::getNextElements(const char* nodeName) noexcept {
    XMLNode* const node = getNextNode(nodeName);
    return node ? node->asElements() : nullptr;
}

bool XMLNodeElements::checkNextEmpty(const char* nodeName) const noexcept {
    const XMLNode* const node = nodeAtCursor();
    return isNamed(node, nodeName) && node->isEmpty();
}

const char* XMLNodeElements::getNextValue(const char* nodeName) noexcept {
    const XMLNode* const node = getNextNode(nodeName);
    if (!node || node->type == XML_NODE_ELEMENTS)
        return nullptr;
    return node->isEmpty() ? "" : node->asText()->text;
}

bool XMLNodeElements::getNextText(const char*& value, const char* nodeName) noexcept {
    const XMLNode* const node = getNextNode(nodeName);
    if (!node || (node->asElements() && !node->asElements()->elements.empty()))
        return false;
    value = node->asText() ? node->asText()->text : "";
    return true;
}

bool XMLNodeElements::getNextInt32(int32& value, const char* nodeName) noexcept {
    return store(value, getNextValue(nodeName), toNumber<int32>);
}

bool XMLNodeElements::getNextUInt32(uint32& value, const char* nodeName) noexcept {
    return store(value, getNextValue(nodeName), toUInt32);
}

bool XMLNodeElements::getNextInt64(int64& value, const char* nodeName) noexcept {
    return store(value, getNextValue(nodeName), toNumber<int64>);
}

bool XMLNodeElements::getNextUInt64(uint64& value, const char* nodeName) noexcept {
    return store(value, getNextValue(nodeName), toNumber<uint64>);
}

bool XMLNodeElements::getNextFloat32(float& value, const char* nodeName) noexcept {
    return store(value, getNextValue(nodeName), toFloat32);
}

bool XMLNodeElements::getNextFloat64(double& value, const char* nodeName) noexcept {
    return store(value, getNextValue(nodeName), toNumber<double>);
}

bool XMLNodeElements::getNextVec3f(Math::Vec3f& value, const char* nodeName) noexcept {
    return store(value, getNextValue(nodeName), toVector<Math::Vec3f>);
}

bool XMLNodeElements::getNextVec3i32(Math::Vec3i& value, const char* nodeName) noexcept {
    return store(value, getNextValue(nodeName), toVector<Math::Vec3i>);
}

bool XMLNodeElements::getNextVec3u32(Math::Vec3u& value, const char* nodeName) noexcept {
    return store(value, getNextValue(nodeName), toVector<Math::Vec3u>);
}

bool XMLNodeElements::getNextVec2f(Math::Vec2f& value, const char* nodeName) noexcept {
    return store(value, getNextValue(nodeName), toVector<Math::Vec2f>);
}

bool XMLNodeElements::getNextVec2i32(Math::Vec2i& value, const char* nodeName) noexcept {
    return store(value, getNextValue(nodeName), toVector<Math::Vec2i>);
}

bool XMLNodeElements::getNextVec2u32(Math::Vec2u& value, const char* nodeName) noexcept {
    return store(value, getNextValue(nodeName), toVector<Math::Vec2u>);
}

bool XMLNodeElements::getNextBool(bool& value, const char* nodeName) noexcept {
    return store(value, getNextValue(nodeName), toBool);
}

} // namespace Tarq::Common::Parser::XML
