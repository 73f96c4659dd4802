// tarq-pack: makes, lists, unpacks, extends and checks archives of packed streams. See --help; the format is in
// docs/fileformats.md.

#include "pack/archivefile.h"
#include "pack/archivelayout.h"
#include "pack/entrydigest.h"
#include "pack/entrynames.h"
#include "support/commandline.h"
#include "support/errorreport.h"
#include "support/interrupt.h"
#include "support/newfile.h"

#include <algorithm>
#include <cstdio>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

using namespace Tarq::Common;
using archivefile::Archive;
using entrydigest::Digest;
using errorreport::guarded;
using errorreport::printable;
using IO::FileStream;
namespace fs = std::filesystem;

namespace {

constexpr const char* cHelp =
    R"(Usage: tarq-pack create [-C DIRECTORY] ARCHIVE PATH...
       tarq-pack add [-C DIRECTORY] ARCHIVE PATH...
       tarq-pack list ARCHIVE
       tarq-pack extract [-C DIRECTORY] [-f] ARCHIVE [NAME...]
       tarq-pack verify [--md5] ARCHIVE

create   makes an archive of files, and of all files below directories. An archive that is there already is replaced.
add      puts more files into an archive.
list     writes size and name of every entry.
extract  writes entries to files: all of them, or those of the given names and those below them.
verify   checks that header and table make sense, and that every entry can be read and extracted. Contents carry no
         checksum: whether they are the right ones, only their digests can tell.

-C DIRECTORY  where names of entries begin, and where files are extracted to; by default, the working directory
-f            extract: replace files, and extract also when that takes more bytes than the archive has
--md5         verify: write the digest of every entry, for "md5sum -c" where the files are
--            what follows is no option

Archives and files are replaced when the new ones are complete; what goes wrong before leaves them as they were. Until
then an archive is in ARCHIVE.part, which also keeps others from changing it meanwhile: "add" takes the room of two
archives. Only who kills the program has to remove that file.

Entries are named by their paths below the directory, as in "textures/wall.dds". Links below directories are not
followed, and empty directories are left out. Nothing is extracted to a place outside of the directory.

Ends with 0, with 1 when something went wrong, and with 2 when the command line is wrong.
)";

struct Options {
    std::string command;
    fs::path directory = ".";
    bool replaces = false;
    bool showsDigests = false;
    fs::path archive;
    std::vector<std::string> names;
};

entrynames::Files collectFiles(const Options& options) {
    entrynames::Files files;
    errorreport::progress.start(0);
    const auto skips = [&options](const fs::path& path, bool isFile) {
        interrupt::check();
        errorreport::progress.advance(0, printable(path.string()));
        if (!isFile)
            errorreport::note(path.string(), "left out, it is neither a file nor a directory");
        std::error_code error;
        return !isFile || fs::equivalent(path, options.archive, error);
    };
    for (const std::string& path : options.names) {
        const auto collects = [&] { entrynames::collect(files, options.directory, path, skips); };
        if (!guarded(path, collects) && interrupt::isWanted != 0)
            break;
    }
    errorreport::throwIfReported();
    return files;
}

/// Tells what cannot be added before the archive is copied.
void checkAddition(const fs::path& path, const entrynames::Files& files) {
    if (fs::file_size(path) == 0)
        return;
    Archive archive(path, FileStream::FACCESS_READ);
    for (const auto& file : files) {
        if (archive.isOpen() && archive.has(file.first))
            guarded(file.first, [] { throw std::runtime_error("there is such an entry already"); });
    }
    errorreport::throwIfReported();
}

void write(const Options& options, bool isAddition) {
    const entrynames::Files files = collectFiles(options);
    if (isAddition)
        checkAddition(options.archive, files);
    NewFile file(options.archive);
    uint64 total = isAddition ? fs::file_size(options.archive) : 0;
    for (const auto& added : files)
        total += fs::file_size(added.second);
    errorreport::progress.start(total);
    if (isAddition)
        archivefile::copy(options.archive, file.path());
    Archive archive(file.path(), FileStream::FACCESS_READWRITE);
    if (archive.isOpen())
        archive.add(files);
    file.complete();
}

void create(const Options& options) {
    write(options, false);
}

void add(const Options& options) {
    write(options, true);
}

void list(const Options& options) {
    Archive archive(options.archive, FileStream::FACCESS_READ);
    for (const std::string& name : archive.names()) {
        interrupt::check();
        std::printf("%12llu  %s\n", static_cast<unsigned long long>(archive.open(name)->getLength()),
                    printable(name).c_str());
    }
}

/// All names of the archive, or those that were asked for and those below them.
std::vector<std::string> chooseNames(const Archive& archive, const std::vector<std::string>& wanted) {
    std::vector<std::string> all = archive.names();
    if (wanted.empty())
        return all;
    std::set<std::string> chosen;
    for (std::string name : wanted) {
        // As shells complete the names of directories.
        name.erase(name.find_last_not_of('/') + 1);
        bool isFound = std::binary_search(all.begin(), all.end(), name);
        if (isFound)
            chosen.insert(name);
        const std::string below = name + "/";
        for (auto at = std::lower_bound(all.begin(), all.end(), below); at != all.end() && at->starts_with(below);
             ++at, isFound = true)
            chosen.insert(*at);
        if (!isFound)
            guarded(name, [] { throw std::runtime_error("there is no such entry"); });
    }
    return {chosen.begin(), chosen.end()};
}

/// Returns how many bytes the entries have.
uint64 startProgress(Archive& archive, const std::vector<std::string>& names) {
    uint64 total = 0;
    for (const std::string& name : names)
        total += archive.open(name)->getLength();
    errorreport::progress.start(total);
    return total;
}

/// Works on one entry after the other, whatever goes wrong with some.
template <class Work>
void forEachName(const std::vector<std::string>& names, Work work) {
    for (const std::string& name : names) {
        const bool isDone = guarded(name, [&] { work(name); });
        if (!isDone && interrupt::isWanted != 0)
            return;
    }
}

void extractEntry(Archive& archive, const std::string& name, const Options& options) {
    if (!entrynames::isInside(name))
        throw std::runtime_error("not extracted, the name does not stay inside of the directory");
    entrynames::makeDirectories(options.directory, name);
    const fs::path target = options.directory / name;
    const fs::file_status old = fs::symlink_status(target);
    const bool isReplaced = options.replaces && fs::exists(old) && !fs::is_directory(old);
    NewFile file(target, isReplaced ? unusedName(target.parent_path()) : target);
    FileStream stream(file.path().c_str(), FileStream::FACCESS_WRITE, FileStream::FMODE_OPEN);
    archivefile::forEachPiece(archive, name,
                              [&stream](const void* bytes, uint32 count) { stream.write(bytes, count); });
    stream.close();
    file.complete();
}

void extract(const Options& options) {
    Archive archive(options.archive, FileStream::FACCESS_READ);
    if (!archive.isOpen())
        return;
    const std::vector<std::string> names = chooseNames(archive, options.names);
    const uint64 total = startProgress(archive, names);
    if (total > archive.size() && !options.replaces)
        throw std::runtime_error("not extracted without -f, its entries share bytes and take " + std::to_string(total));
    fs::create_directories(options.directory);
    forEachName(names, [&](const std::string& name) { extractEntry(archive, name, options); });
}

void verifyEntry(Archive& archive, const std::string& name, const Options& options) {
    Digest digest;
    archivefile::forEachPiece(archive, name, [&](const void* bytes, uint32 count) {
        if (options.showsDigests)
            digest.add(bytes, count);
    });
    if (!entrynames::isInside(name))
        errorreport::error("the name does not stay inside of a directory, and cannot be extracted");
    else if (options.showsDigests)
        entrydigest::print(digest.toString(), name);
}

/// What opening the archive has checked is that header and table can be true.
void verify(const Options& options) {
    Archive archive(options.archive, FileStream::FACCESS_READ);
    if (!archive.isOpen())
        return;
    const std::vector<std::string> names = archive.names();
    const auto [shared, unused] = archivelayout::examine(options.archive, names);
    if (shared != 0)
        throw std::runtime_error(std::to_string(shared) + " bytes of entries are those of others or of the table too");
    if (unused != 0)
        errorreport::note(errorreport::subject, std::to_string(unused) + " bytes belong to no entry");
    const uint64 total = startProgress(archive, names);
    forEachName(names, [&](const std::string& name) { verifyEntry(archive, name, options); });
    errorreport::progress.clear();
    if (errorreport::count == 0 && !options.showsDigests)
        std::printf("%zu entries, %llu bytes: all can be read\n", names.size(), static_cast<unsigned long long>(total));
}

struct Command {
    std::string_view name;
    void (*run)(const Options&);
    std::size_t fewestNames;
    std::size_t mostNames;
    bool takesDirectory;
    bool mayReplace;
    bool hasDigests;
};

constexpr std::size_t cAny = ~std::size_t{0};
constexpr Command cCommands[] = {
    {"create", create, 1, cAny, true, false, false},
    {"add", add, 1, cAny, true, false, false},
    {"list", list, 0, 0, false, false, false},
    {"extract", extract, 0, cAny, true, true, false},
    {"verify", verify, 0, 0, false, false, Digest::cIsThere},
};

const Command& findCommand(const std::string& name) {
    for (const Command& command : cCommands) {
        if (command.name == name)
            return command;
    }
    throw UsageError("there is no command \"" + name + "\"");
}

/// What is on the command line behind the command.
Options readOptions(const Command& command, const std::vector<std::string>& arguments) {
    Options options;
    std::vector<std::string> others;
    bool areOptions = true;
    for (std::size_t at = 0; at < arguments.size(); ++at) {
        const std::string& argument = arguments[at];
        if (!areOptions || argument.size() < 2 || argument[0] != '-') {
            others.push_back(argument);
        } else if (argument == "--") {
            areOptions = false;
        } else if (argument == "-f" && command.mayReplace) {
            options.replaces = true;
        } else if (argument == "--md5" && command.hasDigests) {
            options.showsDigests = true;
        } else if (argument == "-C" && command.takesDirectory && at + 1 < arguments.size()) {
            options.directory = arguments[++at];
        } else {
            throw UsageError("\"" + std::string(command.name) + "\" cannot do anything with " + argument);
        }
    }
    if (others.empty())
        throw UsageError("which archive?");
    options.archive = others.front();
    options.names.assign(others.begin() + 1, others.end());
    if (options.names.size() < command.fewestNames)
        throw UsageError("which files?");
    if (options.names.size() > command.mostNames)
        throw UsageError("\"" + std::string(command.name) + "\" takes nothing but an archive");
    return options;
}

void run(const std::vector<std::string>& arguments) {
    if (arguments.empty())
        throw UsageError("nothing to do");
    const Command& command = findCommand(arguments.front());
    const Options options = readOptions(command, {arguments.begin() + 1, arguments.end()});
    interrupt::catchSignals();
    guarded(options.archive.string(), [&] { command.run(options); });
}

} // namespace

int main(int argc, char** argv) {
    return runProgram("tarq-pack", cHelp, argc, argv, &run);
}
