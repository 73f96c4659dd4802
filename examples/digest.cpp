// tarq-digest [directory]: what a host does with the library, from start to end.
//
// Brings the library up on memory that it counts, digests every regular file below the directory, shows an exception
// and an assertion, and takes the library down without a byte left. Standard output has the digests only, as md5sum
// writes them; everything else goes to standard error:
//
//     tarq-digest some/directory | md5sum -c
//
// Ends with 0; with 1 when a file could not be read, a digest could not be written or memory was left; with 2 when
// there is no such directory.

#include "support/consolelistener.h"
#include "support/countingmemory.h"

#include "common/container/idvector.h"
#include "common/crypto/md5builder.h"
#include "common/debug/report.h"
#include "common/interface.h"
#include "common/io/bufferedstream.h"
#include "common/io/filestream.h"
#include "common/io/ioexception.h"
#include "common/library.h"
#include "common/memory/memorystream.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

using namespace Tarq::Common;

namespace {

constexpr uint32 cBufferSize = 8192;
constexpr uint32 cBlockSize = 65535;

/// Shows the library's assertions; the default callback would end the process.
class ConsoleAssertions : public Callback::AssertCallback {
public:
    void showAssert(const char* message, const char* file, unsigned int line) override {
        std::fprintf(stderr, "Assertion at %s:%u: %s\n", file, line, message);
    }
};

struct Totals {
    uint64 files = 0;
    uint64 bytes = 0;
    uint64 failures = 0;
};

void reportFailure(Totals& totals, std::string_view what, std::string_view why) {
    ++totals.failures;
    Debug::report({Debug::LOG_ERROR, "reportFailure"}, what, ": ", why);
}

/// The regular files below the directory, by name. Links are not followed; a directory that cannot be listed is a
/// failure, and its siblings are still visited.
std::vector<std::string> listFiles(const std::filesystem::path& top, Totals& totals) {
    std::vector<std::string> files;
    std::vector<std::filesystem::path> directories{top};
    while (!directories.empty()) {
        const std::filesystem::path directory = std::move(directories.back());
        directories.pop_back();
        std::error_code error;
        std::filesystem::directory_iterator at(directory, error);
        for (; !error && at != std::filesystem::directory_iterator(); at.increment(error)) {
            std::error_code ignored;
            const std::filesystem::file_type type = at->symlink_status(ignored).type();
            if (type == std::filesystem::file_type::directory)
                directories.push_back(at->path());
            else if (type == std::filesystem::file_type::regular)
                files.push_back(at->path().string());
        }
        if (error)
            reportFailure(totals, directory.string(), error.message());
    }
    std::sort(files.begin(), files.end());
    return files;
}

/// Streams the whole file into memory, and digests it there.
Crypto::MD5Sum digestFile(const String& name, Totals& totals) {
    IO::FileStream file(name, IO::FileStream::FACCESS_READ, IO::FileStream::FMODE_OPEN);
    IO::BufferedStream buffered(&file, cBufferSize);
    Memory::MemoryStream memory(name, cBlockSize);
    memory.writeFromStream(&buffered);
    totals.bytes += memory.getLength();

    memory.seek(0, IO::Stream::SORIGIN_BEGIN);
    Crypto::MD5Builder builder(Library::getTempAlloc());
    builder.addStream(&memory, -1);
    return builder.computeSum();
}

/// As md5sum does: a name with one of three characters is escaped, and a backslash in front of the line says so.
void printDigest(const Crypto::MD5Sum& digest, std::string_view name) {
    std::string escaped;
    for (const char c : name) {
        if (c == '\\')
            escaped += "\\\\";
        else if (c == '\n')
            escaped += "\\n";
        else if (c == '\r')
            escaped += "\\r";
        else
            escaped += c;
    }
    const char* const mark = escaped.size() == name.size() ? "" : "\\";
    std::printf("%s%s  %s\n", mark, digest.toString().c_str(), escaped.c_str());
}

void digestDirectory(const std::filesystem::path& directory, Totals& totals) {
    for (const std::string& name : listFiles(directory, totals)) {
        try {
            printDigest(digestFile(name.c_str(), totals), name);
            ++totals.files;
        } catch (Exceptions::Exception* exception) {
            const Exceptions::Holder holder(exception);
            reportFailure(totals, name, holder->composeText(Exceptions::Exception::CALLSTACK_NONE));
        }
    }
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0)
        reportFailure(totals, "standard output", "not every digest could be written");
    Debug::report({Debug::LOG_MESSAGE, "digestDirectory"}, "Digested files: ", totals.files, ", bytes: ", totals.bytes);
}

/// Fails, because a file is missing, with the failure that led to this one inside.
void loadScene(const String& name) {
    try {
        IO::FileStream(name, IO::FileStream::FACCESS_READ, IO::FileStream::FMODE_OPEN);
    } catch (IO::FileNotFoundException* exception) {
        Exceptions::Holder cause(exception);
        auto* const failure = new IO::FileNotFoundException("There is no scene", name, cause->getFullFileName());
        failure->setInnerException(cause.release());
        throw failure;
    }
}

/// Without a message box of the host's, the text goes to standard error.
void showException() {
    try {
        loadScene("a scene that nobody made");
    } catch (Exceptions::Exception* exception) {
        const Exceptions::Holder holder(exception);
        holder->showException(Exceptions::Exception::CALLSTACK_ALL);
    }
}

/// Asks a table for something that it does not have; the assertion reaches our callback, and the table stays as it is.
void fireAssertion(Totals& totals) {
    Container::IDVector<Totals> table(Library::getTempAlloc());
    table.add(&totals);
    table.remove(42);
    Debug::report({Debug::LOG_MESSAGE, "fireAssertion"}, "Still alive after the assertion");
}

/// Everything between the library's coming up and its going down: nothing made on its memory outlives this.
Totals run(const std::filesystem::path& directory) {
    const ConsoleListener listener;
    Totals totals;
    digestDirectory(directory, totals);
    showException();
    fireAssertion(totals);
    return totals;
}

} // namespace

int main(int argc, char** argv) {
    const std::filesystem::path directory = argc > 1 ? argv[1] : ".";
    std::error_code error;
    if (argc > 2 || !std::filesystem::is_directory(directory, error)) {
        std::fprintf(stderr, "tarq-digest: there is no directory \"%s\"\nUsage: tarq-digest [directory]\n",
                     directory.c_str());
        return 2;
    }

    Interface::setAssertCallback(Callback::AssertCallbackPtr(new ConsoleAssertions));
    const Callback::CallbackPtr<CountingMemory> memory(new CountingMemory);
    Interface::initLibrary(memory);
    const Totals totals = run(directory);
    Interface::closeLibrary();

    std::fprintf(stderr, "%" PRIu64 " bytes taken, %" PRIu64 " at the peak, %" PRIu64 " outstanding\n",
                 memory->getTaken(), memory->getPeak(), memory->getOutstanding());
    return totals.failures == 0 && memory->getOutstanding() == 0 ? 0 : 1;
}
