// Host and user names, and sleeping.
#pragma once

#include "kolib/export.h"

// The host name. Callers pass one less than the buffer's capacity: when the name does not fit
// in `size` bytes, `size` bytes are copied and the terminator goes to buffer[size]. A null
// buffer or size 0 does nothing and succeeds. 1 when the host name cannot be had.
KO_API unsigned bosGetMachineName(char* buffer, unsigned long size);
// The login name of the real user, with the same buffer rule. 1 when there is none.
KO_API unsigned bosGetHostUser(char* buffer, unsigned long size);
// Sleeps ms / 1000 seconds plus (ms % 1000) microseconds: the fraction is a thousand times
// shorter than asked, an established behaviour that callers depend on.
KO_API void bossleep(unsigned short ms);
