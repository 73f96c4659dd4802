#include "common/parser/xml/xmltreebuilder.h"

#include "common/debug/assert.h"
#include "common/parser/xml/internal/xmlarena.h"
#include "common/parser/xml/internal/xmlnodefactory.h"

#include <charconv>
#include <concepts>
#include <cstring>
#include <memory>
#include <new>

namespace Tarq::Common::Parser::XML {

namespace {

/// "%d", "%u" and "%g".
template <class Number>
char* append(char* at, char* end, Number number) noexcept {
    if constexpr (std::floating_point<Number>)
        return std::to_chars(at, end, number, std::chars_format::general, 6).ptr;
    else
        return std::to_chars(at, end, number).ptr;
}

} // namespace

XMLTreeBuilder::XMLTreeBuilder() noexcept = default;

XMLTreeBuilder::~XMLTreeBuilder() {
    XMLTreeBuilder::deleteXMLTree();
}

void XMLTreeBuilder::startXMLTree(const char* rootName, bool copyStrings) {
    std::unique_ptr<XMLArena, decltype(&XMLArena::destroy)> owner(XMLArena::create(getAllocator(), 0),
                                                                  &XMLArena::destroy);
    XMLArena& next = *owner;
    const char* const name = copyStrings ? next.copyText(orEmpty(rootName)) : orEmpty(rootName);
    XMLNodeElements* const root =
        XMLNodeFactory::makeElements(next, XML_NODE_ELEMENTS, nullptr, name, XMLNodeFactory::noAttributes(next));
    startXMLTree(copyStrings);
    mArena = owner.release();
    mCurrent = mRoot = mOpen = root;
}

void XMLTreeBuilder::startXMLTree(bool copyStrings) {
    deleteXMLTree();
    mCopyStrings = copyStrings;
}

void XMLTreeBuilder::deleteXMLTree() noexcept {
    XMLArena::destroy(mArena);
    forgetTree();
}

void XMLTreeBuilder::forgetTree() noexcept {
    mArena = nullptr;
    mRoot = mOpen = nullptr;
    mOuter = nullptr;
    mCurrent = nullptr;
}

XMLArena& XMLTreeBuilder::arena(std::size_t expectedBytes) {
    if (!mArena)
        mArena = XMLArena::create(getAllocator(), expectedBytes);
    return *mArena;
}

const char* XMLTreeBuilder::keep(const char* text) {
    return mCopyStrings ? arena().copyText(orEmpty(text)) : orEmpty(text);
}

bool XMLTreeBuilder::requireOpen() const {
    return TARQ_ASSERT_AS("an element is open", mOpen, "There is no open element");
}

bool XMLTreeBuilder::requireCurrent() const {
    return TARQ_ASSERT_AS("there is a current node", mCurrent, "There is no current node");
}

bool XMLTreeBuilder::requireCopies() const {
    return TARQ_ASSERT_AS("copyStrings", mCopyStrings, "Used without copyStrings enabled !");
}

template <class Number>
const char* XMLTreeBuilder::format(std::initializer_list<Number> numbers) {
    if (!requireCopies())
        return nullptr;
    char* at = mNumber;
    for (const Number number : numbers) {
        if (at != mNumber)
            *at++ = '/';
        at = append(at, mNumber + cNumberSize - 1, number);
    }
    *at = '\0';
    return mNumber;
}

const char* XMLTreeBuilder::formatFixed(float number) {
    if (!requireCopies())
        return nullptr;
    *std::to_chars(mNumber, mNumber + cNumberSize - 1, number, std::chars_format::fixed, 6).ptr = '\0';
    return mNumber;
}

void XMLTreeBuilder::addAttribText(const char* name, const char* value) {
    if (!requireCurrent())
        return;
    if (mCopyStrings)
        mCurrent->attributes.setCopy(orEmpty(name), orEmpty(value));
    else
        mCurrent->addAttribute(name, value);
}

void XMLTreeBuilder::addAttribFormatted(const char* name, const char* value) {
    if (value)
        addAttribText(name, value);
}

void XMLTreeBuilder::addAttribInt32(const char* name, int32 value) {
    addAttribFormatted(name, format({value}));
}

void XMLTreeBuilder::addAttribUInt32(const char* name, uint32 value) {
    addAttribFormatted(name, format({value}));
}

void XMLTreeBuilder::addAttribBool(const char* name, bool value) {
    addAttribFormatted(name, format({static_cast<int32>(value)}));
}

void XMLTreeBuilder::addAttribFloat32(const char* name, float value) {
    addAttribFormatted(name, formatFixed(value));
}

void XMLTreeBuilder::addElemText(const char* name, const char* text) {
    const char* const keptName = keep(name);
    const char* const keptText = keep(text);
    mCurrent = XMLNodeFactory::makeText(arena(), mOpen, keptName, keptText, XMLNodeFactory::noAttributes(arena()));
}

void XMLTreeBuilder::addElemFormatted(const char* name, const char* text) {
    if (text)
        addElemText(name, text);
}

void XMLTreeBuilder::addElemBool(const char* name, bool value) {
    if (requireCopies())
        addElemText(name, value ? "true" : "false");
}

void XMLTreeBuilder::addElemInt32(const char* name, int32 value) {
    addElemFormatted(name, format({value}));
}

void XMLTreeBuilder::addElemUInt32(const char* name, uint32 value) {
    addElemFormatted(name, format({value}));
}

void XMLTreeBuilder::addElemInt64(const char* name, int64 value) {
    addElemFormatted(name, format({value}));
}

void XMLTreeBuilder::addElemUInt64(const char* name, uint64 value) {
    addElemFormatted(name, format({value}));
}

void XMLTreeBuilder::addElemFloat32(const char* name, float value) {
    addElemFormatted(name, format({value}));
}

void XMLTreeBuilder::addElemFloat64(const char* name, double value) {
    addElemFormatted(name, format({value}));
}

void XMLTreeBuilder::addElemVec3f(const char* name, const Math::Vec3f& value) {
    addElemFormatted(name, format({value.mX, value.mY, value.mZ}));
}

void XMLTreeBuilder::addElemVec3u32(const char* name, const Math::Vec3u& value) {
    addElemFormatted(name, format({value.mX, value.mY, value.mZ}));
}

void XMLTreeBuilder::addElemVec3i32(const char* name, const Math::Vec3i& value) {
    addElemFormatted(name, format({value.mX, value.mY, value.mZ}));
}

void XMLTreeBuilder::addElemVec2f(const char* name, const Math::Vec2f& value) {
    addElemFormatted(name, format({value.mX, value.mY}));
}

void XMLTreeBuilder::addElemVec2u32(const char* name, const Math::Vec2u& value) {
    addElemFormatted(name, format({value.mX, value.mY}));
}

void XMLTreeBuilder::addElemVec2i32(const char* name, const Math::Vec2i& value) {
    addElemFormatted(name, format({value.mX, value.mY}));
}

void XMLTreeBuilder::addElemEmpty(const char* name) {
    const char* const keptName = keep(name);
    mCurrent =
        XMLNodeFactory::makeElements(arena(), XML_NODE_EMPTY, mOpen, keptName, XMLNodeFactory::noAttributes(arena()));
}

void XMLTreeBuilder::enterSubTree(const char* name) {
    const char* const keptName = keep(name);
    OpenElement* const outer =
        mOpen ? ::new (arena().allocate(sizeof(OpenElement))) OpenElement{mOpen, mOuter} : nullptr;
    XMLNodeElements* const node = XMLNodeFactory::makeElements(arena(), XML_NODE_ELEMENTS, mOpen, keptName,
                                                               XMLNodeFactory::noAttributes(arena()));
    if (!mOpen)
        mRoot = node;
    mOuter = outer;
    mCurrent = mOpen = node;
}

bool XMLTreeBuilder::exitSubTree(const char* name) {
    if (!requireOpen() || (name && std::strcmp(name, mOpen->name) != 0))
        return false;
    mOpen->initSearch();
    if (mOpen == mRoot)
        return false;
    mOpen = mOuter->node;
    mOuter = mOuter->outer;
    return true;
}

void XMLTreeBuilder::addTree(XMLTreeBuilder* tree) {
    if (!TARQ_ASSERT_AS("tree", tree, "Tree cannot be a NULL pointer") ||
        !TARQ_ASSERT_AS("tree->mAllocator == mAllocator", tree->getAllocator() == getAllocator(),
                        "We cannot add a tree with a different allocator") ||
        !TARQ_ASSERT_AS("tree->copyStrings == copyStrings", tree->mCopyStrings == mCopyStrings,
                        "We cannot add a tree with a different copyStrings flag") ||
        !TARQ_ASSERT_AS("tree != this", tree != this, "We cannot add a tree to itself") || !requireOpen())
        return;
    if (!tree->mRoot)
        return;
    mOpen->addElement(tree->mRoot);
    mCurrent = tree->mRoot;
    arena().adopt(tree->mArena);
    tree->forgetTree();
}

void XMLTreeBuilder::addNode(uint32 type) {
    switch (type) {
    case XML_NODE_EMPTY:
        return addElemEmpty("");
    case XML_NODE_TEXT:
        return addElemText("", "");
    case XML_NODE_ELEMENTS:
        return enterSubTree("");
    default:
        TARQ_FAIL("Unknown node type: ", type);
    }
}

void XMLTreeBuilder::setNodeName(const char* name) {
    if (requireCurrent())
        mCurrent->name = keep(name);
}

void XMLTreeBuilder::setNodeText(const char* text) {
    if (!requireCurrent())
        return;
    if (mCurrent->type == XML_NODE_TEXT)
        mCurrent->asText()->text = keep(text);
    else
        TARQ_FAIL("Cannot set text for node of type : ", mCurrent->type);
}

void XMLTreeBuilder::removeLastNode() {
    if (!requireOpen())
        return;
    mOpen->removeLastElement();
    mCurrent = mOpen->getLastElement() ? mOpen->getLastElement() : mOpen;
}

} // namespace Tarq::Common::Parser::XML
