#pragma once

#include "common/types.h"

#include <atomic>

namespace Tarq::Common::Debugger {

/// Says where the thread is held, from its construction to the end of its scope, whatever leaves that.
class HoldingID {
public:
    HoldingID(std::atomic<uint32>& place, uint32 id) noexcept : mPlace(place) {
        mPlace.store(id, std::memory_order_relaxed);
    }
    ~HoldingID() { mPlace.store(0xFFFFFFFF, std::memory_order_relaxed); }
    HoldingID(const HoldingID&) = delete;
    HoldingID& operator=(const HoldingID&) = delete;

private:
    std::atomic<uint32>& mPlace;
};

} // namespace Tarq::Common::Debugger
