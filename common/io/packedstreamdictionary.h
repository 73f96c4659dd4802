#pragma once

#include "common/container/stringlookup.h"
#include "common/io/stream.h"
#include "common/io/streamdictionary.h"

namespace Tarq::Common::IO {

/// The longest name of a stream in a packed dictionary, in bytes.
inline constexpr uint32 TARQ_PACKED_DICT_MAXNAMELENGTH = 4096;

/// An archive: any number of named streams, packed into one stream. Each is handed back as a read-only stream of its
/// own. New ones are appended; the table of names is written behind them when the dictionary is closed.
///
///     IO::PackedStreamDictionary archive;
///     archive.open(&file, true);
///     archive.addStream(&texture, "textures/wall.dds");
///     archive.close();
///
/// Refusals are logged as errors, with the reason. What the underlying stream or a source throws passes on.
///
/// Ownership: the underlying stream belongs to the caller. It outlives the dictionary and the streams that were handed
/// out, which do not need the dictionary any more.
/// Bytes, with all numbers big-endian and all positions counted in the underlying stream:
///   header   0x11, uint32 version 1, uint64 position of the table, uint64 end of the data; at the position that the
///            underlying stream has when the dictionary is opened. Both positions are 0 until the first `close`.
///   data     of the streams, in the order in which they were added
///   table    uint32 number of entries; of each, by name: uint32 length of the name, the name, uint64 start and end
/// Between an addition and `close` the header still shows where the table was, which may be overwritten: what is not
/// closed cannot be read. Contents carry no checksum.
class TARQ_API PackedStreamDictionary : public StreamDictionary {
public:
    /// For streams that are read in turn, with buffers of 8192 bytes.
    PackedStreamDictionary();
    /// `exclusive` promises that only one of the streams that were handed out is read at a time, and that nobody else
    /// moves the underlying stream then; closing the dictionary moves it. In return, nothing seeks before every read.
    ///
    /// Streams get a buffer of `bufferSize` bytes; none when that is 0 or less.
    PackedStreamDictionary(bool exclusive, int32 bufferSize);
    ~PackedStreamDictionary() override;

    /// Closes the dictionary, then opens it over the stream, at the position that this has when `open` is called: the
    /// archive that is there; or a new one when that is wanted, or when the stream is empty. Returns false, and is
    /// closed, when that cannot be done.
    ///
    /// A new archive is written over what is there; the stream keeps its length, and the bytes behind the archive.
    /// The stream must be readable and seekable, and writable for a new archive. An archive is not trusted: one whose
    /// table or entries are not where they can be, or share a name, is refused. Asserts that the stream is not null,
    /// and that header and table can be read to their ends; returns false otherwise.
    bool open(Stream* underlyingStream, bool createNew);

    bool canRead() const override;
    /// False.
    bool canWrite() const override;
    /// Also true when the underlying stream was closed.
    bool isClosed() const override;
    bool isEmpty() const override;
    /// The underlying stream's name, as it was when the dictionary was opened.
    const String& getName() const override;

    /// Refuses when the underlying stream cannot be written or is itself the source, and a name that is too long or
    /// there already. Asserts that the source is not null, and leaves it at its end.
    ///
    /// The source may be one of this dictionary's streams. Nothing else may read the bytes of the underlying stream:
    /// not a stream around it, nor another one over the same file, which becomes longer with all that is read from it.
    ///
    /// When reading or writing throws, the stream is not added; `close` still completes the archive.
    bool addStream(Stream* source, const String& name) override;
    /// Asserts that nobody calls it, and returns false: there is no way to use the room again. Copy what is to stay
    /// into a new archive.
    bool removeStream(const String& name) override;
    Stream* openStream(const String& name) override;
    bool existsStream(const String& name) const override;
    /// In the order of the names' bytes.
    void getStreamNames(Container::Vector<String>& names) const override;
    /// The next stream that is added, or the table, overwrites the data of the first one: streams that were handed out
    /// read other bytes then.
    void clear() override;
    /// Writes the table, if anything was changed. The underlying stream stays open; it is let go of also when writing
    /// fails.
    void close() override;

private:
    struct Entry {
        uint64 start;
        uint64 end; ///< behind the last byte
    };

    using Index = Container::StringLookUp<Entry>;

    bool attach(bool createNew);
    bool readHeader(uint64 length);
    bool readTable(uint64 length);
    bool isBehindHeader(uint64 position) const noexcept;
    void makeShortCuts();
    const Index::value_type* find(const String& name) const;
    void writeHeader();
    void writeTable();
    uint64 appendBytes(Stream& source);
    uint64 writeAt(uint64 start, const void* bytes, uint64 count);
    void detach() noexcept;

    Stream* mStream = nullptr; ///< null when closed
    String mName;
    Index mIndex;
    /// The entries that were there when the archive was opened, at places that the hashes of their names lead to.
    Container::Vector<const Index::value_type*> mShortCuts;
    uint64 mDataEnd = 0; ///< where the next stream's bytes go, then the table
    uint64 mBase = 0;    ///< where the header is
    bool mIsModified = false;
    int32 mBufferSize;
    bool mIsExclusive;
};

} // namespace Tarq::Common::IO
