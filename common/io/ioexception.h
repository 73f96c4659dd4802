#pragma once

#include "common/exceptions/exception.h"

namespace Tarq::Common::IO {

/// Base of what goes wrong with streams, files and directories, and what has no class of its own.
class TARQ_API IOException : public Exceptions::Exception {
public:
    using Exception::Exception;
    ~IOException() override;
    String getExceptionName() const override;
};

/// The medium, or the share of it that the process may use, is full.
class TARQ_API OutOfSpaceException : public IOException {
public:
    using IOException::IOException;
    ~OutOfSpaceException() override;
    String getExceptionName() const override;
};

/// Something is wrong with a file. Parameters: "Filename", as the caller gave it, and "FullFilename", made absolute.
class TARQ_API FileException : public IOException {
public:
    FileException(const String& message, const String& fileName, const String& fullFileName);
    ~FileException() override;
    String getExceptionName() const override;

    const String& getFileName() const noexcept { return mFileName; }
    const String& getFullFileName() const noexcept { return mFullFileName; }

protected:
    void getExceptionParameter(Exceptions::ParameterList& parameters) const override;

private:
    String mFileName;
    String mFullFileName;
};

/// There is no such file, or no such directory on the way to it.
class TARQ_API FileNotFoundException : public FileException {
public:
    using FileException::FileException;
    ~FileNotFoundException() override;
    String getExceptionName() const override;
};

/// There is such a file already.
class TARQ_API FileExistException : public FileException {
public:
    using FileException::FileException;
    ~FileExistException() override;
    String getExceptionName() const override;
};

} // namespace Tarq::Common::IO
