#pragma once

#include "common/export.h"
#include "common/string.h"

namespace Tarq::Common::Debug {

/// Shows a modal message box with an OK button.
///
/// The library has no user interface of its own. A host that has one installs a service; without one, caption and text
/// go to standard error, and the answer is OK. Threads: any; the service must be ready for that.
class TARQ_API TarqMessageBox {
public:
    enum Icon : uint32 { ICON_NONE = 0, ICON_WARNING = 1, ICON_ERROR = 2 };
    enum Result : uint32 { RESULT_OK = 0, RESULT_YES = 1, RESULT_NO = 2, RESULT_CANCEL = 3 };

    /// The button that was pressed, as a service tells it; `BUTTON_NONE` when no box could be shown.
    enum Button : uint32 { BUTTON_NONE, BUTTON_OK, BUTTON_YES, BUTTON_NO, BUTTON_CANCEL };
    using Service = Button (*)(const char* caption, const char* text, Icon icon);

    /// Returns the pressed button's result. A button that has none asserts, and counts as Cancel.
    static Result show(const String& caption, const String& text, Icon icon);

    /// Null installs the default again.
    static void setService(Service service) noexcept;

    TarqMessageBox() = delete;
};

} // namespace Tarq::Common::Debug
