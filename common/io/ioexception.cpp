#include "common/io/ioexception.h"

namespace Tarq::Common::IO {

IOException::~IOException() = default;

String IOException::getExceptionName() const {
    return "IOException";
}

OutOfSpaceException::~OutOfSpaceException() = default;

String OutOfSpaceException::getExceptionName() const {
    return "OutOfSpaceException";
}

FileException::FileException(const String& message, const String& fileName, const String& fullFileName)
    : IOException(message), mFileName(fileName), mFullFileName(fullFileName) {}

FileException::~FileException() = default;

String FileException::getExceptionName() const {
    return "FileException";
}

void FileException::getExceptionParameter(Exceptions::ParameterList& parameters) const {
    parameters.push_back({"Filename", mFileName});
    parameters.push_back({"FullFilename", mFullFileName});
}

FileNotFoundException::~FileNotFoundException() = default;

String FileNotFoundException::getExceptionName() const {
    return "FileNotFoundException";
}

FileExistException::~FileExistException() = default;

String FileExistException::getExceptionName() const {
    return "FileExistException";
}

} // namespace Tarq::Common::IO
