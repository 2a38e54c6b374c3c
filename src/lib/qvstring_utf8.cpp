// qvstring_utf8: conversion between UTF-8 narrow text and 32-bit wide text.
//
// The encoding is the 31-bit form of UTF-8 (1 to 6 bytes, bit 31 of a wide
// character ignored, no U+10FFFF limit, surrogates pass). Invalid-input
// policy of the decoder: a stray continuation byte 0x80..0xBF is taken as
// the character of the same value; a lead byte 0xF9..0xFF is dropped alone;
// a sequence of n bytes is consumed whole and dropped when a continuation
// byte is bad or the value is overlong, except that a NUL inside it ends
// the scan there, so nothing past the terminator is ever read. Runs of
// ASCII go through a block at a time (qvstring_blocks). No locale, no
// state, no allocation except the one block of a _dup.
#include "qvstring.h"
#include "qvstring_blocks.h"

#include <bit>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <cwchar>

using qvstring::narrowAscii;
using qvstring::widenAscii;

namespace {

// Largest value that a sequence of 1, 2, 3, ... bytes carries; the last
// entry is a sentinel that ends the length search of the encoder.
constexpr uint32_t sc_utf8_max[7] = {
    0x7F, 0x7FF, 0xFFFF, 0x1FFFFF, 0x3FFFFFF, 0x7FFFFFFF, 0xFFFFFFFF,
};

// The decoder and the encoder read the text a window at a time: the window
// is the text up to its terminator or the next kWindow elements, found with
// the C library's bounded length, so that inside it no element is the
// terminator and a run of ASCII goes through in blocks without a test per
// byte. A multi-byte sequence that crosses the end of a window that is not
// the last starts the next window. Short runs of ASCII between other
// characters go a byte at a time; after kBlockAfter of them in a row the
// rest of the run goes in blocks.
constexpr size_t kWindow = 2048;
constexpr size_t kBlockAfter = 16;

// How many of the eight bytes at p, from the first on, are ASCII (the
// first one is).
inline size_t asciiPrefix8(const unsigned char *p)
{
    uint64_t word;
    std::memcpy(&word, p, sizeof word);
    const uint64_t high = word & 0x8080808080808080ull;
    if (high == 0)
        return 8;
#if __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
    return static_cast<size_t>(std::countr_zero(high)) / 8;
#else
    return static_cast<size_t>(std::countl_zero(high)) / 8;
#endif
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

// State of one decoding call; kStore false counts without storing, and
// then limit is never reached.
template <bool kStore> struct Decoder {
    wchar_t *dst;
    size_t limit;
    int *pSkipped;
    size_t count = 0;

    void drop()
    {
        if (pSkipped != nullptr)
            *pSkipped = 1;
    }

    void put(uint32_t value)
    {
        if constexpr (kStore)
            dst[count] = static_cast<wchar_t>(value);
        ++count;
    }

    // Decodes [p, end), which holds no NUL; when last, end is the
    // terminator. Returns where it stopped: at end, with the limit reached,
    // or at the lead of a sequence that crosses end.
    const unsigned char *window(const unsigned char *p, const unsigned char *end, bool last)
    {
        size_t streak = kBlockAfter;
        while (p < end && count < limit) {
            // Each byte gives one character at most: before stop neither the
            // end nor the limit needs a test per character.
            const size_t span = static_cast<size_t>(end - p), room = limit - count;
            const unsigned char *stop = p + (span < room ? span : room);
            while (p < stop) {
                const unsigned lead = *p;
                if (lead < 0x80) {
                    if (streak < kBlockAfter) {
                        // Short runs between other characters: the ASCII
                        // bytes among the next eight go together.
                        const size_t ascii = stop - p >= 8 ? asciiPrefix8(p) : 1;
                        for (size_t k = 0; k < ascii; ++k)
                            put(p[k]);
                        p += ascii;
                        streak += ascii;
                        continue;
                    }
                    const size_t run = widenAscii(kStore ? dst + count : nullptr, p, static_cast<size_t>(stop - p));
                    p += run;
                    count += run;
                    streak = 0;
                    continue;
                }
                streak = 0;
                if (lead >= 0xC2 && lead <= 0xDF && end - p >= 2 && (p[1] & 0xC0) == 0x80) {
                    put((lead & 0x1F) << 6 | (p[1] & 0x3F)); // two bytes are never overlong from 0xC2
                    p += 2;
                    continue;
                }
                if (lead <= 0xBF) { // a stray continuation byte stands for itself
                    put(lead);
                    ++p;
                    continue;
                }
                if (lead >= 0xF9) {
                    drop();
                    ++p;
                    continue;
                }
                const int len = std::countl_one(static_cast<uint8_t>(lead));
                if (end - p < len) {
                    if (!last)
                        return p;
                    drop(); // the terminator cuts the sequence: the scan ends there
                    return end;
                }
                uint32_t acc = lead & (0x3Fu >> (len - 1));
                bool valid = true;
                for (int k = 1; k < len; ++k) {
                    valid = valid && (p[k] & 0xC0) == 0x80;
                    acc = acc * 64 + (p[k] & 0x3F);
                }
                p += len;
                if (!valid || acc <= sc_utf8_max[len - 2])
                    drop();
                else
                    put(acc);
            }
        }
        return p;
    }
};

template <bool kStore> size_t decodeWindows(wchar_t *dst, const char *src, size_t limit, int *pSkipped)
{
    Decoder<kStore> decoder{dst, limit, pSkipped};
    const auto *p = reinterpret_cast<const unsigned char *>(src);
    while (decoder.count < limit) {
        const size_t span = strnlen(reinterpret_cast<const char *>(p), kWindow);
        if (span == 0)
            break;
        p = decoder.window(p, p + span, span < kWindow);
    }
    return decoder.count;
}

// The UTF-8 byte order mark EF BB BF; the test reads no byte past a NUL.
bool startsWithMark(const char *src)
{
    const auto *bytes = reinterpret_cast<const unsigned char *>(src);
    return bytes[0] == 0xEF && bytes[1] == 0xBB && bytes[2] == 0xBF;
}

// Shared loop of the decoding entry points: dst null counts the whole text.
size_t decodeText(wchar_t *dst, const char *src, size_t size, int *pSkipped)
{
    if (src == nullptr)
        return 0;
    if (dst == nullptr)
        return decodeWindows<false>(nullptr, src, SIZE_MAX, pSkipped);
    const size_t count = decodeWindows<true>(dst, src, size, pSkipped);
    if (count < size)
        dst[count] = L'\0';
    return count;
}

// Shared loop of the encoding entry points: kStore false counts without
// storing. The limit is tested before each character; with kHard a
// character that would pass it stores only the bytes below it, else it is
// stored whole. Returns the bytes stored or counted, at most limit with
// kHard.
template <bool kStore, bool kHard> size_t encodeText(unsigned char *out, const wchar_t *src, size_t limit)
{
    size_t count = 0;
    while (count < limit) {
        const size_t span = wcsnlen(src, kWindow);
        if (span == 0)
            break;
        const wchar_t *end = src + span;
        size_t streak = kBlockAfter;
        while (src < end && count < limit) {
            const uint32_t value = encodeValue(*src);
            if (value < 0x80) {
                if (streak < kBlockAfter) {
                    ++streak;
                    if constexpr (kStore)
                        out[count] = static_cast<unsigned char>(value);
                    ++count;
                    ++src;
                    continue;
                }
                const size_t room = limit - count;
                const size_t left = static_cast<size_t>(end - src);
                const size_t run = narrowAscii(kStore ? out + count : nullptr, src, left < room ? left : room);
                src += run;
                count += run;
                streak = 0;
                continue;
            }
            streak = 0;
            ++src;
            if (value < 0x800 && (!kStore || !kHard || count + 2 <= limit)) {
                if constexpr (kStore) {
                    out[count] = static_cast<unsigned char>(0xC0 | value >> 6);
                    out[count + 1] = static_cast<unsigned char>(0x80 | (value & 0x3F));
                }
                count += 2;
                continue;
            }
            const int len = encodedLength(value);
            if (!kStore) {
                count += static_cast<size_t>(len);
            } else if (!kHard || count + static_cast<size_t>(len) <= limit) {
                encodeOne(value, len, out + count);
                count += static_cast<size_t>(len);
            } else {
                unsigned char scratch[6];
                encodeOne(value, len, scratch);
                for (size_t k = 0; count < limit; ++k)
                    out[count++] = scratch[k];
            }
        }
    }
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
    if (dst == nullptr)
        return encodeText<false, false>(nullptr, src, SIZE_MAX);
    const size_t count = encodeText<true, false>(reinterpret_cast<unsigned char *>(dst), src, size);
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
    return encodeText<false, false>(nullptr, src, SIZE_MAX);
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
    if (startsWithMark(src))
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
    const size_t count = encodeText<true, true>(reinterpret_cast<unsigned char *>(dst), src, size - 1);
    dst[count] = '\0';
    return dst;
}

// Every character takes at least one byte, so a block of one wide character
// per byte is room enough: the text is decoded once into it, and the block
// then shrinks to the count plus one that A2T_len gives (a byte order mark
// counted, though the copy drops it).
wchar_t *A2T_dup(const char *src)
{
    if (src == nullptr)
        return nullptr;
    const size_t bytes = std::strlen(src);
    if (bytes >= SIZE_MAX / sizeof(wchar_t))
        return nullptr;
    auto *block = static_cast<wchar_t *>(std::malloc((bytes + 1) * sizeof(wchar_t)));
    if (block == nullptr)
        return nullptr;
    const bool mark = startsWithMark(src);
    const size_t stored = decodeText(block, mark ? src + 3 : src, bytes + 1, nullptr);
    block[stored] = L'\0';
    const size_t chars = stored + (mark ? 1 : 0) + 1;
    if (chars < bytes + 1)
        if (auto *fitted = static_cast<wchar_t *>(std::realloc(block, chars * sizeof(wchar_t))))
            block = fitted;
    return block;
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
