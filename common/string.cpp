#include "common/string.h"

namespace Tarq::Common {

template class BasicString<char>;
template class BasicString<wchar_t>;

} // namespace Tarq::Common
