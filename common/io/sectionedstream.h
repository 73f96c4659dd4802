#pragma once

#include "common/io/stream.h"

namespace Tarq::Common::IO {

/// Shows a range of another stream as a read-only stream of its own.
///
/// Several sections of one stream may be read in turn on one thread: each seeks before it reads. A section that is told
/// to be the exclusive user of the stream seeks only when it does not know where that stands.
///
/// What the stream below throws passes on unchanged, and the position stays. The range may lie beyond the end of the
/// stream below; reads are as short as that makes them then.
///
/// Ownership: the stream below is not owned and lives longer.
/// States: attached, then detached by `close`; the stream below stays open. Length, position and name are always there.
class TARQ_API SectionedStream : public Stream {
public:
    /// The section are the bytes from `start` to the one before `end`, counted in `stream`; the position is at `start`.
    /// A null stream makes a detached section.
    ///
    /// Asserts that `start` is not behind `end`, and `end` within what a seek can reach; the section is empty
    /// otherwise.
    SectionedStream(const String& name, Stream* stream, uint64 start, uint64 end, bool isExclusive);
    ~SectionedStream() override;

    /// The stream below's answer; false when detached.
    bool canRead() const override;
    /// False.
    bool canWrite() const override;
    /// The stream below's answer; false when detached.
    bool canSeek() const override;
    bool isClosed() const override;
    uint64 getLength() const override;
    uint64 getPosition() const override;
    const String& getName() const override;

    /// Moves at most 4 GiB - 1 bytes. Asserts that the section is attached; otherwise reads nothing and returns 0.
    uint64 read(void* dst, uint64 numBytes) override;
    /// Asserts, and writes nothing: other streams that cannot be written throw.
    void write(const void* src, uint64 numBytes) override;
    /// Throws `ArgumentOutOfRangeException` for a target outside the section, whose end belongs to it, and for an
    /// unknown origin.
    uint64 seek(int64 offset, SeekOrigin origin) override;
    /// Does nothing.
    void flush() override;
    void close() override;

private:
    String mName;
    Stream* mFullStream; ///< null when detached
    uint64 mStart;
    uint64 mEnd;
    uint64 mPosition; ///< counted in the stream below
    bool mIsExclusive;
    bool mIsInPlace = false; ///< the stream below was at the position when this section last used it
};

} // namespace Tarq::Common::IO
