#include "common/container/lookuptree.h"

#include <utility>

namespace Tarq::Common::Container {

LookUpLinks* LookUpTree::next(LookUpLinks* node) noexcept {
    if (node->right) {
        node = node->right;
        while (node->left)
            node = node->left;
        return node;
    }
    while (node == node->parent->right)
        node = node->parent;
    return node->parent;
}

LookUpLinks* LookUpTree::previous(LookUpLinks* node) noexcept {
    if (node->left) {
        node = node->left;
        while (node->right)
            node = node->right;
        return node;
    }
    while (node == node->parent->left)
        node = node->parent;
    return node->parent;
}

void LookUpTree::insert(LookUpLinks* node, LookUpLinks* parent, bool atLeft) noexcept {
    node->parent = parent;
    node->left = node->right = nullptr;
    node->balance = 0;
    (atLeft ? parent->left : parent->right) = node;
    if (atLeft && parent == mFirst)
        mFirst = node;
    ++mSize;

    // One side of each ancestor has grown by one, until an ancestor was lower there or is turned.
    for (LookUpLinks* child = node; parent != &mEnd; child = parent, parent = parent->parent) {
        parent->balance += child == parent->left ? -1 : 1;
        if (parent->balance == 0)
            return;
        if (parent->balance == 2) {
            raiseRight(parent);
            return;
        }
        if (parent->balance == -2) {
            raiseLeft(parent);
            return;
        }
    }
}

void LookUpTree::remove(LookUpLinks* node) noexcept {
    if (node == mFirst)
        mFirst = next(node);
    --mSize;

    LookUpLinks* parent = node->parent;
    bool leftShrank = parent->left == node;
    if (!node->left || !node->right) {
        replaceChild(parent, node, node->left ? node->left : node->right);
    } else {
        // The next node has no left side; it takes this one's place, and its own place is what shrinks.
        LookUpLinks* const heir = next(node);
        parent = heir->parent == node ? heir : heir->parent;
        leftShrank = heir->parent != node;
        if (heir->parent != node) {
            replaceChild(heir->parent, heir, heir->right);
            heir->right = node->right;
            heir->right->parent = heir;
        }
        heir->left = node->left;
        heir->left->parent = heir;
        heir->balance = node->balance;
        replaceChild(node->parent, node, heir);
    }

    // One side of each ancestor has shrunk by one, until an ancestor's height stays what it was.
    while (parent != &mEnd) {
        LookUpLinks* top = parent;
        top->balance += leftShrank ? 1 : -1;
        if (top->balance == 2)
            top = raiseRight(top);
        else if (top->balance == -2)
            top = raiseLeft(top);
        if (top->balance != 0)
            return;
        parent = top->parent;
        leftShrank = parent->left == top;
    }
}

void LookUpTree::forgetAll() noexcept {
    mEnd.left = nullptr;
    mFirst = &mEnd;
    mSize = 0;
}

void LookUpTree::swap(LookUpTree& other) noexcept {
    std::swap(mEnd.left, other.mEnd.left);
    std::swap(mFirst, other.mFirst);
    std::swap(mSize, other.mSize);
    adoptRoot();
    other.adoptRoot();
}

void LookUpTree::adoptRoot() noexcept {
    if (mEnd.left)
        mEnd.left->parent = &mEnd;
    else
        mFirst = &mEnd;
}

void LookUpTree::replaceChild(LookUpLinks* parent, LookUpLinks* oldChild, LookUpLinks* newChild) noexcept {
    (parent->left == oldChild ? parent->left : parent->right) = newChild;
    if (newChild)
        newChild->parent = parent;
}

LookUpLinks* LookUpTree::rotateLeft(LookUpLinks* node) noexcept {
    LookUpLinks* const top = node->right;
    node->right = top->left;
    if (node->right)
        node->right->parent = node;
    replaceChild(node->parent, node, top);
    top->left = node;
    node->parent = top;
    return top;
}

LookUpLinks* LookUpTree::rotateRight(LookUpLinks* node) noexcept {
    LookUpLinks* const top = node->left;
    node->left = top->right;
    if (node->left)
        node->left->parent = node;
    replaceChild(node->parent, node, top);
    top->right = node;
    node->parent = top;
    return top;
}

/// Turns a node whose right side is higher by two; returns the node that is on top then.
LookUpLinks* LookUpTree::raiseRight(LookUpLinks* node) noexcept {
    LookUpLinks* const right = node->right;
    if (right->balance >= 0) {
        LookUpLinks* const top = rotateLeft(node);
        node->balance = top->balance == 0 ? 1 : 0;
        top->balance = top->balance == 0 ? -1 : 0;
        return top;
    }
    rotateRight(right);
    LookUpLinks* const top = rotateLeft(node);
    node->balance = top->balance == 1 ? -1 : 0;
    right->balance = top->balance == -1 ? 1 : 0;
    top->balance = 0;
    return top;
}

/// The mirror image of `raiseRight`.
LookUpLinks* LookUpTree::raiseLeft(LookUpLinks* node) noexcept {
    LookUpLinks* const left = node->left;
    if (left->balance <= 0) {
        LookUpLinks* const top = rotateRight(node);
        node->balance = top->balance == 0 ? -1 : 0;
        top->balance = top->balance == 0 ? 1 : 0;
        return top;
    }
    rotateLeft(left);
    LookUpLinks* const top = rotateRight(node);
    node->balance = top->balance == -1 ? 1 : 0;
    left->balance = top->balance == 1 ? -1 : 0;
    top->balance = 0;
    return top;
}

} // namespace Tarq::Common::Container
