// Symbol export for the public interface. The library is built with hidden default
// visibility; everything a driver may call carries KO_API.
#pragma once

#if defined(KOLIB_BUILDING)
#define KO_API __attribute__((visibility("default")))
#else
#define KO_API
#endif
