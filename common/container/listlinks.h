#pragma once

namespace Tarq::Common::Container {

/// The two links of a ring of nodes. A lone one points at itself.
struct ListLinks {
    ListLinks() noexcept : next(this), previous(this) {}
    ListLinks(const ListLinks&) = delete;
    ListLinks& operator=(const ListLinks&) = delete;

    void linkBefore(ListLinks& position) noexcept {
        next = &position;
        previous = position.previous;
        previous->next = this;
        position.previous = this;
    }
    void unlink() noexcept {
        previous->next = next;
        next->previous = previous;
        next = previous = this;
    }
    /// Takes the place of `other` in its ring; `other` is alone then. This one is alone before.
    void takeChain(ListLinks& other) noexcept {
        if (other.next == &other)
            return;
        linkBefore(other);
        other.unlink();
    }

    ListLinks* next;
    ListLinks* previous;
};

} // namespace Tarq::Common::Container
