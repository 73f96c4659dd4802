#include "bench/datafile.h"

#include <filesystem>
#include <fstream>
#include <numeric>

#include <stdlib.h>
#include <unistd.h>

namespace Tarq::Bench {

DataFile::DataFile(uint32 wordCount) : mPath(std::filesystem::temp_directory_path() / "tarq-bench-XXXXXX") {
    const int file = mkstemp(mPath.data());
    check(file >= 0, "a temporary file cannot be made");
    ::close(file);
    std::vector<uint32> words(wordCount);
    std::iota(words.begin(), words.end(), 0u);
    write(words);
}

DataFile::~DataFile() {
    std::error_code ignored;
    std::filesystem::remove(mPath, ignored);
}

std::vector<uint32> DataFile::read() const {
    std::vector<uint32> words(std::filesystem::file_size(mPath) / sizeof(uint32));
    std::ifstream file(mPath, std::ios::binary);
    file.read(reinterpret_cast<char*>(words.data()), static_cast<std::streamsize>(words.size() * sizeof(uint32)));
    check(file.good(), "a temporary file cannot be read");
    return words;
}

void DataFile::write(std::span<const uint32> words) const {
    std::ofstream file(mPath, std::ios::binary);
    file.write(reinterpret_cast<const char*>(words.data()), static_cast<std::streamsize>(words.size_bytes()));
    file.close();
    check(file.good(), "a temporary file cannot be written");
}

} // namespace Tarq::Bench
