#pragma once

#include "support/errorreport.h"
#include "support/interrupt.h"
#include "support/newfile.h"

#include "common/io/filestream.h"

#include <filesystem>
#include <string_view>
#include <vector>

/// A new file that is written in many small pieces. It is there when it is complete, or not at all.
class OutputFile {
public:
    explicit OutputFile(const std::filesystem::path& path)
        : mNewFile(path), mFile(mNewFile.path().c_str(), Tarq::Common::IO::FileStream::FACCESS_WRITE,
                                Tarq::Common::IO::FileStream::FMODE_OPEN) {
        mBuffer.resize(cBufferSize);
    }

    /// Room for so many bytes, at most `cBufferSize`: they count when `commit` has got their end.
    char* reserve(std::size_t size) {
        if (mBuffer.size() - mUsed < size)
            flush();
        return mBuffer.data() + mUsed;
    }
    void commit(const char* end) { mUsed = static_cast<std::size_t>(end - mBuffer.data()); }

    void write(std::string_view bytes) {
        while (!bytes.empty()) {
            const std::size_t count = bytes.copy(reserve(1), mBuffer.size() - mUsed);
            mUsed += count;
            bytes.remove_prefix(count);
        }
    }

    void complete() {
        flush();
        mFile.flush();
        mFile.close();
        mNewFile.complete();
    }

    static constexpr std::size_t cBufferSize = std::size_t{1} << 18;

private:
    void flush() {
        interrupt::check();
        if (mUsed != 0)
            mFile.write(mBuffer.data(), mUsed);
        mUsed = 0;
        errorreport::throwIfReported();
    }

    NewFile mNewFile;
    Tarq::Common::IO::FileStream mFile;
    std::vector<char> mBuffer;
    std::size_t mUsed = 0;
};
