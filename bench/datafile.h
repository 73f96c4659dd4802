#pragma once

#include "bench/harness.h"

#include <span>
#include <vector>

namespace Tarq::Bench {

/// A file of 32-bit words in the directory for temporary files, which goes with this object.
class DataFile {
public:
    /// The words are 0, 1, 2 ...
    explicit DataFile(uint32 wordCount);
    ~DataFile();
    DataFile(const DataFile&) = delete;
    DataFile& operator=(const DataFile&) = delete;

    const char* path() const { return mPath.c_str(); }
    std::vector<uint32> read() const;
    void write(std::span<const uint32> words) const;

private:
    std::string mPath;
};

} // namespace Tarq::Bench
