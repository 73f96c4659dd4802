#pragma once

#include "common/types.h"

namespace Tarq::Common::Debug {

/// Counts a call inside of itself, for as long as it lasts: whatever a host's object that is called does, it is not
/// called inside of itself without end.
class NestingGuard {
public:
    explicit NestingGuard(uint32& depth) noexcept : mDepth(depth) { ++mDepth; }
    ~NestingGuard() { --mDepth; }
    NestingGuard(const NestingGuard&) = delete;
    NestingGuard& operator=(const NestingGuard&) = delete;

private:
    uint32& mDepth;
};

} // namespace Tarq::Common::Debug
