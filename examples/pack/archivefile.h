#pragma once

#include "pack/entrynames.h"
#include "support/errorreport.h"
#include "support/interrupt.h"

#include "common/io/filestream.h"
#include "common/io/packedstreamdictionary.h"

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

/// Archives in files, worked on with progress, and so that the user can stop in between.
namespace archivefile {

using namespace Tarq::Common;
using IO::FileStream;

/// A file on its way into an archive. Throws when it cannot be read to its end.
class Source : public FileStream {
public:
    Source(const std::filesystem::path& path, std::string_view name)
        : FileStream(path.c_str(), FACCESS_READ, FMODE_OPEN), mShownName(errorreport::printable(name)) {}

    uint64 read(void* dst, uint64 numBytes) override {
        interrupt::check();
        const uint64 count = FileStream::read(dst, numBytes);
        // Less than was asked for is the end of the file, or an error, which only the next read tells.
        char more;
        if (count != 0 && count < numBytes && FileStream::read(&more, sizeof(more)) != 0)
            throw std::runtime_error("the file grows while it is read");
        errorreport::throwIfReported();
        errorreport::progress.advance(count, mShownName);
        return count;
    }

private:
    std::string mShownName;
};

/// Puts the bytes of one file into another.
inline void copy(const std::filesystem::path& from, const std::filesystem::path& to) {
    Source source(from, from.string());
    FileStream file(to.c_str(), FileStream::FACCESS_WRITE, FileStream::FMODE_OPEN);
    std::vector<char> buffer(std::size_t{1} << 20);
    while (const uint64 count = source.read(buffer.data(), buffer.size()))
        file.write(buffer.data(), count);
}

/// An archive in a file. Its streams are read one at a time here, and in large pieces.
class Archive {
public:
    /// An empty file becomes an archive, unless it is only to be read. The log says why it is not open.
    Archive(const std::filesystem::path& path, FileStream::FileAccess access)
        : mFile(path.c_str(), access, FileStream::FMODE_OPEN) {
        if (access == FileStream::FACCESS_READ && mFile.getLength() == 0)
            throw std::runtime_error("the file is empty");
        mIsOpen = mDictionary.open(&mFile, false);
    }

    bool isOpen() const { return mIsOpen; }
    uint64 size() const { return mFile.getLength(); }
    std::vector<std::string> names() const {
        Container::Vector<String> names(Library::getTempAlloc());
        mDictionary.getStreamNames(names);
        return {names.begin(), names.end()};
    }
    bool has(const std::string& name) const { return mDictionary.existsStream(String(name)); }
    std::unique_ptr<IO::Stream> open(const std::string& name) {
        return std::unique_ptr<IO::Stream>(mDictionary.openStream(String(name)));
    }

    /// Adds the files, completes the archive and has it on the medium. It is lost when anything goes wrong.
    void add(const entrynames::Files& files) {
        for (const auto& [name, path] : files) {
            const bool isAdded = errorreport::guarded(path.string(), [this, &name = name, &path = path] {
                Source source(path, name);
                mDictionary.addStream(&source, String(name));
            });
            if (!isAdded) {
                // A table that nobody needs takes no room then.
                mDictionary.clear();
                throw errorreport::Reported();
            }
        }
        mDictionary.close();
        errorreport::progress.finish("waiting for the disk");
        mFile.flush();
        mFile.close();
    }

private:
    FileStream mFile;
    IO::PackedStreamDictionary mDictionary{true, 0};
    bool mIsOpen;
};

/// Calls `use` with one piece of the entry after the other.
template <class Use>
void forEachPiece(Archive& archive, const std::string& name, Use use) {
    const std::unique_ptr<IO::Stream> stream = archive.open(name);
    const std::string shownName = errorreport::printable(name);
    std::vector<char> buffer(static_cast<std::size_t>(std::min<uint64>(stream->getLength(), 65536)));
    interrupt::check();
    for (uint64 left = stream->getLength(); left != 0;) {
        interrupt::check();
        const uint64 count = stream->read(buffer.data(), buffer.size());
        errorreport::throwIfReported();
        if (count == 0)
            throw std::runtime_error("its last " + std::to_string(left) + " bytes cannot be read");
        use(buffer.data(), static_cast<uint32>(count));
        errorreport::progress.advance(count, shownName);
        left -= count;
        errorreport::throwIfReported();
    }
}

} // namespace archivefile
