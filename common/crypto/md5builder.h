#pragma once

#include "common/crypto/md5sum.h"
#include "common/export.h"
#include "common/memory/allocatorptr.h"

namespace Tarq::Common::IO {
class Stream;
}

namespace Tarq::Common::Crypto {

/// Takes the MD5 digest of bytes that come piece by piece.
///
///     Crypto::MD5Builder builder(allocator);
///     builder.addStream(&file, -1);
///     const String digest = builder.computeSum().toString();
///
/// MD5 tells files apart; it does not protect them from somebody who wants two to look the same.
///
/// Threads: one at a time. Ownership: the state and the buffer come from the given allocator.
/// States: digesting, then finished by `computeSum`; only `reset` makes sense then.
class TARQ_API MD5Builder {
public:
    /// An empty pointer stands for the global heap. Throws `OutOfMemoryException`.
    explicit MD5Builder(const Memory::AllocatorPtr& allocator);
    /// Continues from where the other one is, on its own.
    MD5Builder(const MD5Builder& other);
    ~MD5Builder();
    MD5Builder& operator=(const MD5Builder&) = delete;

    /// Starts a new digest.
    void reset();
    /// `size` in bytes.
    void add(const void* data, unsigned int size);
    /// Adds the next `length` bytes of the stream, or all up to its end when `length` is negative.
    ///
    /// Returns false when the stream ends before `length` bytes; what it had is added then. What the stream throws
    /// passes on; what came before is added. Throws `ArgumentNullException` and `OutOfMemoryException`.
    bool addStream(IO::Stream* stream, int64 length);
    /// Finishes the digest.
    MD5Sum computeSum();

private:
    struct State;

    Memory::AllocatorPtr mAllocator;
    State* mState;
};

} // namespace Tarq::Common::Crypto
