#include "common/container/lookup.h"

#include "common/container/stringlookup.h"

#include "tests/container/failures.h"
#include "tests/support/librarytest.h"

#include <functional>
#include <map>
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

void insertInto(LookUpTree& tree, TreeNode& node) {
    LookUpLinks* parent = tree.end();
    bool atLeft = true;
    for (LookUpLinks* at = tree.root(); at; at = atLeft ? at->left : at->right) {
        parent = at;
        atLeft = node.key < static_cast<TreeNode*>(at)->key;
    }
    tree.insert(&node, parent, atLeft);
}

/// Puts `node` in, or takes it out if it is in.
void toggle(LookUpTree& tree, TreeNode& node) {
    if (node.isIn)
        tree.remove(&node);
    else
        insertInto(tree, node);
    node.isIn = !node.isIn;
}

} // namespace

TEST_CASE_FIXTURE(LibraryTest, "the tree of a look-up is in order and in balance after every change") {
    // The order in which 200 nodes are put in and taken out.
    const std::pair<const char*, std::function<uint32(Dice&, uint32)>> orders[] = {
        {"ascending", [](Dice&, uint32 step) { return step % 200; }},
        {"descending", [](Dice&, uint32 step) { return 199 - step % 200; }},
        {"inwards, then outwards", [](Dice&, uint32 step) { return step % 2 ? step / 2 % 200 : 199 - step / 2 % 200; }},
        {"at random", [](Dice& dice, uint32) { return dice.roll(200); }},
    };
    for (const auto& [shownName, order] : orders) {
        const std::string name = shownName; // A captured binding is beyond clang 14.
        CAPTURE(name);
        Dice dice(1);
        LookUpTree tree;
        std::vector<TreeNode> nodes(200);
        for (uint32 key = 0; key < 200; ++key)
            nodes[key].key = key;
        for (uint32 step = 0; step < 2000; ++step) {
            toggle(tree, nodes[order(dice, step)]);
            REQUIRE(heightOf(tree.root(), tree.end(), -1, 200) >= 0);
            std::vector<const LookUpLinks*> expected;
            for (const TreeNode& node : nodes) {
                if (node.isIn)
                    expected.push_back(&node);
            }
            std::vector<const LookUpLinks*> walked;
            for (LookUpLinks* at = tree.first(); at != tree.end(); at = LookUpTree::next(at))
                walked.push_back(at);
            REQUIRE(walked == expected);
            REQUIRE(tree.size() == expected.size());
        }
    }
}

namespace {

template <class K>
void runSteps(const Memory::AllocatorPtr& allocator, unsigned int seed) {
    Dice dice(seed);
    LookUp<K, String> lookUp(allocator);
    std::map<K, String> model;
    std::map<K, const String*> places;
    for (int count = 0; count < 3000; ++count) {
        const K key = makeElement<K>(static_cast<int>(dice.roll(150)));
        const String value = makeElement<String>(count);
        switch (dice.roll(8)) {
        case 0:
            REQUIRE(lookUp.insert(key, value).second == model.emplace(key, value).second);
            break;
        case 1:
            lookUp[key] = value;
            model[key] = value;
            break;
        case 2:
            REQUIRE(lookUp.insert_or_assign(key, value).first->second == value);
            model.insert_or_assign(key, value);
            break;
        case 3:
            REQUIRE((lookUp.lower_bound(key) == lookUp.end()) == (model.lower_bound(key) == model.end()));
            if (const auto found = model.lower_bound(key); found != model.end())
                REQUIRE(lookUp.lower_bound(key)->first == found->first);
            break;
        case 4:
            REQUIRE((lookUp.upper_bound(key) == lookUp.end()) == (model.upper_bound(key) == model.end()));
            if (const auto found = model.upper_bound(key); found != model.end()) {
                const auto next = lookUp.erase(lookUp.upper_bound(key));
                const auto modelNext = model.erase(found);
                REQUIRE((next == lookUp.end() ? modelNext == model.end() : next->first == modelNext->first));
            }
            break;
        case 5: {
            const LookUp<K, String> copy(lookUp);
            LookUp<K, String> taken(std::move(lookUp));
            REQUIRE(lookUp.empty());
            REQUIRE(copy == taken);
            lookUp[key];
            lookUp = std::move(taken);
            break;
        }
        default:
            REQUIRE(lookUp.erase(key) == model.erase(key));
            break;
        }
        REQUIRE(lookUp.size() == model.size());
        const auto isSame = [](const auto& a, const auto& b) { return a.first == b.first && a.second == b.second; };
        REQUIRE(std::equal(lookUp.begin(), lookUp.end(), model.begin(), model.end(), isSame));
        REQUIRE(std::equal(lookUp.rbegin(), lookUp.rend(), model.rbegin(), model.rend(), isSame));
        REQUIRE(lookUp.contains(key) == model.contains(key));
        std::erase_if(places, [&](const auto& place) { return !model.contains(place.first); });
        int moved = 0;
        for (const auto& entry : lookUp)
            moved += places.emplace(entry.first, &entry.second).first->second != &entry.second;
        REQUIRE(moved == 0);
    }
}

} // namespace

TEST_CASE_FIXTURE(LibraryTest, "a look-up does what a standard map does, and its entries stay where they are") {
    runSteps<int>(allocator(), 1);
    runSteps<String>(Memory::AllocatorPtr(), 2);
}

TEST_CASE_FIXTURE(LibraryTest, "a look-up that cannot copy a key or a value, or gets no memory, stays as it was") {
    using Elements = LookUp<Element, Element>;
    const Change<Elements> changes[] = {
        {"insert", true, [](Elements& lookUp) { lookUp.insert(Element(5), Element(9)); }},
        {"operator[]", true, [](Elements& lookUp) { lookUp[Element(5)]; }},
        {"insert_or_assign of what is there", true,
         [](Elements& lookUp) { lookUp.insert_or_assign(Element(3), Element(9)); }},
        {"copy and assign", true,
         [](Elements& lookUp) {
             Elements copy(lookUp);
             copy.erase(copy.begin(), copy.find(Element(3)));
             lookUp = std::as_const(copy);
         }},
    };
    for (const Change<Elements>& change : changes)
        checkFailures(change, [](const Memory::AllocatorPtr& host) {
            return Elements(host, {{1, 1}, {2, 2}, {3, 3}, {4, 4}, {2, 5}});
        });
}

TEST_CASE_FIXTURE(LibraryTest, "a look-up keeps to its order, and takes a value only where it makes an entry") {
    LookUp<int, std::unique_ptr<int>, std::greater<int>> lookUp(allocator());
    auto value = std::make_unique<int>(1);
    CHECK(lookUp.try_emplace(1, std::move(value)).second);
    const auto second = lookUp.try_emplace(2, nullptr).first;
    CHECK(second == lookUp.begin());
    value = std::make_unique<int>(2);
    const auto [entry, isNew] = lookUp.try_emplace(1, std::move(value));
    CHECK_FALSE(isNew);
    CHECK(*entry->second == 1);
    CHECK(value);
    CHECK(lookUp.insert_or_assign(1, std::move(value)).first == entry);
    CHECK(*std::as_const(lookUp).at(1) == 2);
    CHECK_THROWS_AS(lookUp.at(3), std::out_of_range);
    CHECK(lookUp.erase(lookUp.begin(), entry) == entry);

    const std::unique_ptr<LookUp<String, int>> names(new StringLookUp<int>(allocator(), {{"b", 2}, {"a", 1}}));
    CHECK((*names)["c"] == 0);
    CHECK(names->begin()->first == "a");
}
