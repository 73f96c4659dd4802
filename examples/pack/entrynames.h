#pragma once

#include <algorithm>
#include <filesystem>
#include <functional>
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// Names of an archive's entries, and the files that they stand for. Names are paths below a directory, with "/".
namespace entrynames {

namespace fs = std::filesystem;

/// The files that are to become entries, by the entries' names.
using Files = std::map<std::string, fs::path>;

/// Whether the name stays inside of the directory that it is put into, on whatever system.
inline bool isInside(std::string_view name) {
    if (name.empty() || name.find('\0') != name.npos || name.find("//") != name.npos || name.back() == '/')
        return false;
    const fs::path path(name);
    return !path.has_root_path() && std::none_of(path.begin(), path.end(), [](const fs::path& component) {
        return component == "." || component == "..";
    });
}

/// Finds the regular files that `path` stands for, below `directory`: itself, or all that are in it. Links in it are
/// not followed. `skip` is called with the name of everything that is no file, and tells whether a file is left out.
inline void collect(Files& files, const fs::path& directory, const fs::path& path,
                    const std::function<bool(const fs::path&, bool isFile)>& skip) {
    const fs::path top = (directory / path).lexically_normal();
    const auto take = [&](const fs::path& file) {
        const std::string name = file.lexically_relative(directory.lexically_normal()).generic_string();
        if (!isInside(name))
            throw std::runtime_error("it is not below the directory where names begin; see -C");
        files.emplace(name, file);
    };
    const fs::file_type type = fs::status(top).type();
    if (type == fs::file_type::not_found)
        throw std::runtime_error("there is no such file or directory");
    if (type != fs::file_type::directory) {
        if (!skip(top, type == fs::file_type::regular))
            take(top);
        return;
    }
    // What the recursive iterator throws would not tell which directory cannot be read.
    for (std::vector<fs::path> directories{top}; !directories.empty();) {
        const fs::path current = std::move(directories.back());
        directories.pop_back();
        for (const fs::directory_entry& entry : fs::directory_iterator(current)) {
            const fs::file_type found = entry.symlink_status().type();
            if (found == fs::file_type::directory)
                directories.push_back(entry.path());
            else if (!skip(entry.path(), found == fs::file_type::regular))
                take(entry.path());
        }
    }
}

/// Makes the directories on the way to the file `name` below `directory`. None of them may be a link, which could lead
/// anywhere.
inline void makeDirectories(const fs::path& directory, const fs::path& name) {
    fs::path at = directory;
    for (const fs::path& component : name.parent_path()) {
        at /= component;
        const fs::file_type type = fs::symlink_status(at).type();
        if (type == fs::file_type::not_found)
            fs::create_directory(at);
        else if (type != fs::file_type::directory)
            throw std::runtime_error("\"" + at.string() + "\" is no directory");
    }
}

} // namespace entrynames
