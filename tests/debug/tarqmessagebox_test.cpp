#include "common/debug/tarqmessagebox.h"

#include "tests/support/librarytest.h"
#include "tests/support/messageboxrecorder.h"

using namespace Tarq::Common;
using namespace Tarq::Test;
using Debug::TarqMessageBox;

TEST_CASE_FIXTURE(LibraryTest, "each button has its result") {
    const struct {
        TarqMessageBox::Button pressed;
        uint32 result;
    } cases[] = {
        {TarqMessageBox::BUTTON_OK, 0},
        {TarqMessageBox::BUTTON_YES, 1},
        {TarqMessageBox::BUTTON_NO, 2},
        {TarqMessageBox::BUTTON_CANCEL, 3},
    };
    for (const auto& each : cases) {
        const MessageBoxRecorder box(each.pressed);
        CHECK(TarqMessageBox::show("caption", "text", TarqMessageBox::ICON_WARNING) == each.result);
        REQUIRE(box.getShown().size() == 1);
        CHECK(box.getShown()[0].caption == "caption");
        CHECK(box.getShown()[0].text == "text");
        CHECK(box.getShown()[0].icon == 1);
    }
}

TEST_CASE_FIXTURE(LibraryTest, "a button without a result asserts and counts as Cancel") {
    for (const auto pressed : {TarqMessageBox::BUTTON_NONE, static_cast<TarqMessageBox::Button>(99)}) {
        const MessageBoxRecorder box(pressed);
        const ExpectedAssertion expected(
            "\nError Message: Some buttons have been defined, which have no assigned returnvalue",
            "common/debug/tarqmessagebox");
        CHECK(TarqMessageBox::show("caption", "text", TarqMessageBox::ICON_ERROR) == 3);
    }
}
