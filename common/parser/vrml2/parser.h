#pragma once

#include "common/container/stringlookup.h"
#include "common/container/vector.h"
#include "common/io/filesystem.h"
#include "common/memory/memorymanaged.h"
#include "common/parser/vrml2/geometricproperty.h"
#include "common/parser/vrml2/geometrynode.h"
#include "common/parser/vrml2/groupingnode.h"
#include "common/parser/vrml2/memberdescription.h"
#include "common/parser/vrml2/scenenode.h"
#include "common/parser/vrml2/tokenreader.h"
#include "common/string.h"

#include <exception>
#include <string_view>

namespace Tarq::Common::Parser::VRML2 {

/// Reads scenes in the part of VRML 2.0 that is about geometry which does not move.
///
///     Parser parser;
///     parser.setSkipUnknownNodes(true);
///     SceneNode* const root = parser.parse("town.wrl", &fileSystem);
///     MeshGen::createMesh(vertices, triangles, root);
///     delete root;
///
/// Nodes are Group, Transform, Shape, Switch, Inline, Appearance, Box, IndexedFaceSet and Coordinate, and what the host
/// registers. Others are refused ("unkown node: ..."), or skipped and logged. A field keeps the last value that the
/// file gives it. Nodes nest at most 256 deep, with "USE" and through inline files too, so that whoever walks a scene
/// may call himself, as the parser does: a stack of 512 KiB is enough for that. Inline files nest at most 40 deep, none
/// includes itself, and a parse takes a limited number of them.
///
/// Failures: what is wrong with a file is a `VRML2ParserException` with the line and, as the row, the number of bytes
/// of it that were read; `getFileName` tells the file. What the file system throws passes through, for inline files
/// too. Exhaustion throws `OutOfMemoryException`, or `std::length_error` where a list would get too long. Nothing of a
/// scene is left then.
/// Ownership: a scene belongs to the caller of `parse`: `delete` its root, or put that into a `SceneNodePtr`. It may
/// outlive the parser. Its nodes lie in memory of `getAllocator()`.
/// Threads: a parser belongs to one thread at a time.
class TARQ_API Parser : public Memory::MemoryManaged, public TokenReader {
public:
    static constexpr uint32 cMostNestedNodes = 256;
    /// How many files may be inside of each other, the first one not counted.
    static constexpr uint32 cMostNestedInlines = 40;
    static constexpr uint32 cDefaultInlineLimit = 10'000;

    /// Knows the nine built-in nodes.
    Parser();
    ~Parser() override;

    /// Makes a class of scene nodes known, under its name. The parser becomes an owner of the prototype, and makes
    /// nodes of it for the files that are parsed from now on, and for what these include.
    ///
    /// Asserts "NULL-Pointer node name is not allowed" and "There is already a node registered with name:...";
    /// otherwise it lets go of the prototype, which is deleted then if nobody else owns it.
    void registerSceneNode(SceneNode* prototype);

    /// Whether nodes without a class are left out, and a "USE" of an unknown name with them. Off at first.
    void setSkipUnknownNodes(bool skip) noexcept { mSkipUnknownNodes = skip; }
    bool getSkipUnknownNodes() const noexcept { return mSkipUnknownNodes; }

    /// How many inline files a parse may take in all, one that comes twice counted twice: a few small files that
    /// include each other may stand for any number of them.
    void setInlineLimit(uint32 files) noexcept { mInlineLimit = files; }
    uint32 getInlineLimit() const noexcept { return mInlineLimit; }

    /// Returns the root, a group of the file's nodes. Not while this parser parses already.
    ///
    /// Throws `ArgumentNullException` without a file system.
    SceneNode* parse(const String& fileName, IO::FileSystem* fileSystem);

    /// The file that the last parse has opened; where that has failed, the inline file in which it has. Empty when
    /// nothing could be opened.
    const String& getFileName() const noexcept { return mFileName; }

    // What nodes read themselves by, together with the words of `TokenReader`.

    /// Reads the body of a node, braces included, into its members.
    ///
    /// Asserts "unhandled typeID:..." for a member of another type; otherwise it reads nothing for that.
    void parseMembers(MemberDescription description);
    /// Reads a file that lies in the directory of this one, or below it. Returns its root. Asserts that a file is being
    /// parsed; otherwise returns null.
    SceneNodePtr parseInlineFile(const String& url);

private:
    template <class>
    friend class NodeParser;

    /// The prototypes of a family of nodes, by the names that files call them.
    template <class T>
    using NodeRegistry = Container::StringLookUp<NodePtr<T>>;
    /// A node of any family, and how many nodes are below each other from it on.
    struct DefinedNode {
        SharedPtr<ReferenceCounted, MemberReferenceCount<ReferenceCounted, ReferenceCounter, sizeof(void*)>> node;
        uint32 height;
    };
    /// Counts a node as one that is around what is read, for as long as the scope lasts.
    class Nesting {
    public:
        explicit Nesting(Parser& parser) : mParser(parser) {
            parser.requireNesting(1);
            if (parser.mDeepest < ++parser.mDepth)
                parser.mDeepest = parser.mDepth;
        }
        ~Nesting() { --mParser.mDepth; }
        Nesting(const Nesting&) = delete;
        Nesting& operator=(const Nesting&) = delete;

    private:
        Parser& mParser;
    };
    class Parsing;

    /// For a file that is inside of the other parser's file.
    explicit Parser(Parser* includer);

    SceneNode* parseFile(String fileName);
    template <class T>
    void registerNode(NodeRegistry<T>& registeredNodes, T* prototype);
    template <class T>
    const NodeRegistry<T>& registeredNodes() const noexcept;
    void open(String fileName);
    void checkHeader();
    void requireIncludable(const String& fileName);
    void requireNesting(uint32 levels) const;
    void parseField(const Member& member);
    void parseNodeField(const Member& member);
    template <class T>
    void parseNodes(Container::Vector<NodePtr<T>>& nodes);

    NodeRegistry<SceneNode> mRegisteredNodes;
    NodeRegistry<GeometryNode> mRegisteredGeometryNodes;
    NodeRegistry<GeometricProperty> mRegisteredProperties;
    Container::StringLookUp<DefinedNode> mDefinedNodes; ///< of this file
    bool mSkipUnknownNodes = false;
    uint32 mDepth = 0;   ///< how many nodes are around what is read
    uint32 mDeepest = 0; ///< the largest depth in the node that is read
    uint32 mInlineDepth = 0;
    uint32 mInlineLimit = cDefaultInlineLimit;
    uint32 mInlineFiles = 0; ///< were begun, counted in the outermost parser
    const Parser* mIncluder = nullptr;
    Parser* mOutermost = this;
    IO::FileSystem* mFileSystem = nullptr; ///< while a file is parsed
    IO::FileStreamPtr mStream;             ///< the same
    String mFileName;
    std::exception_ptr mInlineFailure; ///< the last one, which may have been caught
    String mInlineFailureFileName;
    String mFullName; ///< by which a file of several names is known again
    String mDirectory;
};

} // namespace Tarq::Common::Parser::VRML2
