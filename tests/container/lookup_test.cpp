#include "common/container/stringlookup.h"

#include "tests/container/model.h"
#include "tests/support/librarytest.h"

#include <memory>
#include <vector>

using namespace Tarq::Common;
using namespace Tarq::Common::Container;
using namespace Tarq::Test;

namespace {

struct TreeNode : LookUpLinks {
    uint32 key = 0;
    bool isIn = false;
};

/// Returns the height of what hangs below `links`; a large negative number where order, parent or balance is wrong.
int heightOf(const LookUpLinks* links, const LookUpLinks* parent, int64 above, int64 below) {
    if (!links)
        return 0;
    const int64 key = static_cast<const TreeNode*>(links)->key;
    const int left = heightOf(links->left, links, above, key);
    const int right = heightOf(links->right, links, key, below);
    const bool isRight = links->parent == parent && above < key && key < below && links->balance == right - left &&
                         std::abs(right - left) <= 1;
    return isRight ? 1 + std::max(left, right) : -1000;
}

/// Puts `node` in, or takes it out if it is in.
void toggle(LookUpTree& tree, TreeNode& node) {
    node.isIn = !node.isIn;
    if (!node.isIn)
        return tree.remove(&node);
    LookUpLinks* parent = tree.end();
    bool atLeft = true;
    for (LookUpLinks* at = tree.root(); at; at = atLeft ? at->left : at->right) {
        parent = at;
        atLeft = node.key < static_cast<TreeNode*>(at)->key;
    }
    tree.insert(&node, parent, atLeft);
}

} // namespace

TEST_CASE_FIXTURE(LibraryTest, "the tree of a look-up is in order and in balance after every change") {
    for (const bool isAscending : {true, false}) {
        CAPTURE(isAscending);
        Dice dice;
        LookUpTree tree;
        std::vector<TreeNode> nodes(200);
        for (uint32 key = 0; key < 200; ++key)
            nodes[key].key = key;
        for (uint32 step = 0; step < 2000; ++step) {
            toggle(tree, nodes[isAscending ? step % 200 : dice.roll(200)]);
            REQUIRE(heightOf(tree.root(), tree.end(), -1, 200) >= 0);
            LookUpLinks* walked = tree.first();
            for (TreeNode& node : nodes) {
                if (node.isIn) {
                    REQUIRE(walked == &node);
                    walked = LookUpTree::next(walked);
                }
            }
            REQUIRE(walked == tree.end());
        }
    }
}

TEST_CASE_FIXTURE(LibraryTest, "a look-up takes a value only where it makes an entry, and finds names as they come") {
    LookUp<int, std::unique_ptr<int>, std::greater<int>> lookUp(allocator());
    auto value = std::make_unique<int>(1);
    CHECK(lookUp.try_emplace(1, std::move(value)).second);
    lookUp.try_emplace(2, nullptr);
    CHECK(lookUp.begin()->first == 2);
    value = std::make_unique<int>(2);
    CHECK_FALSE(lookUp.try_emplace(1, std::move(value)).second);
    CHECK(value);
    CHECK(*std::as_const(lookUp).at(1) == 1);

    StringLookUp<int> names(allocator(), {{"b", 2}, {"a", 1}, {"\xE9", 3}, {"", 4}});
    getMemory().failAfter(0);
    CHECK(names.at(std::string_view("b and more", 1)) == 2);
    CHECK(std::as_const(names).find("\xE9")->second == 3);
    CHECK(names.at(nullptr) == 4);
    CHECK((names.contains(String("a")) && names.find("ab") == names.end()));
    getMemory().failNever();
    CHECK_THROWS_AS(names.at("c"), std::out_of_range);
}
