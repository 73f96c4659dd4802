#include "common/io/filesystem.h"

#include "common/io/directoryexception.h"
#include "common/memory/memoryexception.h"

#include "tests/memory/ledgerallocator.h"
#include "tests/support/atend.h"
#include "tests/support/librarytest.h"
#include "tests/support/memoryfilesystem.h"
#include "tests/support/refusedcall.h"
#include "tests/support/streams.h"
#include "tests/support/temporarydirectory.h"

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

/// A directory that is the working directory until the end of the scope.
class WorkingDirectory : public TemporaryDirectory {
public:
    WorkingDirectory() { std::filesystem::current_path(path()); }
    ~WorkingDirectory() { std::filesystem::current_path(mPrevious); }

private:
    std::filesystem::path mPrevious = std::filesystem::current_path();
};

std::string text(std::size_t length) {
    return std::string(length, 'x');
}

} // namespace

TEST_CASE_FIXTURE(LibraryTest, "a path is split by the same rules on every machine") {
    const std::string longest = text(255), longExtension = "." + text(254);
    const std::pair<std::string, std::string> cases[] = {
        // What belongs to the path: directory, file name, file name without extension, extension.
        {"C:\\data\\level.xml", "C:\\data\\, level.xml, level, xml"},
        {"archive.tar.gz", ", archive.tar.gz, archive.tar, gz"},
        {"a\\b/c.d\\e", "a\\b/c.d\\, e, e, "},
        {"z:name.x", "z:, name.x, name, x"},
        {"Z:/", "Z:/, , , "},
        {"c:", "c:, , , "},
        {"@:a", ", @:a, @:a, "},
        {"[:a", ", [:a, [:a, "},
        {"ab:c", ", ab:c, ab:c, "},
        {"", ", , , "},
        {".hidden", ", .hidden, , hidden"},
        {"end.", ", end., end, "},
        {"../.", "../, ., , "},
        {std::string("a\0/b\0.c", 7), std::string("a\0/, b\0.c, b\0, c", 16)},
        {"c:" + text(254) + "/" + longest + longExtension,
         "c:" + text(254) + "/, " + longest + longExtension + ", " + longest + ", " + text(254)},
        {"c:" + longest + "/a.b", ", , , "},
        {"c:/x" + longest + ".b", ", , , "},
        {"c:/a.x" + text(254), ", , , "},
    };
    const FileSystem files;
    for (const auto& each : cases) {
        CAPTURE(each.first);
        const String path(each.first);
        CHECK(files.getDirectoryName(path) + ", " + files.getFileName(path) + ", " +
                  files.getFileNameWithoutExtension(path) + ", " + files.getFileExtension(path) ==
              each.second);
    }
}

TEST_CASE_FIXTURE(LibraryTest, "a full path is made from the text alone, up to 259 characters of it") {
    const WorkingDirectory directory;
    const std::string here = std::filesystem::current_path();
    const FileSystem files;
    const auto fullPathOf = [&](const std::string& path) { return std::string(files.getFullPath(String(path))); };
    CHECK(fullPathOf("missing/./a/../b.xml") == here + "/missing/b.xml");
    CHECK(fullPathOf("/a//b/../../../c/") == "/c/");
    CHECK(fullPathOf("") == here);
    const auto refusalOf = [](const std::string& path) {
        return "ArgumentException: FileSystem: Cannot build full path for an invalid path argument '" + path +
               "' [path]";
    };
    const std::string longestName = text(258 - here.size()), longest = here + "/" + longestName;
    CHECK(fullPathOf(longest) == longest);
    CHECK(fullPathOf("a/../" + longestName) == longest);
    for (const std::string& tooLong : {longest + "x", longestName + "x"})
        CHECK(outcomeOf([&] { fullPathOf(tooLong); }) == refusalOf(tooLong));
    const auto withNul = [&] { fullPathOf(std::string("a\0b", 3)); };
    CHECK(catchThrown<Exceptions::ArgumentException>(withNul)->getArgumentName() == "path");
    std::filesystem::remove_all(directory.path());
    CHECK(outcomeOf([&] { fullPathOf("a"); }) == refusalOf("a"));
    CHECK(fullPathOf("/a") == "/a");
}

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
    FileSystem files;
    const auto create = [&](const String& name) { return outcomeOf([&] { files.createDirectory(name); }); };
    const auto remove = [&](const String& name) { return outcomeOf([&] { files.deleteDirectory(name, true); }); };
    CHECK(create("a") == "");
    CHECK(create("a") == exists);
    CHECK(create("file") == exists);
    CHECK(create("a/b/") == "");
    CHECK(remove("a") == notEmpty);
    CHECK(catchThrown<IO::DirectoryException>([&] { files.createDirectory("a"); })->getDirectory() == "a");
    CHECK(catchThrown<IO::DirectoryException>([&] { files.deleteDirectory("a", false); })->getDirectory() == "a");
    CHECK(remove(String("a/b\0x", 5)) == malformed);
    CHECK(remove("a/b") == "");
    for (const std::string& name :
         {std::string(), std::string("no/x"), std::string("file/x"), std::string("x\0y", 3), text(256)}) {
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

TEST_CASE_FIXTURE(LibraryTest, "the working directory is the process's, and is told up to 1023 characters") {
    const WorkingDirectory directory;
    const String here = std::filesystem::current_path().c_str();
    FileSystem files;
    const std::string invalid =
        "DirectoryNotFoundException: FileSystem: Cannot set current working directory to invalid directory name";
    directory.write("file", "");
    for (const String& name : {String("missing"), String("file"), String(".\0x", 3)}) {
        CHECK(outcomeOf([&] { files.setCurrentWorkingDir(name); }) == invalid);
        const auto set = [&] { files.setCurrentWorkingDir(name); };
        CHECK(catchThrown<IO::DirectoryNotFoundException>(set)->getDirectory() == name);
    }
    files.setCurrentWorkingDir("");
    CHECK(files.getCurrentWorkingDir() == here);
    const auto descend = [&files](uint32 length) {
        const String name(length - files.getCurrentWorkingDir().length() - 1, 'd');
        files.createDirectory(name);
        files.setCurrentWorkingDir(name);
    };
    for (const uint32 length : {250, 500, 750, 900})
        descend(length);
    descend(1023);
    CHECK(files.getCurrentWorkingDir().length() == 1023);
    files.setCurrentWorkingDir("..");
    descend(1024);
    const std::string cannotTell = "IOException: FileSystem: Cannot get current working directory - internal error ?";
    CHECK(outcomeOf([&] { files.getCurrentWorkingDir(); }) == cannotTell);
    files.setCurrentWorkingDir(here);
    std::filesystem::remove_all(directory.path());
    CHECK(outcomeOf([&] { files.getCurrentWorkingDir(); }) == cannotTell);
    files.setCurrentWorkingDir("/");
    CHECK(files.getCurrentWorkingDir() == "/");
}

TEST_CASE_FIXTURE(BareTest, "a file for which a block is missing is neither made nor left open") {
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
