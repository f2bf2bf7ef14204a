// The SQL-oriented tokeniser and the buffer-growth helper used by text builders.
//
// buttoken writes each token as a kind byte followed by the token's text:
//   out[0]  the token's kind (ButTokenKind; a name's kind is the dialect number 0 to 6)
//   out[1]  the token text, NUL-terminated
// With BUT_TOKEN_EXTEND a token too long for out goes to a buffer of its own: out[1] is then
// NUL and the sizeof(char*) bytes from out[2] hold that buffer's address (the token text from
// its byte 0); the caller frees it with ramFree. For an empty token with BUT_TOKEN_EXTEND those
// bytes hold a null pointer, so the caller can tell the two apart; out must then hold at least
// 2 + sizeof(char*) bytes.
#pragma once

#include "kolib/export.h"

// Bits of buttoken's flags.
enum ButTokenFlags {
    BUT_TOKEN_TRUNCATE = 0x8000,  // drop the excess of a token longer than out
    BUT_TOKEN_EXTEND = 0x4000,    // move a token longer than out to an allocated buffer (once)
    BUT_TOKEN_KEEP_CASE = 0x2000, // do not upper-case names, words and numbers
    BUT_TOKEN_DIALECT_MASK = 0x0FFF
};

// Token kinds. Names have the dialect number (0 to 6) as their kind.
enum ButTokenKind {
    BUT_KIND_WORD = 1,           // dialect 1: a word up to , ( ) | or a control character
    BUT_KIND_INTEGER = 7,        // digits (kind 4 in dialect 4)
    BUT_KIND_DECIMAL = 8,        // digits with a "."
    BUT_KIND_OPERATOR = 9,       // || <> <= >= != !< !> ** *= =*
    BUT_KIND_OUTER_JOIN = 10,    // (+)
    BUT_KIND_LITERAL = 11,       // quoted with ' ` or ", quotes kept, doubled inner quote kept once
    BUT_KIND_ESCAPE_CLAUSE = 12, // { ... } including the braces
    BUT_KIND_PARAMETER = 13,     // ? alone or followed by a name
    BUT_KIND_CHARACTER = 14,     // any other single character
    BUT_KIND_END = 15            // the empty token at the end of the input
};

// Reads the next token of the text at *cursor into out (outSize bytes, layout above) and
// advances *cursor behind it; returns 0. Every token that is not the end holds at least one
// byte of the input, so a loop until BUT_KIND_END always ends; a character that starts no
// other kind (a control byte included) is a BUT_KIND_CHARACTER token. At the end of the input
// it returns 0 with an empty token of kind BUT_KIND_END. Returns 1 after adding error 2700
// (token too long; the token so far as parameter) or 2703 (unterminated literal or escape
// clause; the token as parameter), or the memory error; *cursor is then unchanged. Returns 1
// without an error for a null out or an outSize below 2.
//
// Dialects 4 and 6 are the exception to the size limit: there outSize is not checked while a
// token is copied (no error 2700, no truncation, no extension), and out must hold the rest of
// the input: at least strlen(*cursor) + 2 bytes (kind byte, text, NUL), and
// 2 + sizeof(char*) when that is more and BUT_TOKEN_EXTEND is set.
KO_API unsigned buttoken(char* out, const char** cursor, unsigned short flags,
                         unsigned long outSize);

// Makes room for `need` bytes at *cursor in a growing buffer of *size bytes. The step is
// need / 512 * 512 + 512. Without a buffer (*buffer null) it allocates one step and points
// *cursor at its start; otherwise, when fewer than need bytes remain, it grows the buffer by
// one step and moves *cursor to the same offset in it. Sizes are 16-bit and wrap. Returns 0,
// or 1 when the allocation fails (buffer, cursor and size unchanged).
KO_API unsigned butxpand(char** buffer, char** cursor, unsigned short* size, unsigned short need);
