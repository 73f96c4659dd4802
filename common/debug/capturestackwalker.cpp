#include "common/debug/capturestackwalker.h"

#include "common/exceptions/exception.h"

namespace Tarq::Common::Debug {

CaptureStackWalker::CaptureStackWalker(CallStack& callStack) noexcept : mCallStack(callStack) {}

CaptureStackWalker::~CaptureStackWalker() = default;

void CaptureStackWalker::OnCallstackEntry(FrameKind kind, const FrameRecord& record) {
    if (kind == FRAME_LAST)
        return;
    try {
        mCallStack.push_back(CallStackEntry{record.mSymbolName, record.mFile, record.mLine, record.mModuleName});
    } catch (Exceptions::Exception* exception) {
        delete exception;
    }
}

} // namespace Tarq::Common::Debug
