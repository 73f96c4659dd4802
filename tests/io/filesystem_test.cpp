#include "common/io/filesystem.h"

#include "common/io/directoryexception.h"
#include "common/memory/memoryexception.h"

#include "tests/memory/ledgerallocator.h"
#include "tests/support/atend.h"
#include "tests/support/librarytest.h"
#include "tests/support/memoryfilesystem.h"
#include "tests/support/refusedcall.h"
#include "tests/support/streams.h"
#include "tests/support/workingdirectory.h"

#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Tarq::Common;
using namespace Tarq::Test;
using IO::FileStream;
using IO::FileStreamPtr;
using IO::FileSystem;
using enum FileStream::FileAccess;
using enum FileStream::FileMode;

namespace {

#ifdef SYS_mkdir
constexpr long cMakeDirectory = SYS_mkdir, cRemoveDirectory = SYS_rmdir;
#else
constexpr long cMakeDirectory = SYS_mkdirat, cRemoveDirectory = SYS_unlinkat;
#endif

/// Compiles only while a host may replace each of the operations.
struct HostsOwn : FileSystem {
    ~HostsOwn() override;
    bool canWrite() const override;
    FileStreamPtr createFileStream(const String&, FileStream::FileAccess, FileStream::FileMode) override;
    FileStreamPtr openFile(const String&) override;
    FileStreamPtr createNewFile(const String&) override;
    FileStreamPtr createTemporaryFile() override;
    FileStreamPtr appendFile(const String&) override;
    bool existsFile(const String&) override;
    void deleteFile(const String&) override;
    String getFileName(const String&) const override;
    String getFileNameWithoutExtension(const String&) const override;
    String getFileExtension(const String&) const override;
    String getFullPath(const String&) const override;
    String getDirectoryName(const String&) const override;
    void setCurrentWorkingDir(const String&) override;
    String getCurrentWorkingDir() const override;
    void createDirectory(const String&) override;
    void deleteDirectory(const String&, bool) override;
    bool existsDirectory(const String&) override;
};

} // namespace

TEST_CASE_FIXTURE(LibraryTest, "each factory opens in its own way, on its own allocator, and lets failures pass") {
    const std::string notFound = "FileNotFoundException: FileStream: File or path not found";
    const std::string exists =
        "FileExistException: FileStream: File has been opened with FMODE_CREATENEW but the file exists already";
    struct Case {
        FileStreamPtr (FileSystem::*open)(const String&);
        FileStream::FileAccess access;
        FileStream::FileMode mode;
        std::string onMissing, onExisting;
    };
    const Case cases[] = {
        {&FileSystem::openFile, FACCESS_READ, FMODE_OPEN, notFound, ""},
        {&FileSystem::createNewFile, FACCESS_READWRITE, FMODE_CREATENEW, "", exists},
        {&FileSystem::appendFile, FACCESS_READWRITE, FMODE_APPEND, notFound, ""},
    };
    const Memory::AllocatorPtr globalHeap;
    const std::unique_ptr<FileSystem> files(new (globalHeap) FileSystem);
    CHECK(files->canWrite());
    for (const Case& each : cases) {
        CAPTURE(each.mode);
        const TemporaryDirectory directory;
        directory.write("existing", "old");
        FileStreamPtr stream;
        const auto open = [&](std::string_view name) { stream = ((*files).*each.open)(directory / name); };
        CHECK(outcomeOf([&] { open("missing"); }) == each.onMissing);
        CHECK(outcomeOf([&] { open("existing"); }) == each.onExisting);
        CHECK(stream->getName() == directory / (each.onExisting.empty() ? "existing" : "missing"));
        CHECK((stream->getAccess() == each.access && stream->getMode() == each.mode));
        CHECK(stream->getAllocator() == files->getAllocator());
    }
    whereRefused({SYS_openat}, EIO, [&] {
        FileStreamPtr stream;
        CHECK(outcomeOf([&] { stream = files->createFileStream("a", FACCESS_READ, FMODE_OPEN); }) ==
              "common/io/filestream: retVal == 0\nError Message: Internal error: Unhandled error code from open()");
        CHECK((!stream.isEmpty() && stream->isClosed()));
    });
}

TEST_CASE_FIXTURE(LibraryTest, "a file is opened with the access and the mode that are asked for") {
    const WorkingDirectory directory;
    FileSystem files;
    for (const auto access : {FACCESS_READ, FACCESS_WRITE, FACCESS_READWRITE}) {
        for (const auto mode : {FMODE_CREATE, FMODE_OPEN, FMODE_OPENORCREATE, FMODE_APPEND}) {
            const FileStreamPtr stream = files.createFileStream("file", access, mode);
            CHECK((stream->getAccess() == access && stream->getMode() == mode));
        }
    }
    CHECK(outcomeOf([&] { files.createFileStream("file", FileStream::FileAccess{}, FMODE_OPEN); }) ==
          "ArgumentOutOfRangeException: FileStream: Unknown access mode [fAccess]");
}

TEST_CASE_FIXTURE(LibraryTest, "a temporary file is new, its owner's alone, and stays until it is deleted") {
    const AtEnd restore{[mask = umask(0)] { umask(mask); }};
    FileSystem files;
    const FileStreamPtr first = files.createTemporaryFile(), second = files.createTemporaryFile();
    CHECK(first->getName() != second->getName());
    for (const FileStreamPtr& stream : {first, second}) {
        CHECK((stream->getAccess() == FACCESS_READWRITE && stream->getMode() == FMODE_CREATE));
        stream->write("text", 4);
        stream->seek(1, FileStream::SORIGIN_BEGIN);
        CHECK(readText(*stream, 9) == "ext");
        const String name = stream->getName();
        struct stat status {};
        CHECK((stat(name.c_str(), &status) == 0 && (status.st_mode & 07777) == 0600));
        for (const std::string& descriptor : listDescriptors())
            CHECK((!descriptor.ends_with(name.c_str()) || fcntl(std::stoi(descriptor), F_GETFD) == FD_CLOEXEC));
        stream->close();
        CHECK(files.existsFile(name));
        files.deleteFile(name);
        CHECK_FALSE(files.existsFile(name));
    }
    whereRefused({SYS_openat}, EMFILE, [&] {
        CHECK(outcomeOf([&] { files.createTemporaryFile(); }) ==
              "IOException: FileStream: No more file descriptors available");
    });
}

TEST_CASE_FIXTURE(LibraryTest, "a file exists when it can be read, and what cannot be deleted stays without a word") {
    const WorkingDirectory directory;
    FileSystem files;
    directory.write("file", "");
    files.createDirectory("directory");
    REQUIRE(symlink("file", "link") == 0);
    REQUIRE(symlink("gone", "dangling") == 0);
    CHECK(files.existsFile("link"));
    for (const String& name : {String("directory"), String("missing"), String("file/x"), String("dangling"), String(),
                               String("file\0x", 6)}) {
        CAPTURE(name);
        CHECK_FALSE(files.existsFile(name));
        files.deleteFile(name);
    }
    CHECK(std::filesystem::is_directory("directory"));
    files.deleteFile("link");
    CHECK(files.existsFile("file"));
    whereRefused({SYS_openat}, EACCES, [&] { CHECK_FALSE(files.existsFile("file")); });
    files.deleteFile("file");
    CHECK_FALSE(files.existsFile("file"));
}

TEST_CASE_FIXTURE(LibraryTest, "directories are made one at a time, and only empty ones are removed") {
    const std::string malformed = "ArgumentException: FileSystem: Directory name is malformed [dirName]";
    const std::string exists = "DirectoryExistsException: FileSystem: Cannot create the directory, it already exists";
    const std::string notEmpty =
        "DirectoryNotEmptyException: FileSystem: Directory cannot be deleted because it is not empty";
    const std::string unknown = "common/io/filesystem: \nError Message: Unkown error code";
    const WorkingDirectory directory;
    directory.write("file", "");
    REQUIRE(symlink("loop", "loop") == 0);
    FileSystem files;
    const auto create = [&](const String& name) { return outcomeOf([&] { files.createDirectory(name); }); };
    const auto remove = [&](const String& name) { return outcomeOf([&] { files.deleteDirectory(name, true); }); };
    {
        const AtEnd restore{[mask = umask(0)] { umask(mask); }};
        CHECK(create("a") == "");
    }
    struct stat status {};
    CHECK((stat("a", &status) == 0 && (status.st_mode & 07777) == 0777));
    CHECK(create("a") == exists);
    CHECK(create("file") == exists);
    CHECK(create("a/b/") == "");
    CHECK(remove("a") == notEmpty);
    CHECK(catchThrown<IO::DirectoryException>([&] { files.createDirectory("a"); })->getDirectory() == "a");
    CHECK(catchThrown<IO::DirectoryException>([&] { files.deleteDirectory("a", false); })->getDirectory() == "a");
    CHECK(remove(String("a/b\0x", 5)) == malformed);
    CHECK(remove("a/b") == "");
    for (const std::string& name : {std::string(), std::string("no/x"), std::string("file/x"), std::string("loop/x"),
                                    std::string("x\0y", 3), std::string(256, 'x')}) {
        CAPTURE(name);
        CHECK(create(String(name)) == malformed);
        CHECK(remove(String(name)) == malformed);
    }
    CHECK(remove("file") == malformed);
    CHECK(remove("a/.") == malformed);

    const auto checkErrors = [&](long call, auto operation, std::initializer_list<int> errors,
                                 const std::string& outcome) {
        for (const int error : errors) {
            CAPTURE(error);
            whereRefused({call}, error, [&] { CHECK(operation("a") == outcome); });
        }
    };
    checkErrors(cMakeDirectory, create, {EACCES, EROFS, ENOSPC, EIO}, unknown);
    checkErrors(cMakeDirectory, create, {EINVAL}, malformed);
    checkErrors(cRemoveDirectory, remove, {EEXIST, ENOTEMPTY}, notEmpty);
    checkErrors(
        cRemoveDirectory, remove, {EACCES, EPERM, EROFS, EBUSY},
        "UnAuthorizedAccessException: FileSystem: Cannot delete directory because there is an opened file in the "
        "directory");
    checkErrors(cRemoveDirectory, remove, {EIO}, unknown);
    CHECK(remove("a") == "");
    for (const char* const name : {".", "a", ""})
        CHECK(outcomeOf([&] { CHECK_FALSE(files.existsDirectory(name)); }) ==
              "common/io/filesystem: \nError Message: not implemented");
}

TEST_CASE_FIXTURE(BareTest, "a file for which a block is missing is not left open; one with a given name is not made") {
    const WorkingDirectory directory;
    auto& ledger = *new LedgerAllocator(LedgerAllocator::EXHAUSTION_THROW);
    const Memory::AllocatorPtr host(&ledger);
    Library::init(host);
    for (const bool isTemporary : {false, true}) {
        CAPTURE(isTemporary);
        FileSystem files;
        FileStreamPtr stream;
        const String name(253, 'x'); // so long that a copy is a block of the host's
        int granted = 0;
        for (; stream.isEmpty(); ++granted) {
            const AssertionRecorder whatFreeListsReport;
            REQUIRE_FALSE(files.existsFile(name));
            ledger.mLeft = granted;
            try {
                stream = isTemporary ? files.createTemporaryFile() : files.createNewFile(name);
            } catch (Memory::OutOfMemoryException* exception) {
                delete exception;
            }
            ledger.mLeft = -1;
        }
        CHECK(granted > 1);
        files.deleteFile(stream->getName());
    }
    Library::close();
    CHECK(ledger.mOutstanding.empty());
}

TEST_CASE_FIXTURE(LibraryTest, "a host's own file system serves what it likes through the same calls") {
    MemoryFileSystem memory;
    memory.add("docs/a.xml", "contents");
    FileSystem& files = memory;
    CHECK_FALSE(files.canWrite());
    CHECK(files.existsFile("docs/./a.xml"));
    const FileStreamPtr stream = files.openFile("docs/../docs/a.xml");
    CHECK(stream->getName() == "docs/../docs/a.xml");
    CHECK(stream->getLength() == 8);
    CHECK(readText(*stream, 100) == "contents");
    CHECK(outcomeOf([&] { files.openFile("b.xml"); }) == "FileNotFoundException: there is no such file in the test");
    for (const auto operation : {&FileSystem::createNewFile, &FileSystem::appendFile})
        CHECK(outcomeOf([&] { (files.*operation)("docs/a.xml"); }) ==
              "NotSupportedException: the files of the test are only read");
    CHECK(memory.takeOpened() == Texts{"docs/../docs/a.xml", "b.xml", "docs/a.xml", "docs/a.xml"});
}
