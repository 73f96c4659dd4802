#include "common/crypto/md5builder.h"

#include "common/exceptions/argumentexception.h"
#include "common/io/stream.h"
#include "common/memory/allocate.h"

#include <algorithm>
#include <memory>

// The three functions of the digest itself are what is wanted here: the newer interface that replaces them allocates
// on its own, outside of the library's allocators.
#define OPENSSL_SUPPRESS_DEPRECATED
#include <openssl/md5.h>

namespace Tarq::Common::Crypto {

struct MD5Builder::State {
    MD5_CTX context;
};

namespace {

constexpr uint32 cStreamBufferSize = 65535;

} // namespace

static_assert(sizeof(MD5Sum) == MD5_DIGEST_LENGTH);

MD5Builder::MD5Builder(const Memory::AllocatorPtr& allocator)
    : mAllocator(allocator), mState(static_cast<State*>(Memory::allocateBytes(mAllocator, sizeof(State)))) {
    std::construct_at(mState);
    reset();
}

MD5Builder::MD5Builder(const MD5Builder& other) : MD5Builder(other.mAllocator) {
    *mState = *other.mState;
}

MD5Builder::~MD5Builder() {
    Memory::releaseBytes(mAllocator, mState);
}

void MD5Builder::reset() {
    MD5_Init(&mState->context);
}

void MD5Builder::add(const void* data, unsigned int size) {
    MD5_Update(&mState->context, data, size);
}

bool MD5Builder::addStream(IO::Stream* stream, int64 length) {
    if (!stream)
        throw new Exceptions::ArgumentNullException("MD5Builder: The stream cannot be NULL.", "stream");
    const bool isToEnd = length < 0;
    const Memory::ScopedBytes buffer(mAllocator, cStreamBufferSize);
    uint64 left = static_cast<uint64>(length);
    while (isToEnd || left != 0) {
        const uint64 wanted = isToEnd ? cStreamBufferSize : std::min<uint64>(left, cStreamBufferSize);
        const uint64 count = std::min(stream->read(buffer.get(), wanted), wanted);
        if (count == 0)
            return isToEnd;
        add(buffer.get(), static_cast<unsigned int>(count));
        left -= count;
    }
    return true;
}

MD5Sum MD5Builder::computeSum() {
    MD5Sum sum;
    MD5_Final(sum.data(), &mState->context);
    return sum;
}

} // namespace Tarq::Common::Crypto
