// The dialog and window stubs answer without a user: the default button of a message box, a
// cancelled dialog, an unchanged property sheet.
#include <gtest/gtest.h>

#include "kolib/dialog_stubs.h"
#include "kolib/frame.h"
#include "test_support.h"

TEST(DialogStubs, AnswerAsAUserWhoCannotBeAsked) {
    EXPECT_EQ(KO_IDOK, koMessageBox(nullptr, "done", "Driver", KO_MB_OK));
    EXPECT_EQ(KO_IDOK, koMessageBox(nullptr, nullptr, nullptr, KO_MB_OKCANCEL));
    EXPECT_EQ(KO_IDCANCEL, koMessageBox(nullptr, "x", "y", KO_MB_OKCANCEL | KO_MB_DEFBUTTON2));
    EXPECT_EQ(KO_IDNO, koMessageBox(nullptr, "x", "y", KO_MB_YESNO | KO_MB_DEFBUTTON2));
    EXPECT_EQ(KO_IDCANCEL, koMessageBox(nullptr, "x", "y", KO_MB_YESNOCANCEL | KO_MB_DEFBUTTON3));
    EXPECT_EQ(KO_IDIGNORE,
              koMessageBox(nullptr, "x", "y", KO_MB_ABORTRETRYIGNORE | KO_MB_DEFBUTTON3));
    // A default past the last button, or an unknown type, falls back to the first / OK.
    EXPECT_EQ(KO_IDYES, koMessageBox(nullptr, "x", "y", KO_MB_YESNO | KO_MB_DEFBUTTON4));
    EXPECT_EQ(KO_IDOK, koMessageBox(nullptr, "x", "y", 0xE));

    EXPECT_EQ(KO_IDCANCEL, koDialogBox(nullptr, "CONNECT", nullptr, nullptr));
    EXPECT_EQ(KO_IDCANCEL, koDialogBoxParam(nullptr, "CONNECT", nullptr, nullptr, 7));
    EXPECT_EQ(0, koPropertySheet(nullptr));
    EXPECT_EQ(1, koEndDialog(nullptr, KO_IDOK));
    EXPECT_EQ(0, koIsWindow(nullptr));
    KoWindowPlacement placement;
    placement.ShowCommand = 9;
    EXPECT_EQ(1, koGetWindowPlacement(nullptr, &placement));
    EXPECT_EQ(sizeof placement, placement.Length);
    EXPECT_EQ(0u, placement.ShowCommand);
    EXPECT_EQ(0, koGetWindowPlacement(nullptr, nullptr));
    EXPECT_EQ(1, koSetWindowPlacement(nullptr, &placement));

    // The text of a box nobody sees is traced under its debug bit.
    std::string out = kotest::traced(
        KO_DEBUG_DIALOG, [] { koMessageBox(nullptr, "Disk full", "Export", KO_MB_OK); });
    EXPECT_EQ("Export: Disk full\n", out);
    EXPECT_EQ("", kotest::traced(0, [] { koMessageBox(nullptr, "quiet", "x", KO_MB_OK); }));
}
