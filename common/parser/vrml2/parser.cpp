#include "common/parser/vrml2/parser.h"

#include "common/debug/assert.h"
#include "common/exceptions/argumentexception.h"
#include "common/math/vec2.h"
#include "common/parser/internal/fullname.h"
#include "common/parser/vrml2/appearancenode.h"
#include "common/parser/vrml2/boxnode.h"
#include "common/parser/vrml2/coordinateprop.h"
#include "common/parser/vrml2/groupnode.h"
#include "common/parser/vrml2/indexedfacesetnode.h"
#include "common/parser/vrml2/inlinenode.h"
#include "common/parser/vrml2/nodeparser.h"
#include "common/parser/vrml2/shapenode.h"
#include "common/parser/vrml2/switchnode.h"
#include "common/parser/vrml2/transformnode.h"

#include <algorithm>
#include <memory>
#include <utility>

namespace Tarq::Common::Parser::VRML2 {

namespace {

constexpr std::string_view cHeader = "#VRML V2.0 utf8";

template <class Value>
Value& valueOf(const Member& member) {
    return *static_cast<Value*>(member.member);
}

/// A field that comes twice keeps the last value.
template <class List>
List& emptied(const Member& member) {
    valueOf<List>(member).clear();
    return valueOf<List>(member);
}

} // namespace

/// Lets go of what belongs to one file, whatever ends the scope.
class Parser::Parsing {
public:
    Parsing(Parser& parser, IO::FileSystem* fileSystem) noexcept : mParser(parser) {
        parser.mFileSystem = fileSystem;
        parser.mDeepest = parser.mDepth;
        parser.mFileName.clear();
        parser.mInlineFiles = 0;
    }
    ~Parsing() {
        mParser.mDefinedNodes.clear();
        mParser.mInlineFailure = nullptr;
        mParser.endReading();
        mParser.mStream.reset();
        mParser.mFileSystem = nullptr;
    }
    Parsing(const Parsing&) = delete;
    Parsing& operator=(const Parsing&) = delete;

private:
    Parser& mParser;
};

Parser::Parser()
    : TokenReader(getAllocator()), mRegisteredNodes(getAllocator()), mRegisteredGeometryNodes(getAllocator()),
      mRegisteredProperties(getAllocator()), mDefinedNodes(getAllocator()) {
    const Memory::AllocatorPtr& allocator = getAllocator();
    registerSceneNode(new (allocator) AppearanceNode);
    registerSceneNode(new (allocator) GroupNode);
    registerSceneNode(new (allocator) InlineNode);
    registerSceneNode(new (allocator) ShapeNode);
    registerSceneNode(new (allocator) SwitchNode);
    registerSceneNode(new (allocator) TransformNode);
    registerNode<GeometryNode>(mRegisteredGeometryNodes, new (allocator) BoxNode);
    registerNode<GeometryNode>(mRegisteredGeometryNodes, new (allocator) IndexedFaceSetNode);
    registerNode<GeometricProperty>(mRegisteredProperties, new (allocator) CoordinateProp);
}

Parser::Parser(Parser* includer)
    : TokenReader(getAllocator()), mRegisteredNodes(includer->mRegisteredNodes),
      mRegisteredGeometryNodes(includer->mRegisteredGeometryNodes),
      mRegisteredProperties(includer->mRegisteredProperties), mDefinedNodes(getAllocator()),
      mSkipUnknownNodes(includer->mSkipUnknownNodes), mDepth(includer->mDepth + 1),
      mInlineDepth(includer->mInlineDepth + 1), mIncluder(includer), mOutermost(includer->mOutermost) {}

Parser::~Parser() = default;

void Parser::registerSceneNode(SceneNode* prototype) {
    registerNode(mRegisteredNodes, prototype);
}

template <class T>
void Parser::registerNode(NodeRegistry<T>& registeredNodes, T* prototype) {
    const NodePtr<T> owned(prototype);
    const char* const nodeName = prototype ? prototype->getNodeName() : nullptr;
    if (!TARQ_ASSERT(nodeName, "NULL-Pointer node name is not allowed"))
        return;
    const bool isNew = registeredNodes.try_emplace(String(nodeName), owned).second;
    TARQ_ASSERT_AS("!mRegisteredNodes.exists(nodeName)", isNew,
                   "There is already a node registered with name:", nodeName);
}

template <>
const Parser::NodeRegistry<SceneNode>& Parser::registeredNodes() const noexcept {
    return mRegisteredNodes;
}

template <>
const Parser::NodeRegistry<GeometryNode>& Parser::registeredNodes() const noexcept {
    return mRegisteredGeometryNodes;
}

template <>
const Parser::NodeRegistry<GeometricProperty>& Parser::registeredNodes() const noexcept {
    return mRegisteredProperties;
}

SceneNode* Parser::parse(const String& fileName, IO::FileSystem* fileSystem) {
    if (!fileSystem)
        throw new Exceptions::ArgumentNullException("VRML2::Parser: file system pointer cannot be NULL", "fSystem");
    String name(fileName); // which may be that of the parse before
    const Parsing parsing(*this, fileSystem);
    try {
        return parseFile(std::move(name));
    } catch (...) {
        // A node may have caught what went wrong in an inline file, before this.
        if (mInlineFailure && mInlineFailure == std::current_exception())
            mFileName.swap(mInlineFailureFileName);
        throw;
    }
}

SceneNode* Parser::parseFile(String fileName) {
    open(std::move(fileName));
    checkHeader();
    std::unique_ptr<GroupNode> root(new (getAllocator()) GroupNode);
    NodeParser<SceneNode> nodes(*this);
    while (skipToToken()) {
        if (const SceneNodePtr node = nodes.parseNode())
            root->addChild(node);
    }
    return root.release();
}

void Parser::open(String fileName) {
    mStream = mFileSystem->openFile(fileName);
    mFullName = getFullName(fileName, *mFileSystem);
    mDirectory = mFileSystem->getDirectoryName(fileName);
    mFileName = std::move(fileName);
    beginReading(*mStream);
}

void Parser::checkHeader() {
    for (const char character : cHeader) {
        if (readNextChar() != character)
            fail("VRML2::Parser: Wrong header in VRML2 file.");
    }
    skipLine();
}

SceneNodePtr Parser::parseInlineFile(const String& url) {
    if (!TARQ_ASSERT(mFileSystem, "inline files belong to a file that is being parsed"))
        return SceneNodePtr();
    const String fileName = mDirectory + url;
    requireIncludable(fileName);
    requireNesting(1);
    const std::unique_ptr<Parser> parser(new (getAllocator()) Parser(this));
    try {
        SceneNodePtr root(parser->parse(fileName, mFileSystem));
        mDeepest = std::max(mDeepest, parser->mDeepest);
        return root;
    } catch (...) {
        if (!parser->mFileName.empty()) {
            mInlineFailure = std::current_exception();
            mInlineFailureFileName.swap(parser->mFileName);
        }
        throw;
    }
}

/// The files that are open are those of this parser and of the ones that include it.
void Parser::requireIncludable(const String& fileName) {
    const String fullName = getFullName(fileName, *mFileSystem);
    for (const Parser* parser = this; parser; parser = parser->mIncluder) {
        if (parser->mFullName == fullName)
            fail("VRML2::Parser: The file '" + fileName + "' includes itself");
    }
    if (mInlineDepth == cMostNestedInlines)
        fail("VRML2::Parser: The file '" + fileName + "' is included too deep");
    if (mOutermost->mInlineFiles >= mOutermost->mInlineLimit)
        fail(String("VRML2::Parser: More than ").appendDecimal(mOutermost->mInlineLimit) +
             " inline files are included");
    ++mOutermost->mInlineFiles;
}

void Parser::requireNesting(uint32 levels) const {
    if (mDepth + levels > cMostNestedNodes)
        fail("VRML2::Parser: Nodes are nested more than 256 deep");
}

void Parser::parseMembers(MemberDescription description) {
    skipWhiteSpace();
    if (readNextChar() != '{')
        fail("memberdescription must begin with a '{'");
    while (peekToken() != '}') {
        const std::string_view name = readName();
        const auto isNamed = [name](const Member& member) { return name == member.name; };
        const auto found = std::find_if(description.begin(), description.end(), isNamed);
        if (found == description.end())
            fail("field '" + String(name) + "' not found in memberdescription");
        parseField(*found);
    }
    readNextChar();
}

void Parser::parseField(const Member& member) {
    switch (member.typeID) {
    case FIELD_SFBOOL:
        valueOf<bool>(member) = readBool();
        break;
    case FIELD_SFVEC3F:
        valueOf<Math::Vec3f>(member) = readVec3f();
        break;
    case FIELD_MFVEC3F:
    case FIELD_MFVEC3F_SECOND:
        readVec3fs(emptied<Container::Vector<Math::Vec3f>>(member));
        break;
    case FIELD_SFVEC2F:
        // The parts of a braced list are read in their order.
        valueOf<Math::Vec2f>(member) = Math::Vec2f{readFloat(), readFloat()};
        break;
    case FIELD_SFROTATION:
        valueOf<Rotation>(member) = Rotation{readVec3f(), readFloat()};
        break;
    case FIELD_QUATERNION:
        valueOf<Quaternion>(member) = Quaternion{readFloat(), readFloat(), readFloat(), readFloat()};
        break;
    case FIELD_SFINT32:
        valueOf<int32>(member) = readInt32();
        break;
    case FIELD_MFINT32:
        readInt32s(emptied<Container::Vector<int32>>(member));
        break;
    case FIELD_SFFLOAT:
        valueOf<float>(member) = readFloat();
        break;
    case FIELD_SFSTRING:
        valueOf<String>(member) = readString();
        break;
    case FIELD_MFSTRING:
        readMultiField(
            [this, &strings = emptied<Container::Vector<String>>(member)] { strings.push_back(readString()); });
        break;
    default:
        parseNodeField(member);
        break;
    }
}

void Parser::parseNodeField(const Member& member) {
    switch (member.typeID) {
    case FIELD_SFNODE_SCENE:
        valueOf<SceneNodePtr>(member) = NodeParser<SceneNode>(*this).parseNode();
        break;
    case FIELD_MFNODE_SCENE:
        parseNodes<SceneNode>(emptied<SceneNodes>(member));
        break;
    case FIELD_SFNODE_GEOMETRY:
        valueOf<GeometryNodePtr>(member) = NodeParser<GeometryNode>(*this).parseNode();
        break;
    case FIELD_MFNODE_GEOMETRY:
        parseNodes<GeometryNode>(emptied<GeometryNodes>(member));
        break;
    case FIELD_SFNODE_GEOMPROPERTY:
        valueOf<GeometricPropertyPtr>(member) = NodeParser<GeometricProperty>(*this).parseNode();
        break;
    default:
        TARQ_FAIL("unhandled typeID:", member.typeID);
        break;
    }
}

template <class T>
void Parser::parseNodes(Container::Vector<NodePtr<T>>& nodes) {
    NodeParser<T> nodeParser(*this);
    readMultiField([&] {
        if (const NodePtr<T> node = nodeParser.parseNode())
            nodes.push_back(node);
    });
}

} // namespace Tarq::Common::Parser::VRML2
