// Step-by-step forms of qvstring's fast paths (in-place replace, the copying walk and its case-insensitive finder,
// the UTF-8 decoder and encoder) that the tests and the fuzzers compare the library with.
#pragma once

#include "qvstring.h"

#include <bit>
#include <cctype>
#include <cstdint>
#include <cstring>
#include <cwchar>
#include <string>

namespace reference {

// In-place replace that moves the whole rest of the text for each match.
template <class Ch> size_t repInPlace(Ch *text, const Ch *rep, const Ch *pat, size_t maxCount, size_t maxLen)
{
    using Traits = std::char_traits<Ch>;
    if (!text || !pat || maxCount == 0)
        return 0;
    size_t textLen = Traits::length(text);
    const size_t repLen = rep ? Traits::length(rep) : 0;
    const size_t patLen = Traits::length(pat);
    if (patLen == 0 && repLen == 0)
        return maxCount;
    Ch *searchFrom = text;
    for (size_t count = 0; count < maxCount; ++count) {
        Ch *match = nullptr;
        if constexpr (sizeof(Ch) == 1)
            match = std::strstr(searchFrom, pat);
        else
            match = std::wcsstr(searchFrom, pat);
        if (!match)
            return count;
        const size_t tailLen = textLen - static_cast<size_t>(match - text);
        if (repLen < patLen) {
            Traits::move(match + repLen, match + patLen, tailLen - patLen + 1);
            textLen -= patLen - repLen;
        } else if (repLen > patLen) {
            const size_t growth = repLen - patLen;
            if (textLen > maxLen || growth > maxLen - textLen)
                return count;
            Traits::move(match + growth, match, tailLen + 1);
            textLen += growth;
        }
        if (repLen > 0)
            Traits::copy(match, rep, repLen);
        searchFrom = match + repLen;
    }
    return maxCount;
}

// Each start tried in turn, every byte through tolower as a signed char.
inline const char *striStr(const char *hay, size_t hayLen, const char *needle, size_t needleLen)
{
    if (hayLen == 0 || hayLen < needleLen || needleLen == 0)
        return nullptr;
    for (size_t start = 0; start <= hayLen - needleLen; ++start) {
        size_t matched = 0;
        while (matched < needleLen && std::tolower(static_cast<signed char>(hay[start + matched])) ==
                                          std::tolower(static_cast<signed char>(needle[matched])))
            ++matched;
        if (matched == needleLen)
            return hay + start;
    }
    return nullptr;
}

struct Copied {
    size_t count;    // replacements made
    std::string out; // the result up to its NUL
};

// What StrCpyRepSize counts and StrCpyRep writes, for a non-empty pattern and room for the whole result.
inline Copied copyReplace(const char *text, size_t textLen, const char *rep, const char *pat, int maxCount,
                          int caseSensitive, unsigned lineMode)
{
    const size_t patLen = std::strlen(pat);
    Copied result{0, {}};
    int budget = maxCount;
    size_t start = 0;
    for (;;) {
        const char *found =
            caseSensitive ? std::strstr(text + start, pat) : striStr(text + start, textLen - start, pat, patLen);
        if (!found)
            break;
        const size_t at = static_cast<size_t>(found - text);
        if (at > textLen || patLen > textLen - at)
            break;
        bool accepted = true;
        if (lineMode != 0) {
            const int prev = at == 0 ? 0 : static_cast<unsigned char>(text[at - 1]);
            const int next = at + patLen == textLen ? 0 : static_cast<unsigned char>(text[at + patLen]);
            accepted = StrRepMatchesPosition(prev, next, static_cast<int>(lineMode & 3u)) != 0;
        }
        if (accepted) {
            result.out.append(text + start, at - start);
            result.out += rep ? rep : "";
            ++result.count;
            start = at + patLen;
        } else {
            result.out += text[start++];
        }
        if (maxCount > 0 && --budget == 0)
            break;
    }
    result.out.append(text + start, textLen - start);
    return result;
}

constexpr uint32_t kUtf8Max[7] = {0x7F, 0x7FF, 0xFFFF, 0x1FFFFF, 0x3FFFFFF, 0x7FFFFFFF, 0xFFFFFFFF};

// The decoder a character at a time, every byte tested for the terminator.
inline size_t decode(wchar_t *dst, const char *src, size_t size, int *pSkipped)
{
    if (src == nullptr)
        return 0;
    const auto *p = reinterpret_cast<const unsigned char *>(src);
    size_t count = 0;
    while (*p != 0 && (dst == nullptr || count < size)) {
        const unsigned lead = *p++;
        uint32_t value = lead;
        bool dropped = lead >= 0xF9;
        if (lead >= 0xC0 && lead <= 0xF8) {
            const int len = std::countl_one(static_cast<uint8_t>(lead));
            value = lead & (0x3Fu >> (len - 1));
            bool valid = true;
            for (int k = 1; k < len; ++k) {
                if (*p == 0) { // the terminator cuts the sequence
                    valid = false;
                    break;
                }
                valid = valid && (*p & 0xC0) == 0x80;
                value = value * 64 + (*p++ & 0x3F);
            }
            dropped = !valid || value <= kUtf8Max[len - 2];
        }
        if (dropped) {
            if (pSkipped)
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

// The bytes of one wide character; returns how many.
inline int encodeOne(wchar_t ch, unsigned char bytes[6])
{
    const uint32_t value = static_cast<uint32_t>(ch) & 0x7FFFFFFF;
    int len = 1;
    while (kUtf8Max[len - 1] < value)
        ++len;
    if (len == 1) {
        bytes[0] = static_cast<unsigned char>(value);
        return 1;
    }
    const int shift = len - 1;
    bytes[0] = static_cast<unsigned char>(((0xFF80u >> shift) & 0xFF) | ((value >> (6 * shift)) & (0x3Fu >> shift)));
    for (int k = 1; k < len; ++k)
        bytes[k] = static_cast<unsigned char>(0x80 | ((value >> (6 * (len - 1 - k))) & 0x3F));
    return len;
}

// UTF8_wcstombs a character at a time: the limit is tested before each one.
inline size_t encode(char *dst, const wchar_t *src, size_t size)
{
    size_t count = 0;
    for (; *src != L'\0' && (dst == nullptr || count < size); ++src) {
        unsigned char bytes[6];
        const int len = encodeOne(*src, bytes);
        if (dst != nullptr)
            std::memcpy(dst + count, bytes, static_cast<size_t>(len));
        count += static_cast<size_t>(len);
    }
    if (dst != nullptr && count < size)
        dst[count] = '\0';
    return count;
}

// T2A_cpy a character at a time: the bytes below size - 1, then the NUL.
inline void encodeCut(char *dst, size_t size, const wchar_t *src)
{
    size_t count = 0;
    for (; *src != L'\0' && count < size - 1; ++src) {
        unsigned char bytes[6];
        const int len = encodeOne(*src, bytes);
        for (int k = 0; k < len && count < size - 1; ++k)
            dst[count++] = static_cast<char>(bytes[k]);
    }
    dst[count] = '\0';
}

} // namespace reference
