#include "common/reflection/function/cfunction.h"

#include "common/reflection/function/functionargumentlist.h"
#include "common/reflection/function/internal/signature.h"

#include <algorithm>

namespace Tarq::Common::Reflection::Function {

bool CFunction::accepts(const FunctionArgumentList& arguments) const {
    if (arguments.size() != numArguments)
        return false;
    return std::equal(argumentTypes, argumentTypes + numArguments, arguments.getSignature()) ||
           isMatching({argumentTypes, numArguments}, {arguments.getSignature(), numArguments});
}

} // namespace Tarq::Common::Reflection::Function
