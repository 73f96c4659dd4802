#pragma once

#include "common/exceptions/notsupportedexception.h"
#include "common/io/filesystem.h"
#include "common/io/ioexception.h"
#include "common/library.h"
#include "common/memory/memorystream.h"

#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Tarq::Test {

/// Any stream in the place of a file: what a host's own file system hands out. It cannot be opened once more.
class ServedFile : public Common::IO::FileStream {
public:
    ServedFile(Common::String fileName, Common::IO::StreamPtr stream)
        : mFileName(std::move(fileName)), mStream(std::move(stream)) {}

    bool canRead() const override { return mStream->canRead(); }
    bool canWrite() const override { return false; }
    bool canSeek() const override { return mStream->canSeek(); }
    bool isClosed() const override { return mStream->isClosed(); }
    Common::uint64 getLength() const override { return mStream->getLength(); }
    Common::uint64 getPosition() const override { return mStream->getPosition(); }
    const Common::String& getName() const override { return mFileName; }
    Common::uint64 read(void* dst, Common::uint64 numBytes) override { return mStream->read(dst, numBytes); }
    void write(const void*, Common::uint64) override { refuse(); }
    Common::uint64 seek(Common::int64 offset, SeekOrigin origin) override { return mStream->seek(offset, origin); }
    void flush() override { mStream->flush(); }
    void close() override { mStream->close(); }
    void open(const Common::String&, FileAccess, FileMode) override { refuse(); }

private:
    [[noreturn]] static void refuse() {
        throw new Common::Exceptions::NotSupportedException("the files of the test are only read");
    }

    Common::String mFileName;
    Common::IO::StreamPtr mStream;
};

/// A host's own file system: its files lie in memory and are only read. Names are taken as full paths, so that "a.xml"
/// and "./a.xml" are one file.
class MemoryFileSystem : public Common::IO::FileSystem {
public:
    void add(std::string_view fileName, std::string contents) {
        mFiles[keyOf(Common::String(fileName))] = std::move(contents);
    }
    /// The names that were asked for since the last time, as they were given, missing files too.
    std::vector<std::string> takeOpened() { return std::exchange(mOpened, {}); }

    bool canWrite() const override { return false; }
    bool existsFile(const Common::String& fileName) override { return mFiles.contains(keyOf(fileName)); }
    Common::IO::FileStreamPtr createFileStream(const Common::String& fileName,
                                               Common::IO::FileStream::FileAccess access,
                                               Common::IO::FileStream::FileMode mode) override {
        using Common::IO::FileStream;
        mOpened.emplace_back(fileName.c_str());
        if (access != FileStream::FACCESS_READ || mode != FileStream::FMODE_OPEN)
            throw new Common::Exceptions::NotSupportedException("the files of the test are only read");
        const auto found = mFiles.find(keyOf(fileName));
        if (found == mFiles.end())
            throw new Common::IO::FileNotFoundException("there is no such file in the test", fileName,
                                                        getFullPath(fileName));
        const std::string& contents = found->second;
        // One block, so that a reader that wants it all at once gets it.
        const auto blockSize = static_cast<Common::uint32>(contents.empty() ? 1 : contents.size());
        Common::IO::StreamPtr stream(new (getAllocator()) Common::Memory::MemoryStream(fileName, blockSize));
        stream->write(contents.data(), contents.size());
        stream->seek(0, Common::IO::Stream::SORIGIN_BEGIN);
        return Common::IO::FileStreamPtr(new (getAllocator()) ServedFile(fileName, stream));
    }

private:
    std::string keyOf(const Common::String& fileName) const { return getFullPath(fileName).c_str(); }

    std::map<std::string, std::string> mFiles;
    std::vector<std::string> mOpened;
};

} // namespace Tarq::Test
