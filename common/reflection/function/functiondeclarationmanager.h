#pragma once

#include "common/container/stringlookup.h"
#include "common/export.h"
#include "common/memory/memorymanaged.h"
#include "common/reflection/function/functionid.h"
#include "common/reflection/function/signature.h"
#include "common/string.h"
#include "common/threading/mutex.h"

#include <string_view>

namespace Tarq::Common::Reflection::Function {

class FunctionIterator;

/// The functions that several parties know by name: each declaration is a name and a full signature, which is the type
/// of the result (`VOID_DATATYPE_ID` for none) and then the types of the arguments; for tools also a classifier and the
/// names of the arguments. One party declares what it needs, another provides it; a `FunctionRegistrar` binds
/// declarations to code.
///
/// Signatures match when they have the same length and their types are equal at each place, where "Integer32" and
/// "UnsignedInteger32" stand for each other. Of several declarations of a name that match, the first one made counts.
///
/// Threads: any, if the manager is made on a thread-safe allocator. Declarations are only ever added, so an id stays
/// good, and an unknown one is reported.
///
/// Whatever makes or copies something throws `OutOfMemoryException`; nothing has changed then.
class TARQ_API FunctionDeclarationManager : public Memory::MemoryManaged {
public:
    using Types = Container::Vector<Datatype::DatatypeID>;
    using Names = Container::Vector<String>;

    explicit FunctionDeclarationManager(String::Text name);
    /// The same declarations, under the same ids.
    FunctionDeclarationManager(const FunctionDeclarationManager& other);
    ~FunctionDeclarationManager() override;

    const String& getName() const noexcept { return mName; }

    // Each of these finds the declaration with a matching full signature, or makes it, in one step. One that is there
    // keeps its classifier, and gets these names of its arguments if it has none yet.
    // Asserts that the full signature has the type of a result; returns no function otherwise.

    FunctionID createFunctionDeclaration(String::Text name, const Types& fullSignature);
    FunctionID createFunctionDeclaration(String::Text name, const Types& fullSignature, String::Text classifier,
                                         const Names& signatureNames);
    /// The names stand in one text, separated by ",". Empty ones do not count; blanks are part of a name.
    FunctionID createFunctionDeclaration(String::Text name, const Types& fullSignature, String::Text classifier,
                                         String::Text signatureNames);

    bool existsFunctionDeclaration(String::Text name, const Types& fullSignature) const;
    /// Looks at the arguments only. Returns no function when nothing matches.
    FunctionID getFunctionID(String::Text name, const Types& argumentSignature) const;
    FunctionID getFunctionIDWithFullSignature(String::Text name, const Types& fullSignature) const;
    /// All declarations of the name in the order in which they were made; null for an unknown name. The list is good as
    /// long as the manager lives, and does not show what is declared later.
    const Container::Vector<FunctionID>* getFunctionIDs(String::Text name) const;

    // What is declared. Each asserts that there is such a declaration.

    /// `INVALID_DATATYPE_ID` for an unknown id.
    Datatype::DatatypeID getReturnValueType(FunctionID functionID) const;
    /// Replaces what `signature` holds, and returns true. For an unknown id, false: nothing has changed.
    bool getArgumentSignature(Types& signature, FunctionID functionID) const;
    bool getFullSignature(Types& signature, FunctionID functionID) const;
    /// Empty for an unknown id, as are the next two.
    String getFunctionName(FunctionID functionID) const;
    Names getSignatureNames(FunctionID functionID) const;
    String getClassifier(FunctionID functionID) const;

    /// Tells about two full signatures of a function that should be the same, in two lines behind `text`.
    String createSignatureErrorMsg(String::Text text, String::Text functionName, const Types& existing,
                                   const Types& expected) const;

    /// Stands at the first function.
    FunctionIterator getFunctionIterator() const;

private:
    friend class FunctionIterator;
    friend class FunctionRegistrar;
    using FunctionIDs = Container::Vector<FunctionID>;

    struct Declaration {
        String name;
        Types fullSignature;
        String classifier;
        Names signatureNames;
    };

    /// The declarations of one name. A list that a caller may be looking at is not changed any more: the next one
    /// takes its place.
    struct Overloads {
        explicit Overloads(const Memory::AllocatorPtr& allocator) noexcept : lists(allocator) {}
        Overloads(const Overloads&) = delete;
        Overloads& operator=(const Overloads&) = delete;
        ~Overloads();

        /// The list to append to; it has room for one more.
        FunctionIDs& makeRoom();
        bool empty() const noexcept { return lists.empty() || lists.back()->empty(); }

        Container::Vector<FunctionIDs*> lists; ///< the last one counts
        mutable bool isShown = false;          ///< somebody may be looking at the last one
    };
    using Lookup = Container::StringLookUp<Overloads>;

    /// Leads from the hash of a name to a declaration: one or two steps, where the lookup, which keeps the order, takes
    /// ten among a thousand names. Has what is compared on the way, so that nothing else has to be visited.
    struct Slot {
        uint32 hash = 0;         ///< of the name
        FunctionID functionID;   ///< none in a free slot
        std::string_view name;   ///< the lookup's
        Signature fullSignature; ///< the declaration's
    };
    using Slots = Container::Vector<Slot>;

    /// What a registrar is to provide, or the result of what is in its way.
    struct Provided {
        FunctionID functionID;
        Datatype::DatatypeID otherResult;
    };
    /// For a registrar: the declaration with a matching full signature, or a new one. No function if there is one with
    /// matching arguments and another result: the new one would never be found by its arguments.
    Provided provideFunctionDeclaration(String::Text name, const Types& fullSignature);

    // While the mutex is held.
    FunctionID find(String::Text name, Signature signature, uint32 skippedTypes) const;
    FunctionID add(String::Text name, const Types& fullSignature, String::Text classifier, const Names& signatureNames);

    /// Calls `read` with the declaration while the mutex is held; returns whether there is one.
    template <class Read>
    bool look(FunctionID functionID, Read read) const;

    /// Makes sure that there is a slot for one more.
    void growSlots();
    static void take(Slots& slots, const Slot& slot) noexcept;

    String mName;
    Lookup mFunctionIDs;
    Container::Vector<Declaration> mFunctionDeclarations; ///< by id
    /// One for each declaration, at the first free place from the one on that its hash says: those of one name are met
    /// in the order of their declaration. The size is a power of two, and at most half of it is used.
    Slots mSlots;
    mutable Threading::Mutex mMutex;
};

using FunctionDeclarationManagerPtr = SharedPtr<FunctionDeclarationManager, SimpleReferenceCount, StandartObjectPolicy>;

/// Walks the functions of a manager: by name in ascending order, those of one name in the order of their declaration.
///
/// At the end, there is no function: no name, no signature, and going on changes nothing. What is declared on the way
/// may or may not be met. Lives no longer than the manager. Threads: one at a time.
class TARQ_API FunctionIterator {
public:
    String getFunctionName() const;
    FunctionID getFunctionID() const;
    /// Replaces what `signature` holds; at the end, changes nothing and returns false.
    bool getFullSignature(FunctionDeclarationManager::Types& signature) const;

    bool reachedEnd() const noexcept { return mAt == mManager->mFunctionIDs.end(); }
    FunctionIterator& operator++();
    /// The place behind this one.
    FunctionIterator getNext() const;

private:
    friend class FunctionDeclarationManager;
    explicit FunctionIterator(const FunctionDeclarationManager& manager);
    void skipFinishedNames();

    const FunctionDeclarationManager* mManager;
    FunctionDeclarationManager::Lookup::const_iterator mAt;
    uint32 mIndex = 0; ///< in the name's list
};

} // namespace Tarq::Common::Reflection::Function
