// KoBitArray: NumberOfBits / 8 + 1 bytes, bit i in byte i / 8 at bit i mod 8 (LSB first).
#include <cstring>
#include "kolib/bit_array.h"

KoBitArray::~KoBitArray() {
    ramFree(BitString);
}

unsigned KoBitArray::initialize(unsigned long numberOfBits) {
    uint32_t bits = static_cast<uint32_t>(numberOfBits);
    uint8_t* bytes = static_cast<uint8_t*>(ramCalloc(bits / 8 + 1ul));
    if (!bytes) return 1;
    ramFree(BitString);
    BitString = bytes;
    NumberOfBits = bits;
    return 0;
}

void KoBitArray::resetAll() {
    if (BitString) std::memset(BitString, 0, NumberOfBits / 8 + 1ul);
}
