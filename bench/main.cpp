#include "bench/cases.h"
#include "bench/foreignallocator.h"

int main(int argc, char** argv) {
    using namespace Tarq::Bench;
    reserveThreadStorage(argv);
    return run(argc, argv,
               {allocatorCases, stringCases,         containerCases,    sharedPtrCases, lockCases,      threadPoolCases,
                md5Cases,       bufferedStreamCases, memoryStreamCases, archiveCases,   serializeCases, messageCases,
                networkCases,   debuggerCases,       xmlCases,          textCases,      functionCases,  formulaCases,
                logCases,       exceptionCases,      geomCases,         vrmlCases});
}
