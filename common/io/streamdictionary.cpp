#include "common/io/streamdictionary.h"

namespace Tarq::Common::IO {

StreamDictionary::~StreamDictionary() = default;

} // namespace Tarq::Common::IO
