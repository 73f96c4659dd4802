#include "common/io/directoryexception.h"

namespace Tarq::Common::IO {

DirectoryException::DirectoryException(const String& message, const String& directory)
    : IOException(message), mDirectory(directory) {}

DirectoryException::~DirectoryException() = default;

String DirectoryException::getExceptionName() const {
    return "DirectoryException";
}

void DirectoryException::getExceptionParameter(Exceptions::ParameterList& parameters) const {
    parameters.push_back({"Directory", mDirectory});
}

DirectoryExistsException::~DirectoryExistsException() = default;

String DirectoryExistsException::getExceptionName() const {
    return "DirectoryExistsException";
}

DirectoryNotEmptyException::~DirectoryNotEmptyException() = default;

String DirectoryNotEmptyException::getExceptionName() const {
    return "DirectoryNotEmptyException";
}

DirectoryNotFoundException::~DirectoryNotFoundException() = default;

String DirectoryNotFoundException::getExceptionName() const {
    return "DirectoryNotFoundException";
}

} // namespace Tarq::Common::IO
