#pragma once

#include "common/io/ioexception.h"

namespace Tarq::Common::IO {

/// Something is wrong with a directory. Parameter: "Directory".
class TARQ_API DirectoryException : public IOException {
public:
    DirectoryException(const String& message, const String& directory);
    ~DirectoryException() override;
    String getExceptionName() const override;

    const String& getDirectory() const noexcept { return mDirectory; }

protected:
    void getExceptionParameter(Exceptions::ParameterList& parameters) const override;

private:
    String mDirectory;
};

/// There is such a directory already.
class TARQ_API DirectoryExistsException : public DirectoryException {
public:
    using DirectoryException::DirectoryException;
    ~DirectoryExistsException() override;
    String getExceptionName() const override;
};

/// The directory holds something and is not removed.
class TARQ_API DirectoryNotEmptyException : public DirectoryException {
public:
    using DirectoryException::DirectoryException;
    ~DirectoryNotEmptyException() override;
    String getExceptionName() const override;
};

/// There is no such directory.
class TARQ_API DirectoryNotFoundException : public DirectoryException {
public:
    using DirectoryException::DirectoryException;
    ~DirectoryNotFoundException() override;
    String getExceptionName() const override;
};

} // namespace Tarq::Common::IO
