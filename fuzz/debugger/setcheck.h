#pragma once

#include "fuzz/debugger/memorylayer.h"
#include "fuzz/debugger/world.h"
#include "fuzz/require.h"

#include <string>

namespace Tarq::Fuzz {

/// What a message that sets a variable may change: that variable, if it is answered so.
class SetCheck {
public:
    /// Before the message is handled.
    SetCheck(const Worlds& worlds, const std::string& message) : mWorlds(worlds) {
        Memory::MemoryStream stream("stream", 65535);
        stream.write(message.data(), message.size());
        Network::Message::MessageReader reader(&stream, true);
        uint32 type = 0;
        uint32 ids[3] = {};
        mIsSet = reader.read(type) && MessageID{type} == MessageID::SET_VARIABLE && reader.read(ids[0]) &&
                 reader.read(ids[1]) && reader.read(ids[2]);
        if (!mIsSet)
            return;
        find(ids[0], ids[1], ids[2]);
        Container::Vector<uint8> value{Memory::AllocatorPtr()};
        reader.read(value);
        mWanted.assign(value.begin(), value.end());
        mOthers = worlds.encode(mThing, mTag);
        mBefore = encodeVariable();
    }
    /// After it: whether a variable has changed.
    bool check(const MemoryLayer::Request& request, bool canSend) const {
        if (!mIsSet)
            return false;
        require(mWorlds.encode(mThing, mTag) == mOthers);
        const std::string after = encodeVariable();
        const bool isDone = request.isAnswered && request.code == 0;
        require(after == mBefore || (Variables::isWritable(mTag) && (isDone || !canSend)));
        if (isDone)
            require(mThing && Variables::isWritable(mTag) && (!isKeptAsSent() || after == mWanted));
        return after != mBefore;
    }

private:
    void find(uint32 moduleID, uint32 instanceID, uint32 variableID) {
        const Server::DataLock inside(Server::getDataMutex());
        mThing = mWorlds.find(moduleID, instanceID);
        const auto* const variable = mThing ? mThing->instance->getType()->findVariable(variableID) : nullptr;
        if (variable)
            mTag = variable->getType();
    }
    std::string encodeVariable() const { return mThing ? mThing->variables->encodeOne(mTag) : std::string(); }
    /// Truth values and wide characters have several forms that are read as the same.
    bool isKeptAsSent() const {
        const StreamIDs element = static_cast<StreamIDs>(mTag % 128);
        return element != Network::Message::STREAM_TYPE_BOOL && element != Network::Message::STREAM_TYPE_WSTRING;
    }

    const Worlds& mWorlds;
    bool mIsSet = false;
    Thing* mThing = nullptr;
    StreamIDs mTag = Variables::cNone;
    std::string mWanted;
    std::string mOthers;
    std::string mBefore;
};

} // namespace Tarq::Fuzz
