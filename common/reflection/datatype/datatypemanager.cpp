#include "common/reflection/datatype/datatypemanager.h"

#include "common/debug/assert.h"

#include <algorithm>

namespace Tarq::Common::Reflection::Datatype {

namespace {

bool isVoid(String::Text name) noexcept {
    return std::ranges::equal(name, std::string_view("void"), {}, CharacterTraits<char>::toLower);
}

} // namespace

DatatypeManager::DatatypeManager()
    : mNameMapping(getAllocator()), mTypeIDNameMapping(getAllocator()), mDatatypes(getAllocator()) {}

DatatypeManager::~DatatypeManager() {
    for (DatatypeBase* const datatype : mDatatypes)
        delete datatype;
    mNameMapping.clear();
    mTypeIDNameMapping.clear();
}

bool DatatypeManager::checkExistance(String::Text name, String::Text typeName) const {
    const auto nameIter = mNameMapping.find(name);
    const auto typeIDIter = mTypeIDNameMapping.find(typeName);
    if (nameIter == mNameMapping.end()) {
        TARQ_ASSERT(typeIDIter == mTypeIDNameMapping.end(), "datatype: ", typeName,
                    " already registered with the name: ", getDatatypeName(typeIDIter->second));
        return false;
    }
    if (!TARQ_ASSERT(typeIDIter != mTypeIDNameMapping.end(), "datatype: ", typeName,
                     " cannot have the name of another type: ", name))
        return true;
    TARQ_ASSERT(nameIter->second == typeIDIter->second, "datatype: ", typeName,
                " already registered with the name: ", getDatatypeName(typeIDIter->second), " instead of: ", name);
    return true;
}

DatatypeID DatatypeManager::getDatatypeID(String::Text name) const {
    const auto found = mNameMapping.find(name);
    if (found != mNameMapping.end())
        return found->second;
    return isVoid(name) ? VOID_DATATYPE_ID : INVALID_DATATYPE_ID;
}

String DatatypeManager::getDatatypeName(DatatypeID id) const {
    if (id == VOID_DATATYPE_ID)
        return "void";
    if (GetIDWrapperValue(id) >= mDatatypes.size())
        return String();
    const auto found = std::ranges::find_if(mNameMapping, [id](const auto& entry) { return entry.second == id; });
    if (!TARQ_ASSERT(found != mNameMapping.end(), "cannot find datatypename - internal error - please report"))
        return String();
    return found->first;
}

void DatatypeManager::finishInitialization() const {
    String missing;
    for (uint32 index = 0; index < mDatatypes.size(); ++index) {
        if (!mDatatypes[index])
            missing += getDatatypeName(DatatypeID(index)) + '\n';
    }
    // Tools see this text, "/n" included; do not correct it.
    TARQ_ASSERT(missing.empty(), "the following datatypes are not registered and will cause errors:/n", missing);
}

void DatatypeManager::bindInstance(InstanceSlot& slot, const DatatypeBase::Description& description) {
    DatatypeBase* const datatype = getDatatype(getDatatypeID(description.name));
    if (TARQ_ASSERT(datatype && datatype->isOf(description), "datatype: ", description.typeName,
                    " is not registered with the name: ", description.name))
        datatype->addInstance(slot, nullptr);
}

DatatypeBase* DatatypeManager::registerObject(Registration& registration) {
    const DatatypeBase::Description& description = registration.description;
    const auto ifOfKind = [&description](DatatypeBase* datatype) -> DatatypeBase* {
        // That the name belongs to another native type has been reported.
        if (!datatype || datatype->mTypeName != description.typeName)
            return nullptr;
        return TARQ_ASSERT(datatype->isOf(description), "datatype: ", description.typeName,
                           " is registered as another kind of type: ", datatype->mName)
                   ? datatype
                   : nullptr;
    };
    if (DatatypeBase* const known = registration.slot.datatype) {
        TARQ_FAIL("try to register DataType \"", description.name, "\" but exists already with name \"", known->mName,
                  "\" !");
        return ifOfKind(known);
    }
    if (!checkExistance(description.name, description.typeName))
        return addObject(registration);
    DatatypeBase* const other = ifOfKind(getDatatype(getDatatypeID(description.name)));
    if (other)
        other->addInstance(registration.slot, registration.parseFunction);
    return other;
}

DatatypeBase* DatatypeManager::addObject(Registration& registration) {
    DatatypeBase::Description& description = registration.description;
    description.id = DatatypeID(mDatatypes.size());
    mDatatypes.push_back(nullptr);
    try {
        mDatatypes.back() = registration.make(getAllocator(), description, registration.defaultValue);
        mDatatypes.back()->addInstance(registration.slot, registration.parseFunction);
        mNameMapping.insert(description.name, description.id);
        mTypeIDNameMapping.insert_or_assign(String(description.typeName), description.id);
    } catch (...) {
        mNameMapping.erase(description.name);
        delete mDatatypes.back();
        mDatatypes.pop_back();
        throw;
    }
    return mDatatypes.back();
}

} // namespace Tarq::Common::Reflection::Datatype
