// Dialog and window stubs. Driver code shared with desktop platforms calls message boxes,
// dialogs, property sheets and window placement; on this platform a driver has no window to
// show them in, so these substitutes show nothing and answer at once, the way a user who
// cannot be asked would leave things:
//
// - koMessageBox answers with the box's default button (MB_DEFBUTTON1..4 among the buttons of
//   its MB_ type), as if Enter had been pressed: IDOK for a plain box, IDYES for MB_YESNO,
//   IDNO for MB_YESNO | MB_DEFBUTTON2, and so on. With debug bit KO_DEBUG_DIALOG (0x800) on, the
//   caption and text go to standard output, so that a message meant for a user is not lost.
// - koDialogBox and koDialogBoxParam answer IDCANCEL: a dialog that needs the user (a connect
//   prompt, say) is cancelled, and the caller takes its cancel path.
// - koPropertySheet answers 0: closed without changes.
// - koEndDialog, koShowWindow, koSetWindowPlacement, koEnableWindow succeed and change
//   nothing; koGetWindowPlacement fills a placement of zeros (with its length) and succeeds;
//   koIsWindow says no window exists.
// Every stub accepts null handles and texts.
#pragma once

#include "kolib/export.h"

typedef void* KoWindow;

enum {
    KO_IDOK = 1,
    KO_IDCANCEL = 2,
    KO_IDABORT = 3,
    KO_IDRETRY = 4,
    KO_IDIGNORE = 5,
    KO_IDYES = 6,
    KO_IDNO = 7
};

// Message-box types (the low four bits) and default buttons (bits 8 to 11).
enum {
    KO_MB_OK = 0x0,
    KO_MB_OKCANCEL = 0x1,
    KO_MB_ABORTRETRYIGNORE = 0x2,
    KO_MB_YESNOCANCEL = 0x3,
    KO_MB_YESNO = 0x4,
    KO_MB_RETRYCANCEL = 0x5,
    KO_MB_DEFBUTTON1 = 0x000,
    KO_MB_DEFBUTTON2 = 0x100,
    KO_MB_DEFBUTTON3 = 0x200,
    KO_MB_DEFBUTTON4 = 0x300
};

struct KoWindowPlacement {
    unsigned Length;
    unsigned Flags;
    unsigned ShowCommand;
    long MinPosition[2];
    long MaxPosition[2];
    long NormalPosition[4];
};

typedef long (*KoDialogProc)(KoWindow, unsigned, unsigned long, long);

extern "C" {
KO_API int koMessageBox(KoWindow owner, const char* text, const char* caption, unsigned type);
KO_API long koDialogBox(void* instance, const char* templateName, KoWindow owner,
                        KoDialogProc procedure);
KO_API long koDialogBoxParam(void* instance, const char* templateName, KoWindow owner,
                             KoDialogProc procedure, long parameter);
KO_API long koPropertySheet(const void* header);
KO_API int koEndDialog(KoWindow dialog, long result);
KO_API int koShowWindow(KoWindow window, int command);
KO_API int koEnableWindow(KoWindow window, int enable);
KO_API int koIsWindow(KoWindow window);
KO_API int koGetWindowPlacement(KoWindow window, KoWindowPlacement* placement);
KO_API int koSetWindowPlacement(KoWindow window, const KoWindowPlacement* placement);
}
