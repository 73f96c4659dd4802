#include "common/debug/tarqmessagebox.h"

#include "common/debug/assert.h"
#include "common/platform/messagebox.h"

#include <algorithm>
#include <atomic>

namespace Tarq::Common::Debug {

namespace {

TarqMessageBox::Button writeToStandardError(const char* caption, const char* text, TarqMessageBox::Icon) {
    return Platform::writeMessage(caption, text) ? TarqMessageBox::BUTTON_OK : TarqMessageBox::BUTTON_NONE;
}

constinit std::atomic<TarqMessageBox::Service> gService{&writeToStandardError};

/// A NUL would hide all that follows.
String withoutNuls(String text) {
    std::replace(text.begin(), text.end(), '\0', ' ');
    return text;
}

} // namespace

TarqMessageBox::Result TarqMessageBox::show(const String& caption, const String& text, Icon icon) {
    switch (gService.load()(withoutNuls(caption).c_str(), withoutNuls(text).c_str(), icon)) {
    case BUTTON_OK:
        return RESULT_OK;
    case BUTTON_YES:
        return RESULT_YES;
    case BUTTON_NO:
        return RESULT_NO;
    case BUTTON_CANCEL:
        return RESULT_CANCEL;
    case BUTTON_NONE:
        break;
    }
    TARQ_FAIL("Some buttons have been defined, which have no assigned returnvalue");
    return RESULT_CANCEL;
}

void TarqMessageBox::setService(Service service) noexcept {
    gService.store(service ? service : &writeToStandardError);
}

} // namespace Tarq::Common::Debug
