// Numbered message texts from a message catalogue chosen by the user's message locale.
#pragma once

#include "kolib/export.h"

// Copies message `resource` (set 1) of catalogue `catalogue` into `buffer`: at most `size`
// bytes with the terminator, or the whole text when `size` is 0. The catalogue is
// "locale/<message locale>/LC_MESSAGES/<catalogue>.mo" found through the library search path
// and its parents. When the catalogue or the message is missing the text is the number in
// decimal. Returns the length of the text placed in the buffer. Runs under CritCatalog; may
// set the process's message locale (LC_MESSAGES), which then stays set.
KO_API unsigned long LoadString(const char* catalogue, unsigned resource, char* buffer,
                                unsigned long size);
