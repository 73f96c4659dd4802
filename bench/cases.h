#pragma once

#include "bench/harness.h"

namespace Tarq::Bench {

std::vector<Case> allocatorCases();
std::vector<Case> stringCases();
std::vector<Case> containerCases();
std::vector<Case> sharedPtrCases();
std::vector<Case> lockCases();
std::vector<Case> threadPoolCases();
std::vector<Case> md5Cases();
std::vector<Case> bufferedStreamCases();
std::vector<Case> memoryStreamCases();
std::vector<Case> archiveCases();
std::vector<Case> serializeCases();
std::vector<Case> messageCases();
std::vector<Case> networkCases();
std::vector<Case> debuggerCases();
std::vector<Case> xmlCases();
std::vector<Case> textCases();
std::vector<Case> functionCases();
std::vector<Case> formulaCases();
std::vector<Case> logCases();
std::vector<Case> exceptionCases();
std::vector<Case> geomCases();
std::vector<Case> vrmlCases();

} // namespace Tarq::Bench
