#pragma once

#include "support/errorreport.h"

#include "common/io/filestream.h"

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <system_error>

/// Makes an empty file with the permissions that files have, where nothing is yet, not even a link.
inline void makeFile(const std::filesystem::path& path) {
    std::FILE* const file = std::fopen(path.string().c_str(), "wbx");
    const std::error_code error(errno, std::generic_category());
    if (!file)
        throw std::runtime_error(error == std::errc::file_exists ? "there is something of that name already"
                                                                 : "the file cannot be made: " + error.message());
    std::fclose(file);
}

/// A file in the making. While it grows it has a name of its own, and takes its place when it is complete: whatever
/// goes wrong before leaves what is there, and nothing else.
class NewFile {
public:
    /// The place is that of the file `path`, or of the one that a link of this name leads to. The new one has its
    /// permissions, and grows beside it: only one at a time, since the name is `path` with ".part" behind it.
    explicit NewFile(const std::filesystem::path& path) : NewFile(placeOf(path), placeOf(path).concat(".part")) {
        if (std::filesystem::exists(mPlace))
            std::filesystem::permissions(mPath, std::filesystem::status(mPlace).permissions());
    }
    /// The file grows at `path`, where nothing is yet.
    NewFile(const std::filesystem::path& place, const std::filesystem::path& path) : mPlace(place), mPath(path) {
        if (!errorreport::guarded(path.string(), [&path] { makeFile(path); }))
            throw errorreport::Reported();
    }
    ~NewFile() {
        std::error_code ignored;
        if (!mIsComplete)
            std::filesystem::remove(mPath, ignored);
    }
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;

    /// Where it is for now.
    const std::filesystem::path& path() const { return mPath; }

    /// Call it when nobody writes to the file any more. It takes no place when an error was reported on the way.
    void complete() {
        errorreport::throwIfReported();
        if (mPath != mPlace)
            std::filesystem::rename(mPath, mPlace);
        mIsComplete = true;
    }

private:
    static std::filesystem::path placeOf(const std::filesystem::path& path) {
        using Tarq::Common::IO::FileStream;
        if (!std::filesystem::exists(path))
            return path;
        if (!std::filesystem::is_regular_file(path))
            throw std::runtime_error("this is no file that could be replaced");
        // Who may not write a file does not replace it either.
        const FileStream writable(path.c_str(), FileStream::FACCESS_READWRITE, FileStream::FMODE_OPEN);
        return std::filesystem::canonical(path);
    }

    std::filesystem::path mPlace;
    std::filesystem::path mPath;
    bool mIsComplete = false;
};

/// A name in the directory that nothing has.
inline std::filesystem::path unusedName(const std::filesystem::path& directory) {
    for (unsigned number = 0;; ++number) {
        std::filesystem::path path = directory / (".unfinished-" + std::to_string(number));
        if (!std::filesystem::exists(std::filesystem::symlink_status(path)))
            return path;
    }
}
