#include "common/debug/tarqmessagebox.h"

#include "tests/support/librarytest.h"
#include "tests/support/messageboxrecorder.h"

using namespace Tarq::Common;
using namespace Tarq::Test;
using Debug::TarqMessageBox;

TEST_CASE_FIXTURE(LibraryTest, "each button has its result; without one it is an assertion, and Cancel") {
    const struct {
        TarqMessageBox::Button pressed;
        uint32 result;
        int assertions;
    } cases[] = {
        {TarqMessageBox::BUTTON_OK, 0, 0},   {TarqMessageBox::BUTTON_YES, 1, 0},
        {TarqMessageBox::BUTTON_NO, 2, 0},   {TarqMessageBox::BUTTON_CANCEL, 3, 0},
        {TarqMessageBox::BUTTON_NONE, 3, 1}, {static_cast<TarqMessageBox::Button>(99), 3, 1},
    };
    for (const auto& each : cases) {
        CAPTURE(each.pressed);
        const MessageBoxRecorder box(each.pressed);
        const ExpectedAssertion expected(
            "\nError Message: Some buttons have been defined, which have no assigned returnvalue",
            "common/debug/tarqmessagebox", each.assertions);
        CHECK(TarqMessageBox::show("caption", String("te\0xt", 5), TarqMessageBox::ICON_WARNING) == each.result);
        REQUIRE(box.getShown().size() == 1);
        CHECK(box.getShown()[0].caption == "caption");
        CHECK(box.getShown()[0].text == "te xt");
        CHECK(box.getShown()[0].icon == 1);
    }
}
