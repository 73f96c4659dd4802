#pragma once

#include "common/container/stringlookup.h"
#include "common/container/vector.h"
#include "common/export.h"
#include "common/memory/memorymanaged.h"
#include "common/reflection/datatype/datatypebase.h"
#include "common/reflection/datatype/datatypeid.h"
#include "common/reflection/datatype/typeddatatype.h"
#include "common/string.h"

#include <type_traits>

namespace Tarq::Common::Reflection::Datatype {

template <class T>
class TARQ_LOCAL Datatype;
template <class T>
class TARQ_LOCAL NFDatatype;

using DatatypeManagerPtr = SharedPtr<DatatypeManager, SimpleReferenceCount, StandartObjectPolicy>;

TARQ_LOCAL bool registerDebuggerDatatypes(const DatatypeManagerPtr& manager);

/// The types that formulas, functions, variables and messages of a process speak in: finds them by name and by id.
///
///     const DatatypeManagerPtr manager(new (allocator) DatatypeManager);
///     ReflectionInterface::init(manager);
///     manager->registerNFDatatype<Colour>("Colour", Colour(), &parseColour);
///     manager->finishInitialization();
///
/// Ids count up from 0 in the order of registration and stay valid as long as the manager lives; types never go.
///
/// Ownership: owns the type objects. The code of a type belongs to the module that registered it first: that module
/// stays loaded as long as the manager lives. A module that registers types which others have made already may go.
/// Threads: registration belongs to one thread, while nobody uses the manager; after that it is only read, by any.
/// Loading a module that registers, and unloading it, count as registration.
/// Failures are assertions. Registration throws `OutOfMemoryException`, and then nothing is registered; so does what
/// makes a text, for its caller or for a report.
class TARQ_API DatatypeManager : public Memory::MemoryManaged {
public:
    DatatypeManager();
    ~DatatypeManager() override;

    /// Registers a fundamental type. Include "common/reflection/datatype/datatype.h" for this.
    ///
    /// `T` is named by the caller; the types of whole numbers that differ only in spelling are one type. What another
    /// module has registered under this name becomes known to this module; a parse function, unless null, takes the
    /// place of the one in use. Modules know a T of another by the compiler's name, so it is no class of a function or
    /// of an unnamed namespace.
    /// Asserts that this module has not registered T yet, returns the object there is otherwise; and that T and the
    /// name belong together, returns null otherwise. An object that was registered as another kind of type, fundamental
    /// or class, or with another size or alignment, is asserted as well, and null.
    template <class T>
    TARQ_LOCAL Datatype<NativeType<T>>* registerDatatype(const String& name,
                                                         const std::type_identity_t<T>& defaultValue,
                                                         ParseFunction<NativeType<T>> parseFunction);
    /// Registers a class type, with those of its operators that `DatatypeOperators` finds.
    template <class T>
    TARQ_LOCAL NFDatatype<NativeType<T>>* registerNFDatatype(const String& name,
                                                             const std::type_identity_t<T>& defaultValue,
                                                             ParseFunction<NativeType<T>> parseFunction);

    /// Whether the name is taken. Asserts that it is either free, or taken for the native type that compilers name so;
    /// and that the native type has no other name.
    bool checkExistance(String::Text name, String::Text typeName) const;
    /// `VOID_DATATYPE_ID` for "void" in any case; `INVALID_DATATYPE_ID` for a name that is not registered.
    DatatypeID getDatatypeID(String::Text name) const;
    /// Empty for an id that is not registered.
    String getDatatypeName(DatatypeID id) const;
    /// Null for the id of "void" and for one that is not registered.
    DatatypeBase* getDatatype(DatatypeID id) const noexcept {
        const uint32 index = GetIDWrapperValue(id);
        return index < mDatatypes.size() ? mDatatypes[index] : nullptr;
    }
    /// To be called when everything is registered: asserts that every id has its type.
    void finishInitialization() const;
    const Memory::AllocatorPtr& getMemoryAllocator() const noexcept { return getAllocator(); }

protected:
    Container::StringLookUp<DatatypeID> mNameMapping;
    Container::StringLookUp<DatatypeID> mTypeIDNameMapping; ///< by the compiler's name of the native type
    Container::Vector<DatatypeBase*> mDatatypes;

private:
    friend bool registerDebuggerDatatypes(const DatatypeManagerPtr& manager);

    struct Registration {
        DatatypeBase::Description description;
        InstanceSlot& slot;
        DatatypeBase::AnyFunction parseFunction;
        DatatypeBase* (*make)(const Memory::AllocatorPtr& allocator, const DatatypeBase::Description& description,
                              const void* defaultValue);
        const void* defaultValue;
    };
    template <class Object>
    TARQ_LOCAL Object* registerAs(const String& name, const typename Object::Native& defaultValue,
                                  ParseFunction<typename Object::Native> parseFunction);
    /// The object, or null when it is not of the registration's class.
    DatatypeBase* registerObject(Registration& registration);
    DatatypeBase* addObject(Registration& registration);
    /// Points a module's instance pointer, which is null, at the object that is registered under the name described.
    /// Asserts that it is there and of the type described; nothing happens otherwise.
    void bindInstance(InstanceSlot& slot, const DatatypeBase::Description& description);
};

} // namespace Tarq::Common::Reflection::Datatype
