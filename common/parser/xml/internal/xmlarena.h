#pragma once

#include "common/memory/allocatorptr.h"
#include "common/types.h"

#include <cstddef>
#include <string_view>

namespace Tarq::Common::Parser::XML {

/// Null stands for the empty text.
inline const char* orEmpty(const char* text) noexcept {
    return text ? text : "";
}

/// The memory of one tree: blocks of an allocator, handed out from front to back and given back all at once.
///
/// Nothing in it is destroyed, so only what needs no destructor is made here. An arena stands at the start of its own
/// first block, and never moves.
class XMLArena {
public:
    /// `expectedBytes` is a guess, which only decides how large the first block is. Throws `OutOfMemoryException`.
    static XMLArena* create(const Memory::AllocatorPtr& allocator, std::size_t expectedBytes);
    /// Gives everything back, the arenas that it adopted too. Null is ignored.
    static void destroy(XMLArena* arena) noexcept;

    const Memory::AllocatorPtr& getAllocator() const noexcept { return mAllocator; }

    /// Aligned for pointers. Throws `OutOfMemoryException`.
    void* allocate(std::size_t size) {
        size = roundUp(size);
        if (size > room()) [[unlikely]]
            return allocateFromNewBlock(size);
        char* const result = mAt;
        mAt += size;
        return result;
    }
    /// The text and a NUL; at least `cSmallestText` bytes are there to be read.
    static constexpr std::size_t cSmallestText = 8;
    char* copyText(std::string_view text);

    /// Where the next allocation begins, if there is room for it: something that grows there is made an allocation by
    /// `allocate`, of its full size, once that is known.
    char* top() const noexcept { return mAt; }
    std::size_t room() const noexcept { return static_cast<std::size_t>(mEnd - mAt); }
    /// Makes room for `size` bytes, and moves the first `used` ones of `top` there. Throws `OutOfMemoryException`.
    void makeRoom(std::size_t used, std::size_t size);

    /// From now on the other arena lives and dies with this one.
    void adopt(XMLArena* other) noexcept;

private:
    struct Block {
        Block* older;
    };

    static constexpr std::size_t cAlignment = alignof(void*);
    static constexpr std::size_t cSmallestBlock = 512;
    static constexpr std::size_t cLargestBlock = 65536;

    static constexpr std::size_t roundUp(std::size_t size) noexcept {
        return (size + cAlignment - 1) & ~(cAlignment - 1);
    }

    XMLArena(const Memory::AllocatorPtr& allocator, std::size_t blockSize) noexcept;
    ~XMLArena() = default;

    [[gnu::noinline]] void* allocateFromNewBlock(std::size_t size);
    char* takeBlock(std::size_t size);

    char* mAt;
    char* mEnd;
    Block* mBlocks = nullptr; ///< the youngest first; the one that this arena stands in is not among them
    std::size_t mBlockSize;   ///< of the last one
    Memory::AllocatorPtr mAllocator;
    XMLArena* mFirstAdopted = nullptr;
    XMLArena* mLastAdopted = nullptr;
    XMLArena* mNext = nullptr; ///< among those that were adopted together
};

} // namespace Tarq::Common::Parser::XML
