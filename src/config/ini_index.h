// The section index of an INI cache: every header that the section search would accept, in
// file order, hashed without regard to ASCII case, so a look-up costs one probe instead of a
// walk over the whole text. The index is built by the very walk the search does, so it
// finds exactly what the walk would find (the first acceptable header of that name). A text
// with more headers than the index takes, or an index that cannot be allocated, leaves the
// cache on the plain walk.
#pragma once

#include <cstdint>

struct KoIniSectionIndex;

// Builds the index of text[0, length) for the strict or the compatible reading; null when there
// is none (no memory, too many headers).
KoIniSectionIndex* koIniBuildIndex(const char* text, uint32_t length, bool compatible);
void koIniFreeIndex(KoIniSectionIndex* index);
// The section with this header (brackets included): its "[" and its end (the next "[" or
// the end of the text) as offsets. False when there is no such section.
bool koIniFindSection(const KoIniSectionIndex* index, const char* text, const char* header,
                      uint32_t headerLength, uint32_t* start, uint32_t* end);

// Case-insensitive equality of ASCII letters; other bytes compare exactly.
bool koIniSameName(const char* a, const char* b, uint32_t length);
