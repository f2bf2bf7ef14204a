// Attribute strings: whatever parses must rebuild into a string that parses back to the same
// pairs, also after values made of the input are added. Byte 0 picks the separator and the
// text mode; the rest up to the first NUL is the string, what follows it the added value.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "fuzz_support.h"
#include "kolib/value_parser.h"

namespace {

using Pairs = std::vector<std::pair<std::string, std::string>>;

Pairs pairsOf(const KoValueParser& p) {
    Pairs out;
    for (unsigned long i = 0; i < p.getCount(); ++i) {
        const KoSubString* key = p.getAttributeKey(i);
        const KoSubString* value = static_cast<KoSubString*>(p.Order.getPtrDataAtIndex(i));
        out.emplace_back(std::string(key->Buf, key->CurSize),
                         std::string(value->Buf, value->CurSize));
    }
    return out;
}

// Builds p's string and parses it again: the same pairs, or the run stops here.
void checkRoundTrip(const KoValueParser& p, char separator) {
    KoString built;
    if (p.buildString(&built)) return; // out of memory
    kofuzz::EdgeBuffer edge(built.Buf, built.CurSize, false);
    KoValueParser again(KoSubString(edge.data(), built.CurSize), separator);
    if (again.initialize() || pairsOf(again) != pairsOf(p)) std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 1) return 0;
    static const char SEPARATORS[] = {';', ',', '|', '&'};
    char separator = SEPARATORS[data[0] & 3];
    kofuzz::TextMode mode(data[0] & 4);
    const char* text = reinterpret_cast<const char*>(data + 1);
    size_t rest = size - 1;
    const void* nul = std::memchr(text, 0, rest);
    size_t length = nul ? static_cast<const char*>(nul) - text : rest;

    kofuzz::EdgeBuffer edge(text, length, false);
    KoValueParser p(KoSubString(edge.data(), length), separator, nullptr, data[0] & 8);
    if (p.initialize()) return 0;
    checkRoundTrip(p, separator);
    if (nul) {
        std::string value(text + length + 1, rest - length - 1);
        value = value.c_str(); // up to a second NUL
        if (p.addAttribute("PWD", value.c_str()) == 0 && p.addAttribute("UID", "u") == 0 &&
            p.addAttribute(value.empty() ? "V" : "Opt", value.c_str()) == 0)
            checkRoundTrip(p, separator);
    }
    p.getAttributeValue("DSN");
    while (p.getUnusedAttribute()) {
    }
    return 0;
}
