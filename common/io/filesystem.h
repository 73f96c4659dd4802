#pragma once

#include "common/io/filestream.h"
#include "common/memory/memorymanaged.h"
#include "common/string.h"

namespace Tarq::Common::IO {

/// The files and directories of the machine, by name. A host derives its own to serve files from elsewhere: whoever
/// opens files by name takes a `FileSystem*`.
///
/// Paths: text as the system takes it; a relative one begins at the working directory, which is the process's. A name
/// with a NUL in it names nothing.
///
/// Parts of a path: told from the text alone, by rules that are the same on every machine. A letter and a colon in
/// front are the drive; "/" and "\" both separate; the directory reaches up to the last separator, the name up to the
/// last dot behind that. When one part is longer than it may be, all of them are empty.
///
/// Threads: any, several at once; the object has no state. Another thread may change the working directory, and with
/// it the meaning of every relative path.
/// Ownership: streams belong to whoever holds a pointer to them. They come from `getAllocator()`.
class TARQ_API FileSystem : public Memory::MemoryManaged {
public:
    /// The longest parts of a path that is split, in characters: the directory without its drive, the file name, and
    /// the extension with its dot. A drive is a letter and a colon.
    static constexpr uint32 cMaxPartLength = 255;
    /// The longest path that `getFullPath` returns, in characters.
    static constexpr uint32 cMaxFullPathLength = 259;
    /// The longest path that `getCurrentWorkingDir` returns, in characters.
    static constexpr uint32 cMaxWorkingDirLength = 1023;

    FileSystem();
    ~FileSystem() override;

    /// Whether files can be made and changed here: true.
    virtual bool canWrite() const;

    /// Opens a file. Throws what `FileStream::open` throws; a stream that it leaves closed, after an assertion, is
    /// returned like that.
    ///
    /// `openFile`, `createNewFile` and `appendFile` open through this one, and add nothing. A host that overrides it
    /// returns an open stream, or throws. The stream's class derives from `FileStream` and overrides each operation
    /// that its readers call: behind the others there is a file that is closed. Whatever else the host leaves as it is
    /// here works on the machine's files: `existsFile`, `deleteFile`, the directories, `createTemporaryFile`.
    virtual FileStreamPtr createFileStream(const String& fileName, FileStream::FileAccess access,
                                           FileStream::FileMode mode);
    /// `FACCESS_READ`, `FMODE_OPEN`
    virtual FileStreamPtr openFile(const String& fileName);
    /// `FACCESS_READWRITE`, `FMODE_CREATENEW`
    virtual FileStreamPtr createNewFile(const String& fileName);
    /// Makes a file with a name of its own, which the stream knows, where the system keeps temporary files; no
    /// environment variable changes that. Nobody but its owner may open it, and nothing removes it: the caller does,
    /// with `deleteFile`.
    ///
    /// `FACCESS_READWRITE`, `FMODE_CREATE`. Throws what `FileStream::open` throws.
    virtual FileStreamPtr createTemporaryFile();
    /// `FACCESS_READWRITE`, `FMODE_APPEND`; the file must exist.
    virtual FileStreamPtr appendFile(const String& fileName);

    /// Whether there is a file that can be opened to be read, as `FileStream::open` does it. A directory or a pipe is
    /// none, nor a file that another process keeps to itself.
    virtual bool existsFile(const String& fileName);
    /// Removes a file. What cannot be removed stays, without a word.
    virtual void deleteFile(const String& fileName);

    /// "level.xml" for "C:\data\level.xml"
    virtual String getFileName(const String& path) const;
    /// "level"; empty for a name that begins with its only dot.
    virtual String getFileNameWithoutExtension(const String& path) const;
    /// "xml"; empty for a name without a dot, or with one at its end.
    virtual String getFileExtension(const String& path) const;

    /// The absolute form of a path, which nothing has to exist for: "." and ".." are resolved as text, symbolic links
    /// are not; doubled separators become one, and one at the end stays. The empty path is the working directory.
    /// Unlike the parts of a path, it goes by the machine's own rules: "\" and "C:" may be characters like any others.
    ///
    /// Throws `ArgumentException` when it is too long, has a NUL, or when the working directory cannot be told.
    virtual String getFullPath(const String& path) const;

    /// "C:\data\": the drive, and the directory with its separator; empty for a bare name.
    virtual String getDirectoryName(const String& path) const;

    /// Changes the working directory of the whole process. The empty name changes nothing. Throws
    /// `DirectoryNotFoundException`, whatever the reason is.
    virtual void setCurrentWorkingDir(const String& dirName);
    /// Throws `IOException` when the directory is gone, or its path too long.
    virtual String getCurrentWorkingDir() const;

    /// Makes one directory; those on the way to it must exist.
    ///
    /// Throws `ArgumentException` when they do not, and for a name that no directory can have;
    /// `DirectoryExistsException`, also when a file has the name. Anything else, like a missing permission or a
    /// medium that is full or read-only, is asserted, and nothing is made.
    virtual void createDirectory(const String& dirName);
    /// Removes a directory if it is empty, whatever the flag says.
    ///
    /// Throws `ArgumentException` when there is no such directory, for a file and for ".";
    /// `UnAuthorizedAccessException` when permission is missing, the medium is read-only or the directory in use;
    /// `DirectoryNotEmptyException`. Anything else is asserted, and the directory stays.
    virtual void deleteDirectory(const String& dirName, bool withContents);
    /// Not available here: asserts and answers false. Open to a host's own file system.
    virtual bool existsDirectory(const String& dirName);
};

} // namespace Tarq::Common::IO
