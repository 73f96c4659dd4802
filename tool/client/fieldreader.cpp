#include "tool/client/fieldreader.h"

namespace Tarq::Tool {

using namespace Common;
using Network::Message::StreamIDs;

namespace {

/// A peer may have sent a number that has no name.
String nameOfTag(StreamIDs tag) {
    const char* const name = Network::Message::getStreamIDName(tag);
    return name ? String(name) : String("type ").appendDecimal(static_cast<uint8>(tag));
}

} // namespace

FieldReader::FieldReader(Memory::MemoryStream& message) : mMessage(message), mReader(&message, false) {}

void FieldReader::takeRest(Container::Vector<uint8>& bytes) {
    bytes.resizeForOverwrite(static_cast<uint32>(bytesLeft()));
    mMessage.read(bytes.data(), bytes.size());
}

bool FieldReader::finish() {
    if (bytesLeft() == 0)
        return true;
    mProblem = String().appendDecimal(bytesLeft()) + " bytes follow the last field";
    return false;
}

bool FieldReader::takeTag(const char* field, StreamIDs expected) {
    StreamIDs found{};
    if (!mReader.read(found)) {
        mProblem = String("the field \"") + field + "\" is missing";
        return false;
    }
    if (found != expected) {
        mProblem = String("the field \"") + field + "\" is " + nameOfTag(found) + " instead of " + nameOfTag(expected);
        return false;
    }
    return true;
}

bool FieldReader::reportCutOff(const char* field) {
    mProblem = String("the field \"") + field + "\" is cut off";
    return false;
}

bool FieldReader::skip(uint64 numBytes) {
    if (numBytes > bytesLeft())
        return false;
    mMessage.seek(static_cast<int64>(numBytes), IO::Stream::SORIGIN_CURRENT);
    return true;
}

} // namespace Tarq::Tool
