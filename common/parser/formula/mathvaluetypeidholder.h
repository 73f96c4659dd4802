#pragma once

#include "common/export.h"
#include "common/types.h"

#include <atomic>

namespace Tarq::Common::Parser::Formula {

/// Hands out the numbers by which nodes know that they are of one class: 0, 1, 2 and so on, in the order in which they
/// are first asked for. Threads: any.
class TARQ_API MathValueTypeIDHolder {
public:
    static uint32 getNewID() noexcept;

    /// The number of a class. Each module draws one of its own: nodes of a class that two modules make are not equal.
    template <class Node>
    TARQ_LOCAL static uint32 getIDOf() noexcept {
        const uint32 id = Number<Node>::sID.load(std::memory_order_relaxed);
        return id != cNotNumbered ? id : number(Number<Node>::sID);
    }

private:
    static constexpr uint32 cNotNumbered = 0xFFFFFFFF;

    /// Hidden, so that it does not keep a module loaded.
    template <class Node>
    struct TARQ_LOCAL Number {
        static inline constinit std::atomic<uint32> sID{cNotNumbered};
    };

    /// Draws the number, unless another thread has done so.
    static uint32 number(std::atomic<uint32>& id) noexcept;
};

} // namespace Tarq::Common::Parser::Formula
