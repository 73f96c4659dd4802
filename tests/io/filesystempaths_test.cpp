#include "common/io/filesystem.h"

#include "common/io/directoryexception.h"

#include "tests/support/librarytest.h"
#include "tests/support/streams.h"
#include "tests/support/workingdirectory.h"

using namespace Tarq::Common;
using namespace Tarq::Test;
using IO::FileSystem;

namespace {

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
