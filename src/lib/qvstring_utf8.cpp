// qvstring_utf8: conversion between UTF-8 narrow text and 32-bit wide text.
//
// The encoding is the 31-bit form of UTF-8 (1 to 6 bytes, bit 31 of a wide
// character ignored, no U+10FFFF limit, surrogates pass). Invalid-input
// policy of the decoder: a stray continuation byte 0x80..0xBF is taken as
// the character of the same value; a lead byte 0xF9..0xFF is dropped alone;
// a sequence of n bytes is consumed whole and dropped when a continuation
// byte is bad or the value is overlong, except that a NUL inside it ends
// the scan there, so nothing past the terminator is ever read. No locale,
// no state, no allocation except the one block of a _dup.
#include "qvstring.h"

#include <bit>
#include <cstdint>
#include <cstdlib>

namespace {

// Largest value that a sequence of 1, 2, 3, ... bytes carries; the last
// entry is a sentinel that ends the length search of the encoder.
constexpr uint32_t sc_utf8_max[7] = {
    0x7F, 0x7FF, 0xFFFF, 0x1FFFFF, 0x3FFFFFF, 0x7FFFFFFF, 0xFFFFFFFF,
};

enum class Decoded { End, Char, Dropped };

// Decodes one character at p and moves p past the bytes it consumed. At the
// terminator p stays on it and End is returned.
inline Decoded decodeOne(const unsigned char *&p, uint32_t &value)
{
    const unsigned lead = *p;
    if (lead == 0)
        return Decoded::End;
    ++p;
    if (lead <= 0xBF) {
        value = lead;
        return Decoded::Char;
    }
    if (lead >= 0xF9)
        return Decoded::Dropped;
    const int len = std::countl_one(static_cast<uint8_t>(lead));
    uint32_t acc = lead & (0x3Fu >> (len - 1));
    bool valid = true;
    for (int k = 1; k < len; ++k) {
        const unsigned next = *p;
        if (next == 0)
            return Decoded::Dropped;
        valid = valid && (next & 0xC0) == 0x80;
        acc = acc * 64 + (next & 0x3F);
        ++p;
    }
    if (!valid || acc <= sc_utf8_max[len - 2])
        return Decoded::Dropped;
    value = acc;
    return Decoded::Char;
}

inline uint32_t encodeValue(wchar_t ch)
{
    return static_cast<uint32_t>(ch) & 0x7FFFFFFF;
}

inline int encodedLength(uint32_t value)
{
    int len = 1;
    while (sc_utf8_max[len - 1] < value)
        ++len;
    return len;
}

// Stores the len bytes of value at out.
inline void encodeOne(uint32_t value, int len, unsigned char *out)
{
    if (len == 1) {
        out[0] = static_cast<unsigned char>(value);
        return;
    }
    const int shift = len - 1;
    out[0] = static_cast<unsigned char>(((0xFF80u >> shift) & 0xFF) | ((value >> (6 * shift)) & (0x3Fu >> shift)));
    for (int k = 1; k < len; ++k)
        out[k] = static_cast<unsigned char>(0x80 | ((value >> (6 * (len - 1 - k))) & 0x3F));
}

// Shared loop of the decoding entry points: dst null counts the whole text.
size_t decodeText(wchar_t *dst, const char *src, size_t size, int *pSkipped)
{
    if (src == nullptr)
        return 0;
    const auto *p = reinterpret_cast<const unsigned char *>(src);
    size_t count = 0;
    for (;;) {
        if (dst != nullptr && count >= size)
            break;
        uint32_t value = 0;
        const Decoded step = decodeOne(p, value);
        if (step == Decoded::End)
            break;
        if (step == Decoded::Dropped) {
            if (pSkipped != nullptr)
                *pSkipped = 1;
            continue;
        }
        if (dst != nullptr)
            dst[count] = static_cast<wchar_t>(value);
        ++count;
    }
    if (dst != nullptr && count < size)
        dst[count] = L'\0';
    return count;
}

} // namespace

extern "C" {

int UTF8_chlen(int ch)
{
    const auto lead = static_cast<unsigned>(ch);
    if (lead < 0xC0)
        return 1;
    if (lead > 0xFD)
        return 0;
    return std::countl_one(static_cast<uint8_t>(lead));
}

size_t UTF8_mbstowcs(wchar_t *dst, const char *src, size_t size)
{
    return decodeText(dst, src, size, nullptr);
}

size_t UTF8_mbstowcs_skip(wchar_t *dst, const char *src, size_t size, int *pSkipped)
{
    *pSkipped = 0;
    return decodeText(dst, src, size, pSkipped);
}

size_t UTF8_wcstombs(char *dst, const wchar_t *src, size_t size)
{
    if (src == nullptr)
        return 0;
    auto *out = reinterpret_cast<unsigned char *>(dst);
    size_t count = 0;
    for (; *src != L'\0'; ++src) {
        if (dst != nullptr && count >= size)
            break;
        const uint32_t value = encodeValue(*src);
        const int len = encodedLength(value);
        if (dst != nullptr)
            encodeOne(value, len, out + count);
        count += static_cast<size_t>(len);
    }
    if (dst != nullptr && count < size)
        dst[count] = '\0';
    return count;
}

size_t A2T_len(const char *src)
{
    return decodeText(nullptr, src, 0, nullptr);
}

size_t T2A_len(const wchar_t *src)
{
    if (src == nullptr)
        return 0;
    size_t count = 0;
    for (; *src != L'\0'; ++src)
        count += static_cast<size_t>(encodedLength(encodeValue(*src)));
    return count;
}

// Decoding at most size - 1 characters gives the same characters as counting
// the text first and cutting to min(count, size - 1), in a single scan that
// stops as soon as the buffer is full.
wchar_t *A2T_cpy(wchar_t *dst, size_t size, const char *src)
{
    if (size == 0)
        return dst;
    if (src == nullptr) {
        dst[0] = L'\0';
        return dst;
    }
    const auto *bytes = reinterpret_cast<const unsigned char *>(src);
    if (bytes[0] == 0xEF && bytes[1] == 0xBB && bytes[2] == 0xBF)
        src += 3;
    const size_t stored = decodeText(dst, src, size - 1, nullptr);
    dst[stored] = L'\0';
    return dst;
}

// Whole characters go straight into dst; only the one that straddles the
// last byte position goes through a scratch array of one character's bytes,
// so nothing at or past index size - 1 is written except the NUL.
char *T2A_cpy(char *dst, size_t size, const wchar_t *src)
{
    if (size == 0)
        return dst;
    if (src == nullptr) {
        dst[0] = '\0';
        return dst;
    }
    auto *out = reinterpret_cast<unsigned char *>(dst);
    const size_t limit = size - 1;
    size_t count = 0;
    for (; *src != L'\0' && count < limit; ++src) {
        const uint32_t value = encodeValue(*src);
        const int len = encodedLength(value);
        if (count + static_cast<size_t>(len) <= limit) {
            encodeOne(value, len, out + count);
            count += static_cast<size_t>(len);
        } else {
            unsigned char scratch[6];
            encodeOne(value, len, scratch);
            for (size_t k = 0; count < limit; ++k)
                out[count++] = scratch[k];
        }
    }
    dst[count] = '\0';
    return dst;
}

wchar_t *A2T_dup(const char *src)
{
    if (src == nullptr)
        return nullptr;
    const size_t chars = A2T_len(src) + 1;
    auto *block = static_cast<wchar_t *>(std::malloc(chars * sizeof(wchar_t)));
    if (block == nullptr)
        return nullptr;
    return A2T_cpy(block, chars, src);
}

char *T2A_dup(const wchar_t *src)
{
    if (src == nullptr)
        return nullptr;
    const size_t bytes = T2A_len(src) + 1;
    auto *block = static_cast<char *>(std::malloc(bytes));
    if (block == nullptr)
        return nullptr;
    return T2A_cpy(block, bytes, src);
}

char *T2A_cpyasc(char *dst, size_t size, const wchar_t *src)
{
    size_t count = 0;
    if (size > 1) {
        for (; src[count] != L'\0' && count < size - 1; ++count)
            dst[count] = static_cast<char>(static_cast<unsigned char>(src[count]));
    }
    dst[count] = '\0';
    return dst;
}

wchar_t MapAsciiWideToNarrow(wchar_t ch)
{
    if (ch >= 0xFF01 && ch <= 0xFF5E)
        return static_cast<wchar_t>(ch - 0xFEE0);
    return ch;
}

} // extern "C"
