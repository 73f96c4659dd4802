#include "common/parser/xml/internal/xmlarena.h"

#include "common/memory/allocate.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

namespace Tarq::Common::Parser::XML {

XMLArena::XMLArena(const Memory::AllocatorPtr& allocator, std::size_t blockSize) noexcept
    : mAt(reinterpret_cast<char*>(this + 1)), mEnd(reinterpret_cast<char*>(this) + blockSize), mBlockSize(blockSize),
      mAllocator(allocator) {}

XMLArena* XMLArena::create(const Memory::AllocatorPtr& allocator, std::size_t expectedBytes) {
    const std::size_t size = roundUp(std::clamp(expectedBytes, cSmallestBlock, cLargestBlock));
    return ::new (Memory::allocateBytes(allocator, size)) XMLArena(allocator, size);
}

/// Counts on no stack: a tree may have adopted any number of others, one inside the other.
void XMLArena::destroy(XMLArena* arena) noexcept {
    while (arena) {
        if (arena->mLastAdopted) {
            arena->mLastAdopted->mNext = arena->mNext;
            arena->mNext = arena->mFirstAdopted;
        }
        XMLArena* const next = arena->mNext;
        const Memory::AllocatorPtr allocator = std::move(arena->mAllocator);
        for (Block* block = arena->mBlocks; block;)
            Memory::releaseBytes(allocator, std::exchange(block, block->older));
        arena->~XMLArena();
        Memory::releaseBytes(allocator, arena);
        arena = next;
    }
}

void XMLArena::adopt(XMLArena* other) noexcept {
    if (mLastAdopted)
        mLastAdopted->mNext = other;
    else
        mFirstAdopted = other;
    mLastAdopted = other;
}

char* XMLArena::takeBlock(std::size_t size) {
    Block* const block = ::new (Memory::allocateBytes(mAllocator, size)) Block{mBlocks};
    mBlocks = block;
    return reinterpret_cast<char*>(block + 1);
}

/// What is large gets a block of its own, so that little of the current one is lost.
void* XMLArena::allocateFromNewBlock(std::size_t size) {
    if (size > cLargestBlock / 4)
        return takeBlock(sizeof(Block) + size);
    makeRoom(0, size);
    return std::exchange(mAt, mAt + size);
}

void XMLArena::makeRoom(std::size_t used, std::size_t size) {
    const std::size_t usual = std::min(2 * mBlockSize, cLargestBlock);
    const std::size_t blockSize = std::max(usual, sizeof(Block) + roundUp(size));
    char* const begin = takeBlock(blockSize);
    std::memcpy(begin, mAt, used);
    mAt = begin;
    mEnd = begin - sizeof(Block) + blockSize;
    mBlockSize = usual;
}

char* XMLArena::copyText(std::string_view text) {
    char* const copy = static_cast<char*>(allocate(std::max<std::size_t>(text.size() + 1, cSmallestText)));
    text.copy(copy, text.size());
    copy[text.size()] = '\0';
    return copy;
}

} // namespace Tarq::Common::Parser::XML
