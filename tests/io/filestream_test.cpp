#include "common/io/filestream.h"

#include "tests/support/atend.h"
#include "tests/support/librarytest.h"
#include "tests/support/refusedcall.h"
#include "tests/support/streams.h"
#include "tests/support/workingdirectory.h"

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdint>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Tarq::Common;
using namespace Tarq::Test;
using IO::FileStream;
using enum FileStream::FileAccess;
using enum FileStream::FileMode;
using enum IO::Stream::SeekOrigin;

namespace {

const std::string cNotFound = "FileNotFoundException: FileStream: File or path not found";
const std::string cExists =
    "FileExistException: FileStream: File has been opened with FMODE_CREATENEW but the file exists already";
const std::string cAccess =
    "UnAuthorizedAccessException: FileStream: Given path is a directory, or file is read-only, but an "
    "open-for-writing operation was attempted";

/// Checks what an open ends in on a thread for which the system refuses to open any file, with each error number.
void checkOpenErrors(std::initializer_list<int> errors, const std::string& outcome) {
    for (const int error : errors) {
        CAPTURE(error);
        whereRefused({SYS_openat}, error,
                     [&] { CHECK(outcomeOf([] { FileStream("file", FACCESS_READWRITE, FMODE_OPEN); }) == outcome); });
    }
}

} // namespace

TEST_CASE_FIXTURE(LibraryTest, "each mode does its work with each access, on a missing and on an existing file") {
    struct Case {
        FileStream::FileMode mode;
        std::string onMissing, onExisting; ///< outcomes
        std::string contents;              ///< of the existing file afterwards
    };
    const Case cases[] = {
        {FMODE_OPEN, cNotFound, "", "old"},    {FMODE_APPEND, cNotFound, "", "old"}, {FMODE_CREATE, "", "", ""},
        {FMODE_CREATENEW, "", cExists, "old"}, {FMODE_OPENORCREATE, "", "", "old"},
    };
    const AtEnd restore{[mask = umask(0)] { umask(mask); }};
    for (const Case& each : cases) {
        for (const FileStream::FileAccess access : {FACCESS_READ, FACCESS_READWRITE, FACCESS_WRITE}) {
            CAPTURE(each.mode);
            CAPTURE(access);
            const TemporaryDirectory directory;
            const String missing = directory / "missing", existing = directory / "existing";
            directory.write("existing", "old");
            FileStream stream;
            const auto open = [&](const String& name) { stream.open(name, access, each.mode); };
            CHECK(outcomeOf([&] { open(missing); }) == each.onMissing);
            CHECK(stream.isClosed() != each.onMissing.empty());
            struct stat status {};
            CHECK((stat(missing.c_str(), &status) == 0) == each.onMissing.empty());
            CHECK((status.st_mode & 0777) == (each.onMissing.empty() ? 0600 : 0));
            CHECK(outcomeOf([&] { open(existing); }) == each.onExisting);
            CHECK(stream.isClosed() != each.onExisting.empty());
            CHECK(directory.read("existing") == each.contents);
            if (each.onExisting.empty()) {
                open(stream.getName());
                CHECK(stream.getName() == existing);
                CHECK((stream.getAccess() == access && stream.getMode() == each.mode));
                CHECK(stream.canRead() == (access != FACCESS_WRITE));
                CHECK(stream.canWrite() == (access != FACCESS_READ));
                CHECK((stream.getPosition() == 0 && stream.getLength() == each.contents.size()));
            }
            for (const std::string& descriptor : listDescriptors())
                CHECK((!descriptor.ends_with("/existing") || fcntl(std::stoi(descriptor), F_GETFD) == FD_CLOEXEC));
            stream.close();
            CHECK((stream.isClosed() && !stream.canRead() && !stream.canWrite() && !stream.canSeek()));
        }
    }
}

TEST_CASE_FIXTURE(LibraryTest, "an operation that the stream's state forbids is refused, and changes nothing") {
    const TemporaryDirectory directory;
    directory.write("file", "bytes");
    char byte = 'x';
    FileStream closed, reading(directory / "file", FACCESS_READ, FMODE_OPEN);
    FileStream writing(directory / "file", FACCESS_WRITE, FMODE_OPEN);
    reading.seek(2, SORIGIN_BEGIN);
    const std::string state = "InvalidStateException: FileStream: ";
    CHECK(outcomeOf([&] { closed.read(&byte, 1); }) == state + "Cannot read on closed streams.");
    CHECK(outcomeOf([&] { closed.write(&byte, 1); }) == state + "Cannot write on closed streams.");
    CHECK(outcomeOf([&] { closed.seek(0, SORIGIN_BEGIN); }) == state + "Cannot seek on closed streams.");
    CHECK(outcomeOf([&] { closed.flush(); }) == state + "Cannot flush on closed streams.");
    CHECK(outcomeOf([&] { closed.getLength(); }) == state + "Try to get length of closed stream");
    CHECK(outcomeOf([&] { closed.getPosition(); }) == state + "Try to get position of closed stream.");
    CHECK(outcomeOf([&] { closed.getName(); }) == state + "Try to get filename from a closed stream");
    CHECK(outcomeOf([&] { writing.read(nullptr, 1); }) ==
          "NotSupportedException: FileStream: Cannot read from the file. Not opened for reading.");
    CHECK(outcomeOf([&] { reading.write(nullptr, 1); }) ==
          "NotSupportedException: FileStream: Cannot write to the file. Not opened for writing.");
    CHECK(outcomeOf([&] { reading.read(nullptr, 0); }) ==
          "ArgumentNullException: FileStream: The destination buffer in a read cannot be NULL. [dstBuffer]");
    CHECK(outcomeOf([&] { writing.write(nullptr, 0); }) ==
          "ArgumentNullException: FileStream: The source buffer in a write cannot be NULL. [srcBuffer]");
    CHECK(outcomeOf([&] { reading.seek(0, static_cast<IO::Stream::SeekOrigin>(7)); }) ==
          "ArgumentOutOfRangeException: FileStream: Unknown origin '7' specified. [origin]");
    CHECK(outcomeOf([&] { reading.seek(-3, SORIGIN_CURRENT); }) ==
          "ArgumentOutOfRangeException: FileStream: Offset seeks out of file range. [offset]");
    CHECK(reading.getPosition() == 2);
}

TEST_CASE_FIXTURE(LibraryTest, "what cannot be opened is refused by its meaning, without waiting") {
    const std::string asserted = "common/io/filestream: ";
    checkOpenErrors({ENOENT, ENOTDIR, ENAMETOOLONG, ELOOP, EILSEQ}, cNotFound);
    checkOpenErrors({EACCES, EPERM, EROFS, EISDIR, ETXTBSY, EBUSY, EAGAIN, ENXIO, ENODEV}, cAccess);
    checkOpenErrors({EEXIST}, cExists);
    checkOpenErrors({EMFILE, ENFILE}, "IOException: FileStream: No more file descriptors available");
    checkOpenErrors({EINVAL},
                    asserted + "\nError Message: Internal error: The combination of the flags for open() is wrong");
    checkOpenErrors({EIO, ENOSPC},
                    asserted + "retVal == 0\nError Message: Internal error: Unhandled error code from open()");
    const TemporaryDirectory directory;
    REQUIRE(mkfifo((directory / "pipe").c_str(), 0600) == 0);
    const auto open = [](const String& name, int access, int mode) {
        FileStream stream("/dev/null", FACCESS_READ, FMODE_OPEN);
        const auto fileAccess = static_cast<FileStream::FileAccess>(access);
        const auto fileMode = static_cast<FileStream::FileMode>(mode);
        const std::string outcome = outcomeOf([&] { stream.open(name, fileAccess, fileMode); });
        CHECK(stream.isClosed());
        return outcome;
    };
    CHECK(open(directory / "pipe", FACCESS_READ, FMODE_OPEN) == cAccess);
    CHECK(open(directory / "pipe", FACCESS_WRITE, FMODE_OPEN) == cAccess);
    CHECK(open(directory / "", FACCESS_READ, FMODE_OPEN) == cAccess);
    CHECK(open(String("/dev/null\0x", 11), FACCESS_READ, FMODE_OPEN) == cNotFound);
    const std::string unknown = "ArgumentOutOfRangeException: FileStream: Unknown ";
    CHECK(open("/dev/null", 0, 0) == unknown + "access mode [fAccess]");
    CHECK(open("/dev/null", 4, FMODE_OPEN) == unknown + "access mode [fAccess]");
    CHECK(open("/dev/null", FACCESS_READ, 0) == unknown + "file open mode [fMode]");
    CHECK(open("/dev/null", FACCESS_READ, 6) == unknown + "file open mode [fMode]");
}

TEST_CASE_FIXTURE(LibraryTest, "the file that is not found is told as given and as an absolute path") {
    const WorkingDirectory directory;
    const String here = std::filesystem::current_path().c_str();
    const auto check = [](const String& given, const String& full) {
        const auto open = [&] { FileStream(given, FACCESS_READ, FMODE_OPEN); };
        const Exceptions::ParameterList parameters = catchThrown<IO::FileNotFoundException>(open)->getParameters();
        CHECK(parameters.front() == Exceptions::Parameter{"Filename", given});
        CHECK(parameters.back() == Exceptions::Parameter{"FullFilename", full});
    };
    check("..x//./.y", here + "/..x/.y");
    check("a/../x/", here + "/x/");
    check("", here);
    check("../../../../../../../../../../../../../../../no/x", "/no/x");
    std::filesystem::remove_all(directory.path());
    check("x", "x");
    std::filesystem::current_path("/");
    check("no/x", "/no/x");
}

TEST_CASE_FIXTURE(LibraryTest, "reads, writes and seeks move one position, also beyond the end and beyond 4 GiB") {
    const TemporaryDirectory directory;
    directory.write("file", "abcd");
    FileStream stream(directory / "file", FACCESS_READWRITE, FMODE_OPEN);
    FileStream appending(directory / "file", FACCESS_WRITE, FMODE_APPEND);
    CHECK(stream.seek(-3, SORIGIN_END) == 1);
    CHECK(readText(stream, 10) == "bcd");
    CHECK(readText(stream, 10).empty());
    CHECK(stream.seek(2, SORIGIN_CURRENT) == 6);
    CHECK(readText(stream, 10).empty());
    CHECK(stream.getLength() == 4);
    appending.write("e", 1);
    stream.write("g", 1);
    appending.write("h", 1);
    CHECK(appending.getPosition() == 8);
    stream.flush();
    CHECK(directory.read("file") == std::string("abcde\0gh", 8));

    constexpr int64 cFarAway = int64{5} << 30;
    CHECK(stream.seek(cFarAway, SORIGIN_BEGIN) == uint64{cFarAway});
    stream.write("far", 3);
    CHECK(stream.getLength() == cFarAway + 3);
    CHECK(stream.seek(-3, SORIGIN_END) == uint64{cFarAway});
    // A request that is cut to 32 bits would be one byte long. The system looks at where such a buffer ends: on the
    // stack that would be outside of what a process has.
    static char buffer[10];
    CHECK(stream.read(buffer, (uint64{1} << 32) + 1) == 3);
}

TEST_CASE_FIXTURE(LibraryTest, "a medium that fails is an exception when it is full, and an assertion otherwise") {
    const TemporaryDirectory directory;
    static const char bytes[] = "0123456789abcdef";
    FileStream stream(directory / "file", FACCESS_WRITE, FMODE_CREATE);
    {
        rlimit limit{};
        REQUIRE(getrlimit(RLIMIT_FSIZE, &limit) == 0);
        const AtEnd restore{[limit, handler = std::signal(SIGXFSZ, SIG_IGN)] {
            setrlimit(RLIMIT_FSIZE, &limit);
            std::signal(SIGXFSZ, handler);
        }};
        limit.rlim_cur = 10;
        REQUIRE(setrlimit(RLIMIT_FSIZE, &limit) == 0);
        CHECK(outcomeOf([&] { stream.write(bytes, uint64{1} << 32); }) ==
              "OutOfSpaceException: FileStream: Cannot write to file, disk full.");
    }
    CHECK(directory.read("file") == "0123456789");
    stream.open("/dev/null", FACCESS_WRITE, FMODE_OPEN);
    CHECK(outcomeOf([&] { stream.flush(); }) == "IOException: FileStream: Unknown error on flush");

    // Its number must be one: the system refuses the write with an error of its own.
    stream.open("/proc/self/oom_score_adj", FACCESS_WRITE, FMODE_OPEN);
    CHECK(outcomeOf([&] { stream.write("x", 1); }) ==
          "common/io/filestream: \nError Message: Internal error: Unhandeled error condition during write.");

    // The process's own memory, of which the second page is missing.
    const auto pageSize = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    void* const pages = mmap(nullptr, 2 * pageSize, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    REQUIRE(munmap(static_cast<std::byte*>(pages) + pageSize, pageSize) == 0);
    stream.open("/proc/self/mem", FACCESS_READ, FMODE_OPEN);
    stream.seek(static_cast<int64>(reinterpret_cast<std::uintptr_t>(pages) + pageSize - 5), SORIGIN_BEGIN);
    CHECK(readText(stream, 10).size() == 5);
    CHECK(
        outcomeOf([&] { CHECK(readText(stream, 10).empty()); }) ==
        "common/io/filestream: readBytes >= 0\nError Message: Internal error: read should not return negative values, "
        "since all error conditions are checked.");
    munmap(pages, pageSize);
}
