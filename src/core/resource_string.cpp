// KoResourceString: a message of the library's own catalogue in a fixed 256-byte buffer.
#include "kolib/frame.h"
#include "kolib/load_string.h"
#include "kolib/resource_string.h"

KoResourceString::KoResourceString(unsigned short number) {
    Buffer[0] = '\0';
    // The look-up is capped at the buffer, so a long catalogue text is cut, never overflows.
    LoadString(BKOHINST, number, Buffer, sizeof Buffer);
}
