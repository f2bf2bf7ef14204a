// KoBitArray: a plain set of bits. Bit i is bit (i mod 8) of byte i / 8, counting from the
// least significant bit. Bit numbers are not checked against the size.
#pragma once

#include <cstdint>
#include "kolib/object.h"

class KO_API KoBitArray : public KoObject {
public:
    KoBitArray() : BitString(nullptr), NumberOfBits(0) {}
    ~KoBitArray() override;
    KoBitArray(const KoBitArray&) = delete;
    KoBitArray& operator=(const KoBitArray&) = delete;

    // Replaces the bits by n / 8 + 1 cleared bytes. 1 on failure (the old bits are kept).
    unsigned initialize(unsigned long numberOfBits);
    int isInitialized() const { return BitString != nullptr; }
    void set(unsigned long bit) { BitString[bit >> 3] |= static_cast<uint8_t>(1u << (bit & 7)); }
    void reset(unsigned long bit) {
        BitString[bit >> 3] &= static_cast<uint8_t>(~(1u << (bit & 7)));
    }
    int isSet(unsigned long bit) const { return (BitString[bit >> 3] >> (bit & 7)) & 1; }
    // Clears all NumberOfBits / 8 + 1 bytes.
    void resetAll();

    uint8_t* BitString;
    uint32_t NumberOfBits;
};
