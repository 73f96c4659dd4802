#include "common/parser/formula/fieldmathvalue.h"

namespace Tarq::Common::Parser::Formula {

template class FieldMathValue<bool>;
template class FieldMathValue<int32>;
template class FieldMathValue<uint32>;
template class FieldMathValue<int64>;
template class FieldMathValue<float>;
template class FieldMathValue<String>;

} // namespace Tarq::Common::Parser::Formula
