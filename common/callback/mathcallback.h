#pragma once

#include "common/export.h"

namespace Tarq::Common::Callback {

/// The host's random numbers; the default is the platform's plain generator, shared by the whole process.
class TARQ_API MathCallback {
public:
    virtual ~MathCallback();

    virtual void initalizeRandomGenerator(unsigned int seed);
    /// 0 to 32767 from the default.
    virtual unsigned int getRandomNumber();
};

} // namespace Tarq::Common::Callback
