// The dialog and window stubs: nothing is shown; each answers as its header says.
#include "kolib/dialog_stubs.h"

#include <cstdio>
#include <cstring>
#include "kolib/frame.h"

namespace {
// The buttons of each message-box type, in order.
const int Buttons[][3] = {
    {KO_IDOK, 0, 0},                       // MB_OK
    {KO_IDOK, KO_IDCANCEL, 0},             // MB_OKCANCEL
    {KO_IDABORT, KO_IDRETRY, KO_IDIGNORE}, // MB_ABORTRETRYIGNORE
    {KO_IDYES, KO_IDNO, KO_IDCANCEL},      // MB_YESNOCANCEL
    {KO_IDYES, KO_IDNO, 0},                // MB_YESNO
    {KO_IDRETRY, KO_IDCANCEL, 0},          // MB_RETRYCANCEL
};
} // namespace

extern "C" {

int koMessageBox(KoWindow, const char* text, const char* caption, unsigned type) {
    if (BOS_RUNTIME_DEBUG.debugItem(KO_DEBUG_DIALOG)) {
        std::printf("%s: %s\n", caption ? caption : "", text ? text : "");
        std::fflush(stdout);
    }
    unsigned kind = type & 0xF;
    unsigned button = (type >> 8) & 0xF;
    if (kind >= sizeof Buttons / sizeof Buttons[0]) return KO_IDOK;
    // A default button past the box's last one falls back to the first, as a dialog would.
    if (button > 2 || Buttons[kind][button] == 0) button = 0;
    return Buttons[kind][button];
}

long koDialogBox(void*, const char*, KoWindow, KoDialogProc) {
    return KO_IDCANCEL;
}

long koDialogBoxParam(void*, const char*, KoWindow, KoDialogProc, long) {
    return KO_IDCANCEL;
}

long koPropertySheet(const void*) {
    return 0;
}

int koEndDialog(KoWindow, long) {
    return 1;
}

int koShowWindow(KoWindow, int) {
    return 0; // the window was not visible before
}

int koEnableWindow(KoWindow, int) {
    return 0;
}

int koIsWindow(KoWindow) {
    return 0;
}

int koGetWindowPlacement(KoWindow, KoWindowPlacement* placement) {
    if (!placement) return 0;
    std::memset(placement, 0, sizeof *placement);
    placement->Length = sizeof *placement;
    return 1;
}

int koSetWindowPlacement(KoWindow, const KoWindowPlacement* placement) {
    return placement != nullptr;
}
}
