#include "common/reflection/function/functiondeclarationmanager.h"

#include "common/debug/assert.h"
#include "common/reflection/function/internal/signature.h"

#include <algorithm>
#include <functional>
#include <utility>

namespace Tarq::Common::Reflection::Function {

using Datatype::DatatypeID;

namespace {

using Inside = Threading::ScopedLock<Threading::Mutex>;

uint32 hashOf(std::string_view name) noexcept {
    return static_cast<uint32>(std::hash<std::string_view>()(name));
}

constexpr const char* cIsDeclared = "mFunctionDeclarations.size() > GetIDWrapperValue(functionID)";

/// "result name(argument,argument)".
void appendSignature(String& text, String::Text functionName, Signature fullSignature) {
    if (!fullSignature.empty())
        text += getTypeName(fullSignature.front());
    text.append(" ").append(functionName).append("(");
    if (!fullSignature.empty())
        appendTypeNames(text, fullSignature.subspan(1));
    text += ')';
}

} // namespace

// The overloads of a name.

FunctionDeclarationManager::Overloads::~Overloads() {
    for (FunctionIDs* list : lists)
        Container::destroyNode(lists.getAllocator(), list);
}

FunctionDeclarationManager::FunctionIDs& FunctionDeclarationManager::Overloads::makeRoom() {
    const Memory::AllocatorPtr& allocator = lists.getAllocator();
    if (lists.empty() || isShown) {
        lists.reserve(lists.size() + 1);
        FunctionIDs* const list = lists.empty() ? Container::makeNode<FunctionIDs>(allocator, allocator)
                                                : Container::makeNode<FunctionIDs>(allocator, *lists.back());
        lists.push_back(list);
        isShown = false;
    }
    FunctionIDs& list = *lists.back();
    if (list.size() == list.capacity())
        list.reserve(list.size() + list.size() / 2 + 1);
    return list;
}

// The manager.

FunctionDeclarationManager::FunctionDeclarationManager(String::Text name)
    : mName(name), mFunctionIDs(getAllocator()), mFunctionDeclarations(getAllocator()), mSlots(getAllocator()) {}

FunctionDeclarationManager::FunctionDeclarationManager(const FunctionDeclarationManager& other)
    : MemoryManaged(), mName(other.mName), mFunctionIDs(getAllocator()), mFunctionDeclarations(getAllocator()),
      mSlots(getAllocator()) {
    const Inside inside(other.mMutex);
    for (const Declaration& each : other.mFunctionDeclarations)
        add(each.name, each.fullSignature, each.classifier, each.signatureNames);
}

FunctionDeclarationManager::~FunctionDeclarationManager() = default;

FunctionID FunctionDeclarationManager::createFunctionDeclaration(String::Text name, const Types& fullSignature) {
    return createFunctionDeclaration(name, fullSignature, String::Text(), Names(getAllocator()));
}

FunctionID FunctionDeclarationManager::createFunctionDeclaration(String::Text name, const Types& fullSignature,
                                                                 String::Text classifier, const Names& signatureNames) {
    if (!TARQ_ASSERT(!fullSignature.empty(), "a full signature begins with the type of the result"))
        return FunctionID();
    const Inside inside(mMutex);
    const FunctionID existing = find(name, fullSignature, 0);
    if (existing == FunctionID())
        return add(name, fullSignature, classifier, signatureNames);
    Names& names = mFunctionDeclarations[GetIDWrapperValue(existing)].signatureNames;
    if (names.empty())
        names = signatureNames;
    return existing;
}

FunctionID FunctionDeclarationManager::createFunctionDeclaration(String::Text name, const Types& fullSignature,
                                                                 String::Text classifier, String::Text signatureNames) {
    Names names(getAllocator());
    for (std::string_view rest = signatureNames; !rest.empty();) {
        const std::string_view each = rest.substr(0, rest.find(','));
        rest.remove_prefix(std::min(each.size() + 1, rest.size()));
        if (!each.empty())
            names.push_back(String(each));
    }
    return createFunctionDeclaration(name, fullSignature, classifier, names);
}

FunctionDeclarationManager::Provided
FunctionDeclarationManager::provideFunctionDeclaration(String::Text name, const Types& fullSignature) {
    const Inside inside(mMutex);
    const FunctionID existing = find(name, fullSignature, 0);
    if (existing != FunctionID())
        return {existing, {}};
    const FunctionID other = find(name, Signature(fullSignature).subspan(1), 1);
    if (other != FunctionID())
        return {FunctionID(), mFunctionDeclarations[GetIDWrapperValue(other)].fullSignature.front()};
    return {add(name, fullSignature, String::Text(), Names(getAllocator())), {}};
}

FunctionID FunctionDeclarationManager::add(String::Text name, const Types& fullSignature, String::Text classifier,
                                           const Names& signatureNames) {
    Declaration declaration{String(name), Types(fullSignature, getAllocator()), String(classifier),
                            Names(signatureNames, getAllocator())};
    growSlots();
    // The name's list may be left empty when memory runs out, which nobody sees.
    const auto entry = mFunctionIDs.try_emplace(declaration.name, getAllocator()).first;
    FunctionIDs& list = entry->second.makeRoom();
    const FunctionID added(mFunctionDeclarations.size());
    mFunctionDeclarations.push_back(std::move(declaration));
    list.push_back(added);
    // When declarations are moved, their signatures stay where they are.
    take(mSlots, {hashOf(entry->first), added, entry->first, mFunctionDeclarations.back().fullSignature});
    return added;
}

FunctionID FunctionDeclarationManager::find(String::Text name, Signature signature, uint32 skippedTypes) const {
    if (mSlots.empty())
        return FunctionID();
    const uint32 hash = hashOf(name);
    for (uint32 at = hash;; ++at) {
        const Slot& slot = mSlots[at & (mSlots.size() - 1)];
        if (slot.functionID == FunctionID() ||
            (slot.hash == hash && slot.name == name && isMatching(slot.fullSignature.subspan(skippedTypes), signature)))
            return slot.functionID;
    }
}

void FunctionDeclarationManager::growSlots() {
    if ((mFunctionDeclarations.size() + 1) * 2 <= mSlots.size())
        return;
    Slots larger(getAllocator(), std::max<uint32>(16, mSlots.size() * 2));
    // From the first free slot on, so that those of one name keep their order.
    const auto isFree = [](const Slot& slot) { return slot.functionID == FunctionID(); };
    const auto start = std::find_if(mSlots.begin(), mSlots.end(), isFree);
    for (auto [from, to] : {std::pair(start, mSlots.end()), std::pair(mSlots.begin(), start)}) {
        for (; from != to; ++from) {
            if (!isFree(*from))
                take(larger, *from);
        }
    }
    mSlots.swap(larger);
}

void FunctionDeclarationManager::take(Slots& slots, const Slot& slot) noexcept {
    uint32 at = slot.hash;
    while (slots[at & (slots.size() - 1)].functionID != FunctionID())
        ++at;
    slots[at & (slots.size() - 1)] = slot;
}

bool FunctionDeclarationManager::existsFunctionDeclaration(String::Text name, const Types& fullSignature) const {
    return getFunctionIDWithFullSignature(name, fullSignature) != FunctionID();
}

FunctionID FunctionDeclarationManager::getFunctionID(String::Text name, const Types& argumentSignature) const {
    const Inside inside(mMutex);
    return find(name, argumentSignature, 1);
}

FunctionID FunctionDeclarationManager::getFunctionIDWithFullSignature(String::Text name,
                                                                      const Types& fullSignature) const {
    const Inside inside(mMutex);
    return find(name, fullSignature, 0);
}

const FunctionDeclarationManager::FunctionIDs* FunctionDeclarationManager::getFunctionIDs(String::Text name) const {
    const Inside inside(mMutex);
    const auto found = mFunctionIDs.find(name);
    if (found == mFunctionIDs.end() || found->second.empty())
        return nullptr;
    found->second.isShown = true;
    return found->second.lists.back();
}

// What is declared. Reports are made outside the lock: they run the host's code.

template <class Read>
bool FunctionDeclarationManager::look(FunctionID functionID, Read read) const {
    const Inside inside(mMutex);
    const uint32 index = GetIDWrapperValue(functionID);
    if (index >= mFunctionDeclarations.size())
        return false;
    read(mFunctionDeclarations[index]);
    return true;
}

DatatypeID FunctionDeclarationManager::getReturnValueType(FunctionID functionID) const {
    DatatypeID type;
    const bool isDeclared = look(functionID, [&](const Declaration& it) { type = it.fullSignature.front(); });
    TARQ_ASSERT_AS(cIsDeclared, isDeclared, "invalid functionID: ", GetIDWrapperValue(functionID));
    return type;
}

bool FunctionDeclarationManager::getArgumentSignature(Types& signature, FunctionID functionID) const {
    const bool isDeclared = look(functionID, [&](const Declaration& it) {
        signature.assign(it.fullSignature.begin() + 1, it.fullSignature.end());
    });
    return TARQ_ASSERT_AS(cIsDeclared, isDeclared, "invalid functionID: ", GetIDWrapperValue(functionID));
}

bool FunctionDeclarationManager::getFullSignature(Types& signature, FunctionID functionID) const {
    const bool isDeclared = look(functionID, [&](const Declaration& it) { signature = it.fullSignature; });
    return TARQ_ASSERT_AS(cIsDeclared, isDeclared, "invalid functionID: ", GetIDWrapperValue(functionID));
}

String FunctionDeclarationManager::getFunctionName(FunctionID functionID) const {
    String name;
    const bool isDeclared = look(functionID, [&](const Declaration& it) { name = it.name; });
    TARQ_ASSERT_AS(cIsDeclared, isDeclared, "invalid functionID");
    return name;
}

FunctionDeclarationManager::Names FunctionDeclarationManager::getSignatureNames(FunctionID functionID) const {
    Names names(getAllocator());
    const bool isDeclared = look(functionID, [&](const Declaration& it) { names = it.signatureNames; });
    TARQ_ASSERT_AS(cIsDeclared, isDeclared, "invalid functionID");
    return names;
}

String FunctionDeclarationManager::getClassifier(FunctionID functionID) const {
    String classifier;
    const bool isDeclared = look(functionID, [&](const Declaration& it) { classifier = it.classifier; });
    TARQ_ASSERT_AS(cIsDeclared, isDeclared, "invalid functionID");
    return classifier;
}

String FunctionDeclarationManager::createSignatureErrorMsg(String::Text text, String::Text functionName,
                                                           const Types& existing, const Types& expected) const {
    String message(text);
    message += "\n existing signature: ";
    appendSignature(message, functionName, existing);
    message += "\n expected signature: ";
    appendSignature(message, functionName, expected);
    return message;
}

FunctionIterator FunctionDeclarationManager::getFunctionIterator() const {
    return FunctionIterator(*this);
}

// The iterator. Names stay where they are, but the way from one to the next needs the lock.

FunctionIterator::FunctionIterator(const FunctionDeclarationManager& manager) : mManager(&manager) {
    const Inside inside(manager.mMutex);
    mAt = manager.mFunctionIDs.begin();
    skipFinishedNames();
}

void FunctionIterator::skipFinishedNames() {
    while (!reachedEnd() && (mAt->second.empty() || mIndex >= mAt->second.lists.back()->size())) {
        ++mAt;
        mIndex = 0;
    }
}

String FunctionIterator::getFunctionName() const {
    return reachedEnd() ? String() : mAt->first;
}

FunctionID FunctionIterator::getFunctionID() const {
    const Inside inside(mManager->mMutex);
    return reachedEnd() ? FunctionID() : (*mAt->second.lists.back())[mIndex];
}

bool FunctionIterator::getFullSignature(FunctionDeclarationManager::Types& signature) const {
    return !reachedEnd() && mManager->getFullSignature(signature, getFunctionID());
}

FunctionIterator& FunctionIterator::operator++() {
    const Inside inside(mManager->mMutex);
    if (!reachedEnd())
        ++mIndex;
    skipFinishedNames();
    return *this;
}

FunctionIterator FunctionIterator::getNext() const {
    FunctionIterator next(*this);
    return ++next;
}

} // namespace Tarq::Common::Reflection::Function
