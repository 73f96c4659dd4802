#include "common/debug/logmanager.h"

#include "common/exceptions/exception.h"
#include "common/platform/thread.h"

#include <algorithm>
#include <exception>

namespace Tarq::Common {

template class Singleton<Debug::LogManager>;

namespace Debug {

namespace {

constexpr uint32 cDeepestDelivery = 3;

} // namespace

LogListener::~LogListener() = default;

LogManager::LogManager()
    : mOwnReporter("LogManager", *this), mReporters(getAllocator()), mListeners(makeLists()),
      mLock(Threading::cSpinCount) {}

LogManager::~LogManager() {
    for (const auto& entry : mReporters)
        destroyReporter(entry.second);
}

LogReporter* LogManager::createLogReporter(const String& name) {
    const auto made = mReporters.try_emplace(name, nullptr);
    if (!made.second)
        return nullptr;
    void* memory = nullptr;
    try {
        memory = Memory::allocateBytes(getAllocator(), sizeof(LogReporter));
        made.first->second = ::new (memory) LogReporter(name, *this);
    } catch (...) {
        Memory::releaseBytes(getAllocator(), memory);
        mReporters.erase(made.first);
        throw;
    }
    return made.first->second;
}

void LogManager::removeLogReporter(LogReporter* reporter) {
    // By its address: a reporter that is not here may be gone, its name with it.
    const auto entry = std::find_if(mReporters.begin(), mReporters.end(),
                                    [reporter](const auto& each) { return each.second == reporter; });
    if (!reporter || entry == mReporters.end())
        return;
    mReporters.erase(entry);
    destroyReporter(reporter);
}

void LogManager::destroyReporter(LogReporter* reporter) noexcept {
    reporter->~LogReporter();
    Memory::releaseBytes(getAllocator(), reporter);
}

void LogManager::addListener(LogType types, LogListener* listener) {
    std::array<ListenerList, cLogTypeCount> room = makeLists();
    // Room is made outside of the lock, because the host's memory and assertions may be asked for it.
    while (!tryAddListener(types, listener, room)) {
        for (uint32 bit = 0; bit < cLogTypeCount; ++bit) {
            if ((types & (1u << bit)) != 0)
                room[bit].reserve(countListeners(bit) + 1);
        }
    }
}

bool LogManager::tryAddListener(LogType types, LogListener* listener,
                                std::array<ListenerList, cLogTypeCount>& room) noexcept {
    const Threading::ScopedLock inside(mLock);
    std::array<bool, cLogTypeCount> isNew{};
    for (uint32 bit = 0; bit < cLogTypeCount; ++bit) {
        const ListenerList& listeners = mListeners[bit];
        isNew[bit] =
            (types & (1u << bit)) != 0 && std::find(listeners.begin(), listeners.end(), listener) == listeners.end();
        if (isNew[bit] && listeners.size() == listeners.capacity() && listeners.size() >= room[bit].capacity())
            return false;
    }
    for (uint32 bit = 0; bit < cLogTypeCount; ++bit) {
        ListenerList& listeners = mListeners[bit];
        if (!isNew[bit])
            continue;
        if (listeners.size() == listeners.capacity()) {
            room[bit].assign(listeners.begin(), listeners.end());
            listeners.swap(room[bit]);
        }
        listeners.push_back(listener);
    }
    return true;
}

uint32 LogManager::countListeners(uint32 bit) noexcept {
    const Threading::ScopedLock inside(mLock);
    return mListeners[bit].size();
}

std::array<LogManager::ListenerList, cLogTypeCount> LogManager::makeLists() const {
    const auto make = [this]() { return ListenerList(getAllocator()); };
    return {make(), make(), make(), make(), make()};
}

void LogManager::removeListener(LogType types, LogListener* listener) {
    const Threading::ScopedLock inside(mLock);
    for (uint32 bit = 0; bit < cLogTypeCount; ++bit) {
        ListenerList& listeners = mListeners[bit];
        if ((types & (1u << bit)) != 0)
            std::replace(listeners.begin(), listeners.end(), listener, static_cast<LogListener*>(nullptr));
    }
    mHasGaps = true;
    if (mDepth == 0)
        closeGaps();
}

void LogManager::closeGaps() noexcept {
    for (ListenerList& listeners : mListeners)
        listeners.erase(std::remove(listeners.begin(), listeners.end(), nullptr), listeners.end());
    mHasGaps = false;
}

/// Counts a delivery for as long as it lasts. The outermost one closes the gaps that removals left.
class LogManager::Delivery {
public:
    explicit Delivery(LogManager& manager) noexcept : mManager(manager) { ++mManager.mDepth; }
    ~Delivery() {
        if (--mManager.mDepth == 0 && mManager.mHasGaps)
            mManager.closeGaps();
    }
    Delivery(const Delivery&) = delete;
    Delivery& operator=(const Delivery&) = delete;

private:
    LogManager& mManager;
};

void LogManager::deliver(const LogRecord& record) {
    const Threading::ScopedLock inside(mLock);
    if (mDepth == cDeepestDelivery)
        return;
    const Delivery delivery(*this);
    // Lists only get longer while a delivery lasts: what was there when it began is the front of each.
    std::array<uint32, cLogTypeCount> counts;
    std::transform(mListeners.begin(), mListeners.end(), counts.begin(),
                   [](const ListenerList& listeners) { return listeners.size(); });
    for (uint32 bit = 0; bit < cLogTypeCount; ++bit) {
        if ((record.mType & (1u << bit)) == 0)
            continue;
        for (uint32 at = 0; at < counts[bit]; ++at) {
            if (LogListener* const listener = mListeners[bit][at])
                call(*listener, record);
        }
    }
}

void LogManager::call(LogListener& listener, const LogRecord& record) {
    try {
        listener.onLog(record);
    } catch (Exceptions::Exception* exception) {
        const Exceptions::Holder holder(exception);
        TARQ_FAIL("A log listener has thrown an exception: ", exception->getMessage());
    } catch (const std::exception& exception) {
        TARQ_FAIL("A log listener has thrown an exception: ", exception.what());
    } catch (...) {
        Platform::resumeThreadEnd();
        TARQ_FAIL("A log listener has thrown something that is no exception");
    }
}

} // namespace Debug

} // namespace Tarq::Common
