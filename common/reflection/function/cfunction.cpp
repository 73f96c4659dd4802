#include "common/reflection/function/cfunction.h"

#include "common/reflection/function/functionargumentlist.h"
#include "common/reflection/function/internal/signature.h"

namespace Tarq::Common::Reflection::Function {

bool CFunction::accepts(const FunctionArgumentList& arguments) const {
    return isMatching(argumentTypes, arguments.getSignature());
}

} // namespace Tarq::Common::Reflection::Function
