#pragma once

#include "common/memory/allocatorptr.h"

#include <cstddef>

/// Blocks for objects that remember the allocator that holds them.
///
/// The record stands in front of the object, not in it: what an `operator new` writes into the bytes of the object to
/// come is dead for the optimiser, because the constructor starts the object's life with bytes of no value.
namespace Tarq::Common::Memory {

/// Takes bytes for an object from `allocator` (the global heap when empty) and records it. Throws
/// `OutOfMemoryException`.
void* newManagedBlock(std::size_t size, const AllocatorPtr& allocator);

/// The same, for an object whose base class asks for the allocator with `claimManagedBlock`. The thread that took the
/// block is the one that claims it, or deletes it when the constructor does not come.
void* newClaimableBlock(std::size_t size, const AllocatorPtr& allocator);

/// Gives the bytes of an object, which is destroyed already or was never made, back to the recorded allocator.
void deleteManagedBlock(void* object) noexcept;

/// Returns the recorded allocator of the block around `object`, if its constructor runs inside a claimable block that
/// this thread took and no constructor has asked for yet; null for an object anywhere else (on the stack, inside
/// another one).
///
/// Asked once for each block: the base class of what is made there asks first.
const AllocatorPtr* claimManagedBlock(const void* object) noexcept;

} // namespace Tarq::Common::Memory
