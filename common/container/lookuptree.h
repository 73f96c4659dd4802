#pragma once

#include "common/export.h"
#include "common/types.h"

namespace Tarq::Common::Container {

/// The links of one node of a height-balanced search tree.
struct LookUpLinks {
    LookUpLinks* parent = nullptr;
    LookUpLinks* left = nullptr;
    LookUpLinks* right = nullptr;
    int32 balance = 0; ///< height of the right side minus height of the left side: -1, 0 or 1
};

/// The part of a `LookUp` that does not depend on its key: an AVL tree (Adelson-Velsky and Landis, 1962) of links.
///
/// Knows nothing of keys and owns no node. `mEnd` stands behind the last node: its left side is the whole tree, so
/// stepping from the last node arrives there and stepping back from there arrives at the last node.
class TARQ_API LookUpTree {
public:
    LookUpTree() noexcept = default;
    LookUpTree(const LookUpTree&) = delete;
    LookUpTree& operator=(const LookUpTree&) = delete;

    LookUpLinks* root() const noexcept { return mEnd.left; }
    LookUpLinks* first() const noexcept { return mFirst; }
    LookUpLinks* end() const noexcept { return const_cast<LookUpLinks*>(&mEnd); }
    uint32 size() const noexcept { return mSize; }

    static LookUpLinks* next(LookUpLinks* node) noexcept;
    static LookUpLinks* previous(LookUpLinks* node) noexcept;

    /// Hangs a node in at an empty place: on the given side of `parent`, where `end()` stands for the empty tree.
    void insert(LookUpLinks* node, LookUpLinks* parent, bool atLeft) noexcept;
    void remove(LookUpLinks* node) noexcept;
    void forgetAll() noexcept;
    void swap(LookUpTree& other) noexcept;

private:
    void replaceChild(LookUpLinks* parent, LookUpLinks* oldChild, LookUpLinks* newChild) noexcept;
    LookUpLinks* rotateLeft(LookUpLinks* node) noexcept;
    LookUpLinks* rotateRight(LookUpLinks* node) noexcept;
    LookUpLinks* raiseRight(LookUpLinks* node) noexcept;
    LookUpLinks* raiseLeft(LookUpLinks* node) noexcept;
    void adoptRoot() noexcept;

    LookUpLinks mEnd;
    LookUpLinks* mFirst = &mEnd;
    uint32 mSize = 0;
};

} // namespace Tarq::Common::Container
