#pragma once

#include "common/exceptions/exception.h"
#include "common/platform/thread.h"

#include <exception>
#include <string_view>

namespace Tarq::Common::Exceptions {

/// What an exception said, kept until it is gone: who gets the report may end the thread, which cannot pass while an
/// exception is being handled. What is too long is cut off.
class CaughtText {
public:
    void keep(std::string_view text) noexcept {
        mText[text.copy(mText, sizeof(mText) - 1)] = '\0';
        mIsCaught = true;
    }
    bool isCaught() const noexcept { return mIsCaught; }
    const char* getText() const noexcept { return mText; }

private:
    char mText[256];
    bool mIsCaught = false;
};

/// Returns what `body` returns; false, and what was said, when it throws, whatever that is. The end of a thread passes.
template <class Body>
bool runGuarded(CaughtText& caught, const Body& body) {
    try {
        return body();
    } catch (Exception* exception) {
        const Holder holder(exception);
        caught.keep(exception->getMessage());
    } catch (const std::exception& exception) {
        caught.keep(exception.what());
    } catch (...) {
        Platform::resumeThreadEnd();
        caught.keep("an exception of a type unknown here");
    }
    return false;
}

} // namespace Tarq::Common::Exceptions
