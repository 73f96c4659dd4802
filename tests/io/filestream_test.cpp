#include "tests/support/librarytest.h"
#include "tests/support/temporarydirectory.h"

#include "common/io/filestream.h"
#include "common/io/ioexception.h"

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>

using namespace Tarq::Common;
using namespace Tarq::Test;
using IO::FileStream;
using IO::Stream;
using enum FileStream::FileAccess;
using enum FileStream::FileMode;
using enum Stream::SeekOrigin;

namespace {

const std::string cNotFound = "FileNotFoundException: FileStream: File or path not found";
const std::string cExists =
    "FileExistException: FileStream: File has been opened with FMODE_CREATENEW but the file exists already";
const std::string cAccess =
    "UnAuthorizedAccessException: FileStream: Given path is a directory, or file is read-only, but an "
    "open-for-writing operation was attempted";
const std::string cTooManyOpen = "IOException: FileStream: No more file descriptors available";
const std::string cWrongFlags = "Internal error: The combination of the flags for open() is wrong";
const std::string cUnhandled = "retVal == 0\nError Message: Internal error: Unhandled error code from open()";

/// What `body` ends in: the name and message of what it throws, then its parameters; or the assertion it reports.
std::string outcomeOf(const std::function<void()>& body) {
    const AssertionRecorder recorder;
    std::string outcome;
    try {
        body();
    } catch (Exceptions::Exception* exception) {
        const Exceptions::Holder holder(exception);
        outcome = (exception->getExceptionName() + ": " + exception->getMessage()).c_str();
        for (const Exceptions::Parameter& parameter : exception->getParameters()) {
            if (parameter.first == "ArgumentName")
                outcome += std::string(" [") + parameter.second.c_str() + "]";
        }
    }
    for (const SeenAssertion& assertion : recorder.getSeen()) {
        CHECK(assertion.file == "common/io/filestream");
        const std::string_view text = assertion.text;
        outcome += text.starts_with("\nError Message: ") ? text.substr(16) : text;
    }
    return outcome;
}

/// Runs `body` on a thread for which the system refuses to open any file, with this error number.
void withOpenError(int error, const std::function<void()>& body) {
    std::thread([&] {
        sock_filter program[] = {
            BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
            BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_openat, 0, 1),
            BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | static_cast<unsigned>(error)),
            BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
        };
        const sock_fprog filter{std::size(program), program};
        CHECK(prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0);
        CHECK(prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) == 0);
        body();
    }).join();
}

/// Lowers a limit of the process while it is in scope.
class ScopedLimit {
public:
    ScopedLimit(__rlimit_resource resource, rlim_t limit) : mResource(resource) {
        REQUIRE(getrlimit(resource, &mPrevious) == 0);
        const rlimit lowered{limit, mPrevious.rlim_max};
        REQUIRE(setrlimit(resource, &lowered) == 0);
    }
    ~ScopedLimit() { setrlimit(mResource, &mPrevious); }
    ScopedLimit(const ScopedLimit&) = delete;
    ScopedLimit& operator=(const ScopedLimit&) = delete;

private:
    __rlimit_resource mResource;
    rlimit mPrevious{};
};

/// Makes another directory the process's current one while it is in scope.
class ScopedWorkingDirectory {
public:
    explicit ScopedWorkingDirectory(const std::filesystem::path& path) { std::filesystem::current_path(path); }
    ~ScopedWorkingDirectory() { std::filesystem::current_path(mPrevious); }
    ScopedWorkingDirectory(const ScopedWorkingDirectory&) = delete;
    ScopedWorkingDirectory& operator=(const ScopedWorkingDirectory&) = delete;

private:
    std::filesystem::path mPrevious = std::filesystem::current_path();
};

String fullNameOf(const String& missing) {
    return catchThrown<IO::FileNotFoundException>([&] { FileStream(missing, FACCESS_READ, FMODE_OPEN); })
        ->getFullFileName();
}

} // namespace

TEST_CASE_FIXTURE(LibraryTest, "each mode does its work with each access, on a missing and on an existing file") {
    struct Case {
        FileStream::FileMode mode;
        std::string onMissing; ///< outcome; a file that could be opened is empty
        std::string onExisting;
        std::string contents; ///< of the existing file afterwards
    };
    const Case cases[] = {
        {FMODE_OPEN, cNotFound, "", "old"},    {FMODE_APPEND, cNotFound, "", "old"}, {FMODE_CREATE, "", "", ""},
        {FMODE_CREATENEW, "", cExists, "old"}, {FMODE_OPENORCREATE, "", "", "old"},
    };
    const FileStream::FileAccess accesses[] = {FACCESS_READ, FACCESS_READWRITE, FACCESS_WRITE};
    for (const Case& each : cases) {
        for (const auto access : accesses) {
            CAPTURE(each.mode);
            CAPTURE(access);
            const TemporaryDirectory directory;
            directory.write("existing", "old");
            FileStream stream;
            CHECK(outcomeOf([&] { stream.open(directory / "missing", access, each.mode); }) == each.onMissing);
            CHECK(std::filesystem::exists(directory.path() / "missing") == each.onMissing.empty());
            CHECK(stream.isClosed() == !each.onMissing.empty());
            CHECK(outcomeOf([&] { stream.open(directory / "existing", access, each.mode); }) == each.onExisting);
            CHECK(directory.read("existing") == each.contents);
            if (each.onExisting.empty()) {
                CHECK(stream.canRead() == (access != FACCESS_WRITE));
                CHECK(stream.canWrite() == (access != FACCESS_READ));
                CHECK(stream.getAccess() == access);
                CHECK(stream.getName() == directory / "existing");
                CHECK(stream.getPosition() == 0);
                CHECK(stream.getLength() == each.contents.size());
            }
            stream.close();
            stream.close();
            CHECK_FALSE((stream.canRead() || stream.canWrite() || stream.canSeek()));
            CHECK(stream.isClosed());
            CHECK(stream.getAccess() == 0);
            CHECK((stream.getMode() == each.mode || (!each.onMissing.empty() && !each.onExisting.empty())));
        }
    }
}

TEST_CASE_FIXTURE(LibraryTest, "an unknown access or mode is refused, and what was open is closed") {
    struct Case {
        int access, mode;
        const char* outcome;
    };
    const Case cases[] = {
        {0, 1, "ArgumentOutOfRangeException: FileStream: Unknown access mode [fAccess]"},
        {4, 1, "ArgumentOutOfRangeException: FileStream: Unknown access mode [fAccess]"},
        {0, 0, "ArgumentOutOfRangeException: FileStream: Unknown access mode [fAccess]"},
        {1, 0, "ArgumentOutOfRangeException: FileStream: Unknown file open mode [fMode]"},
        {1, 6, "ArgumentOutOfRangeException: FileStream: Unknown file open mode [fMode]"},
    };
    const TemporaryDirectory directory;
    for (const Case& each : cases) {
        FileStream stream(directory / "file", FACCESS_WRITE, FMODE_OPENORCREATE);
        CHECK(outcomeOf([&] {
                  stream.open(directory / "file", static_cast<FileStream::FileAccess>(each.access),
                              static_cast<FileStream::FileMode>(each.mode));
              }) == each.outcome);
        CHECK(stream.isClosed());
    }
}

TEST_CASE_FIXTURE(LibraryTest, "what cannot be opened is refused by its meaning, without waiting") {
    const TemporaryDirectory directory;
    directory.write("file", "bytes");
    std::filesystem::create_symlink("loop", directory.path() / "loop");
    REQUIRE(mkfifo((directory / "pipe").c_str(), 0600) == 0);
    struct Case {
        const char* name;
        String path;
        FileStream::FileAccess access;
        FileStream::FileMode mode;
        std::string outcome;
    };
    const Case cases[] = {
        {"missing directory", directory / "no/file", FACCESS_WRITE, FMODE_CREATE, cNotFound},
        {"file in the place of a directory", directory / "file/file", FACCESS_READ, FMODE_OPEN, cNotFound},
        {"empty name", "", FACCESS_READ, FMODE_OPEN, cNotFound},
        {"name with a NUL", (directory / "file") + std::string_view("\0x", 2), FACCESS_READ, FMODE_OPEN, cNotFound},
        {"name that is too long", directory / std::string(5000, 'x'), FACCESS_WRITE, FMODE_CREATE, cNotFound},
        {"directory, to be read", directory / "", FACCESS_READ, FMODE_OPEN, cAccess},
        {"directory, to be written", directory / "", FACCESS_WRITE, FMODE_OPEN, cAccess},
        {"new directory", directory / "new/", FACCESS_WRITE, FMODE_CREATE, cAccess},
        {"pipe, to be read", directory / "pipe", FACCESS_READ, FMODE_OPEN, cAccess},
        {"pipe, to be written", directory / "pipe", FACCESS_WRITE, FMODE_OPEN, cAccess},
        {"running program", "/proc/self/exe", FACCESS_WRITE, FMODE_OPEN, cAccess},
        {"circle of links", directory / "loop", FACCESS_READ, FMODE_OPEN, cUnhandled},
    };
    for (const Case& each : cases) {
        CAPTURE(each.name);
        FileStream stream(directory / "file", FACCESS_READ, FMODE_OPEN);
        CHECK(outcomeOf([&] { stream.open(each.path, each.access, each.mode); }) == each.outcome);
        CHECK(stream.isClosed());
    }
}

TEST_CASE_FIXTURE(LibraryTest, "every error number of the system has its meaning") {
    struct Case {
        int error;
        std::string outcome;
    };
    const Case cases[] = {
        {ENOENT, cNotFound},    {ENOTDIR, cNotFound},  {ENAMETOOLONG, cNotFound}, {EACCES, cAccess},
        {EPERM, cAccess},       {EROFS, cAccess},      {EISDIR, cAccess},         {ETXTBSY, cAccess},
        {EBUSY, cAccess},       {ENXIO, cAccess},      {EEXIST, cExists},         {EMFILE, cTooManyOpen},
        {ENFILE, cTooManyOpen}, {EINVAL, cWrongFlags}, {EIO, cUnhandled},         {ENOSPC, cUnhandled},
    };
    for (const Case& each : cases) {
        CAPTURE(each.error);
        withOpenError(each.error, [&] {
            FileStream stream;
            CHECK(outcomeOf([&] { stream.open("file", FACCESS_READWRITE, FMODE_OPEN); }) == each.outcome);
            CHECK(stream.isClosed());
        });
    }
    const ScopedLimit noMoreDescriptors(RLIMIT_NOFILE, 0);
    CHECK(outcomeOf([] { FileStream("/dev/null", FACCESS_READ, FMODE_OPEN); }) == cTooManyOpen);
}

TEST_CASE_FIXTURE(LibraryTest, "the file that is not found is told as given and as an absolute path") {
    const TemporaryDirectory directory;
    const ScopedWorkingDirectory inside(directory.path());
    const String here = std::filesystem::current_path().c_str();
    struct Case {
        const char* given;
        String full;
    };
    const Case cases[] = {
        {"x", here + "/x"},
        {"./x", here + "/x"},
        {"a//b/./x", here + "/a/b/x"},
        {"a/../x", here + "/x"},
        {"a/..", here},
        {"a/", here + "/a/"},
        {"..x/.y", here + "/..x/.y"},
        {"", here},
        {"../../../../../../../../../../../../../../../no/x", "/no/x"},
        {"/no/../../no/x", "/no/x"},
        {"//no//x/", "/no/x/"},
        {"/no/..", "/"},
    };
    for (const Case& each : cases) {
        CAPTURE(each.given);
        CHECK(fullNameOf(each.given) == each.full);
    }

    const auto thrown = catchThrown<IO::FileExistException>([&] {
        directory.write("old", "");
        FileStream("old", FACCESS_READ, FMODE_CREATENEW);
    });
    const Exceptions::ParameterList parameters = thrown->getParameters();
    CHECK(parameters.front() == Exceptions::Parameter{"Filename", "old"});
    CHECK(parameters.back() == Exceptions::Parameter{"FullFilename", here + "/old"});

    std::filesystem::remove_all(directory.path());
    CHECK(fullNameOf("x") == "x");
    CHECK(fullNameOf("/no/./x") == "/no/x");
}

TEST_CASE_FIXTURE(LibraryTest, "a file that is made belongs to its owner and is not inherited") {
    const TemporaryDirectory directory;
    const mode_t previousMask = umask(0);
    FileStream stream(directory / "new", FACCESS_WRITE, FMODE_CREATENEW);
    umask(previousMask);
    CHECK(std::filesystem::status(directory.path() / "new").permissions() ==
          (std::filesystem::perms::owner_read | std::filesystem::perms::owner_write));

    int found = 0;
    for (const std::string& descriptor : listDescriptors()) {
        if (descriptor.ends_with("/new")) {
            ++found;
            CHECK((fcntl(std::stoi(descriptor), F_GETFD) & FD_CLOEXEC) != 0);
            CHECK((fcntl(std::stoi(descriptor), F_GETFL) & O_NONBLOCK) == 0);
        }
    }
    CHECK(found == 1);
}

TEST_CASE_FIXTURE(LibraryTest, "an operation that the stream's state forbids is refused, and changes nothing") {
    struct Case {
        int access; ///< 0 for a closed stream
        std::function<void(FileStream&)> body;
        const char* outcome;
    };
    char byte = 'x';
    const Case cases[] = {
        {0, [&](FileStream& s) { s.read(&byte, 1); },
         "InvalidStateException: FileStream: Cannot read on closed streams."},
        {0, [&](FileStream& s) { s.write(&byte, 1); },
         "InvalidStateException: FileStream: Cannot write on closed streams."},
        {0, [](FileStream& s) { s.seek(0, SORIGIN_BEGIN); },
         "InvalidStateException: FileStream: Cannot seek on closed streams."},
        {0, [](FileStream& s) { s.flush(); }, "InvalidStateException: FileStream: Cannot flush on closed streams."},
        {0, [](FileStream& s) { s.getLength(); },
         "InvalidStateException: FileStream: Try to get length of closed stream"},
        {0, [](FileStream& s) { s.getPosition(); },
         "InvalidStateException: FileStream: Try to get position of closed stream."},
        {0, [](FileStream& s) { s.getName(); },
         "InvalidStateException: FileStream: Try to get filename from a closed stream"},
        {3, [](FileStream& s) { s.read(nullptr, 1); },
         "NotSupportedException: FileStream: Cannot read from the file. Not opened for reading."},
        {1, [](FileStream& s) { s.write(nullptr, 1); },
         "NotSupportedException: FileStream: Cannot write to the file. Not opened for writing."},
        {2, [](FileStream& s) { s.read(nullptr, 0); },
         "ArgumentNullException: FileStream: The destination buffer in a read cannot be NULL. [dstBuffer]"},
        {2, [](FileStream& s) { s.write(nullptr, 0); },
         "ArgumentNullException: FileStream: The source buffer in a write cannot be NULL. [srcBuffer]"},
        {2, [](FileStream& s) { s.seek(0, static_cast<Stream::SeekOrigin>(7)); },
         "ArgumentOutOfRangeException: FileStream: Unknown origin '7' specified. [origin]"},
        {2, [](FileStream& s) { s.seek(-1, SORIGIN_BEGIN); },
         "ArgumentOutOfRangeException: FileStream: Offset seeks out of file range. [offset]"},
        {2, [](FileStream& s) { s.seek(-3, SORIGIN_CURRENT); },
         "ArgumentOutOfRangeException: FileStream: Offset seeks out of file range. [offset]"},
        {2, [](FileStream& s) { s.seek(-6, SORIGIN_END); },
         "ArgumentOutOfRangeException: FileStream: Offset seeks out of file range. [offset]"},
    };
    const TemporaryDirectory directory;
    directory.write("file", "bytes");
    for (const Case& each : cases) {
        FileStream stream;
        if (each.access != 0) {
            stream.open(directory / "file", static_cast<FileStream::FileAccess>(each.access), FMODE_OPEN);
            stream.seek(2, SORIGIN_BEGIN);
        }
        CHECK(outcomeOf([&] { each.body(stream); }) == each.outcome);
        CHECK(stream.isClosed() == (each.access == 0));
        if (each.access != 0)
            CHECK(stream.getPosition() == 2);
    }
    CHECK(directory.read("file") == "bytes");
}

TEST_CASE_FIXTURE(LibraryTest, "reads, writes and seeks move one position, also beyond the end and beyond 4 GiB") {
    const TemporaryDirectory directory;
    FileStream stream(directory / "file", FACCESS_READWRITE, FMODE_CREATE);
    stream.write("abcd", 4);
    CHECK(stream.getPosition() == 4);
    char bytes[10] = {};
    CHECK(stream.read(bytes, 10) == 0);
    CHECK(stream.seek(-3, SORIGIN_CURRENT) == 1);
    CHECK(stream.read(bytes, 10) == 3);
    CHECK(std::string(bytes) == "bcd");
    CHECK(stream.seek(-4, SORIGIN_END) == 0);
    stream.write("A", 1);
    CHECK(stream.seek(2, SORIGIN_END) == 6);
    CHECK(stream.read(bytes, 10) == 0);
    CHECK(stream.getLength() == 4);
    stream.write("g", 1);
    stream.flush();
    CHECK(directory.read("file") == std::string("Abcd\0\0g", 7));

    constexpr int64 cFarAway = int64{5} << 30;
    CHECK(stream.seek(cFarAway, SORIGIN_BEGIN) == uint64{cFarAway});
    stream.write("far", 3);
    CHECK(stream.getLength() == cFarAway + 3);
    CHECK(stream.seek(-3, SORIGIN_END) == uint64{cFarAway});
    // A request that is cut to 32 bits would be one byte long. The system looks at where such a buffer ends: on the
    // stack that would be outside of what a process has.
    static char buffer[10];
    CHECK(stream.read(buffer, (uint64{1} << 32) + 1) == 3);
    CHECK(std::string(buffer) == "far");
}

TEST_CASE_FIXTURE(LibraryTest, "appended bytes go to the end, wherever the position was") {
    const TemporaryDirectory directory;
    directory.write("file", "12");
    FileStream stream(directory / "file", FACCESS_READWRITE, FMODE_APPEND);
    FileStream other(directory / "file", FACCESS_WRITE, FMODE_APPEND);
    stream.write("3", 1);
    stream.seek(0, SORIGIN_BEGIN);
    other.write("4", 1);
    stream.write("5", 1);
    CHECK(stream.getPosition() == 5);
    CHECK(directory.read("file") == "12345");
}

TEST_CASE_FIXTURE(LibraryTest,
                  "a stream that is opened again lets go of its file, even when it is given its own name") {
    const TemporaryDirectory directory;
    directory.write("one", "1");
    directory.write("two", "2");
    auto* const stream = new (allocator()) FileStream(directory / "one", FACCESS_READ, FMODE_OPEN);
    const IO::StreamPtr owner(stream);
    stream->open(directory / "two", FACCESS_WRITE, FMODE_OPEN);
    stream->open(stream->getName(), FACCESS_READ, FMODE_OPEN);
    char byte = 0;
    CHECK(owner->read(&byte, 1) == 1);
    CHECK(byte == '2');
    CHECK(owner->getName() == directory / "two");
}

TEST_CASE_FIXTURE(LibraryTest, "a read goes on until the end when the system delivers less at once") {
    // The system hands this list out a page at a time.
    FileStream stream("/proc/self/smaps", FACCESS_READ, FMODE_OPEN);
    std::string lines(1 << 22, '\0');
    const uint64 count = stream.read(lines.data(), lines.size());
    CHECK(count > 4096);
    CHECK(stream.read(lines.data(), lines.size()) == 0);
}

TEST_CASE_FIXTURE(LibraryTest, "a medium that fails is an exception when it is full, and an assertion otherwise") {
    const TemporaryDirectory directory;
    static const char bytes[] = "0123456789abcdef";
    const std::string full = "OutOfSpaceException: FileStream: Cannot write to file, disk full.";

    FileStream stream("/dev/full", FACCESS_WRITE, FMODE_OPEN);
    CHECK(outcomeOf([&] { stream.write(bytes, 3); }) == full);

    stream.open(directory / "file", FACCESS_WRITE, FMODE_CREATE);
    {
        const auto previousHandler = std::signal(SIGXFSZ, SIG_IGN);
        const ScopedLimit smallFiles(RLIMIT_FSIZE, 10);
        CHECK(outcomeOf([&] { stream.write(bytes, uint64{1} << 32); }) == full);
        std::signal(SIGXFSZ, previousHandler);
    }
    CHECK(directory.read("file") == "0123456789");
    CHECK_FALSE(stream.isClosed());

    // Its number must be one: the system refuses the write with an error of its own.
    stream.open("/proc/self/oom_score_adj", FACCESS_WRITE, FMODE_OPEN);
    CHECK(outcomeOf([&] { stream.write("x", 1); }) == "Internal error: Unhandeled error condition during write.");

    // Nothing is mapped at the address 0.
    stream.open("/proc/self/mem", FACCESS_READ, FMODE_OPEN);
    char byte = 0;
    CHECK(outcomeOf([&] { CHECK(stream.read(&byte, 1) == 0); }) ==
          "readBytes >= 0\nError Message: Internal error: read should not return negative values, since all error "
          "conditions are checked.");

    stream.open("/dev/null", FACCESS_WRITE, FMODE_OPEN);
    CHECK(outcomeOf([&] { stream.flush(); }) == "IOException: FileStream: Unknown error on flush");
}
