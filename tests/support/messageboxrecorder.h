#pragma once

#include "common/debug/tarqmessagebox.h"

#include <string>
#include <vector>

namespace Tarq::Test {

/// Stands in for the message box while it is in scope: notes what is shown, and presses a button. One at a time.
class MessageBoxRecorder {
public:
    struct Shown {
        std::string caption;
        std::string text;
        Common::Debug::TarqMessageBox::Icon icon;
    };

    explicit MessageBoxRecorder(
        Common::Debug::TarqMessageBox::Button pressed = Common::Debug::TarqMessageBox::BUTTON_OK) {
        sPressed = pressed;
        sShown.clear();
        Common::Debug::TarqMessageBox::setService(&record);
    }
    ~MessageBoxRecorder() { Common::Debug::TarqMessageBox::setService(nullptr); }
    MessageBoxRecorder(const MessageBoxRecorder&) = delete;
    MessageBoxRecorder& operator=(const MessageBoxRecorder&) = delete;

    const std::vector<Shown>& getShown() const { return sShown; }

private:
    static Common::Debug::TarqMessageBox::Button record(const char* caption, const char* text,
                                                        Common::Debug::TarqMessageBox::Icon icon) {
        sShown.push_back({caption, text, icon});
        return sPressed;
    }

    static inline std::vector<Shown> sShown;
    static inline Common::Debug::TarqMessageBox::Button sPressed;
};

} // namespace Tarq::Test
