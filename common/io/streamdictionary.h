#pragma once

#include "common/container/vector.h"
#include "common/memory/memorymanaged.h"
#include "common/string.h"

namespace Tarq::Common::IO {

class Stream;

/// Streams that are found by name: what those see of an archive who only use it.
///
/// Names are bytes; no two streams have the same one.
/// Threads: one at a time, the streams that were handed out included.
/// States: closed, then open as the class says how, then closed again. A closed dictionary answers every question. It
/// holds no stream after `close`; one whose medium was closed still knows which it held.
class TARQ_API StreamDictionary : public Memory::MemoryManaged {
public:
    /// Closes the dictionary. Nobody hears of a failure any more: it is logged.
    ~StreamDictionary() override;

    /// Whether streams can be read.
    virtual bool canRead() const = 0;
    /// Whether the streams that are handed out can be written.
    virtual bool canWrite() const = 0;
    virtual bool isClosed() const = 0;
    /// Whether there is no stream.
    virtual bool isEmpty() const = 0;
    /// Empty when closed.
    virtual const String& getName() const = 0;

    /// Copies the whole of `source`, from its start, into the dictionary. Returns false, with the reason in the log,
    /// and has not read anything, when it cannot take the stream.
    virtual bool addStream(Stream* source, const String& name) = 0;
    /// Returns whether there was such a stream, and is none any more.
    virtual bool removeStream(const String& name) = 0;
    /// The caller owns the stream. Null when there is none of that name.
    [[nodiscard]] virtual Stream* openStream(const String& name) = 0;
    virtual bool existsStream(const String& name) const = 0;
    /// Appends the name of every stream.
    virtual void getStreamNames(Container::Vector<String>& names) const = 0;
    /// Forgets every stream.
    virtual void clear() = 0;
    /// Completes what was changed and lets go of the medium. A closed dictionary is closed once more without effect.
    virtual void close() = 0;

protected:
    StreamDictionary() = default;
};

} // namespace Tarq::Common::IO
