// qvstring_text: small in-place operations on NUL-terminated text.
//
// Narrow text is handled byte by byte (no UTF-8 decoding). The narrow
// character-class and case calls see each byte as a signed char; a
// negative value (bytes 0x80..0xFF) is given what the C locale gives it:
// not white space and its case left unchanged. Wide text goes through the
// iswspace/towlower/towupper family of the current locale. Each narrow and
// wide pair is one template over the character type; CharText holds what
// the two differ in. Only the duplicates allocate; their results are
// released with free().
#include "qvstring.h"
#include "qvstring_fold.h"

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <cwctype>

namespace {

// What the narrow and the wide text differ in; every algorithm below is
// written once over the character type.
template <typename Ch> struct CharText;

template <> struct CharText<char> {
    static size_t length(const char *s) { return std::strlen(s); }
    static bool isSpace(char c)
    {
        const int value = static_cast<signed char>(c);
        return value >= 0 && std::isspace(value) != 0;
    }
    static char lower(char c)
    {
        const int value = static_cast<signed char>(c);
        return value >= 0 ? static_cast<char>(std::tolower(value)) : c;
    }
    static char upper(char c)
    {
        const int value = static_cast<signed char>(c);
        return value >= 0 ? static_cast<char>(std::toupper(value)) : c;
    }
    // Whether the texts of len characters each are equal, or equal ignoring
    // case as strcasecmp compares them (each byte through tolower as
    // unsigned). All len pairs are compared, with no branch on their values.
    static bool equal(const char *a, const char *b, size_t len, bool caseSensitive)
    {
        if (caseSensitive)
            return std::memcmp(a, b, len) == 0;
        const qvstring::CaseFold fold;
        int32_t differ = 0;
        for (size_t k = 0; k < len; ++k)
            differ |=
                fold.ofUnsigned(static_cast<unsigned char>(a[k])) ^ fold.ofUnsigned(static_cast<unsigned char>(b[k]));
        return differ == 0;
    }
    // Suffixes are short: counted in line, without a call.
    static size_t shortLength(const char *s)
    {
        size_t len = 0;
        while (s[len] != '\0')
            ++len;
        return len;
    }
    // Fills count characters with ch.
    static void fill(char *at, int ch, size_t count) { std::memset(at, ch, count); }
};

template <> struct CharText<wchar_t> {
    static size_t length(const wchar_t *s) { return std::wcslen(s); }
    static bool isSpace(wchar_t c) { return std::iswspace(static_cast<wint_t>(c)) != 0; }
    static wchar_t lower(wchar_t c) { return static_cast<wchar_t>(std::towlower(static_cast<wint_t>(c))); }
    static wchar_t upper(wchar_t c) { return static_cast<wchar_t>(std::towupper(static_cast<wint_t>(c))); }
    static size_t shortLength(const wchar_t *s) { return std::wcslen(s); }
    static bool equal(const wchar_t *a, const wchar_t *b, size_t, bool caseSensitive)
    {
        return (caseSensitive ? std::wcscmp(a, b) : wcscasecmp(a, b)) == 0;
    }
    // Byte-wise with the low byte of ch, so each character holds that byte
    // four times; callers rely on this exact pattern.
    static void fill(wchar_t *at, wchar_t ch, size_t count)
    {
        std::memset(at, static_cast<unsigned char>(ch), count * sizeof(wchar_t));
    }
};

template <typename Ch> Ch *trimEnd(Ch *s)
{
    const size_t len = CharText<Ch>::length(s);
    if (len == 0 || !CharText<Ch>::isSpace(s[len - 1]))
        return s;
    size_t end = len - 1;
    while (end > 0 && CharText<Ch>::isSpace(s[end - 1]))
        --end;
    s[end] = Ch(0);
    return s;
}

template <typename Ch> Ch *duplicate(const Ch *s)
{
    if (s == nullptr)
        return nullptr;
    const size_t bytes = (CharText<Ch>::length(s) + 1) * sizeof(Ch);
    auto *copy = static_cast<Ch *>(std::malloc(bytes));
    if (copy != nullptr)
        std::memcpy(copy, s, bytes);
    return copy;
}

// Returns the position of the terminator, so that a caller can append.
template <typename Ch> Ch *mapCase(Ch *s, Ch (*map)(Ch))
{
    if (s == nullptr)
        return nullptr;
    for (; *s != Ch(0); ++s)
        *s = map(*s);
    return s;
}

template <typename Ch> size_t deleteAt(Ch *s, size_t pos, size_t count)
{
    const size_t len = CharText<Ch>::length(s);
    if (pos >= len)
        return len;
    const size_t removed = std::min(count, len - pos);
    std::memmove(s + pos, s + pos + removed, (len - pos - removed + 1) * sizeof(Ch));
    return len - removed;
}

// The room left is maxLen - len in unsigned arithmetic on purpose: a text
// already longer than maxLen makes it wrap, and then the whole count goes in.
template <typename Ch, typename Fill> size_t insertAt(Ch *s, size_t pos, size_t count, size_t maxLen, Fill fill)
{
    const size_t len = CharText<Ch>::length(s);
    if (pos > len)
        return 0;
    const size_t added = std::min(count, maxLen - len);
    std::memmove(s + pos + added, s + pos, (len - pos + 1) * sizeof(Ch));
    fill(s + pos, added);
    return len + added;
}

// suffixLen - 1 wraps for an empty suffix, so that one never matches.
template <typename Ch> int endsWith(const Ch *s, const Ch *suffix, int caseSensitive)
{
    if (suffix == nullptr)
        return 0;
    const size_t len = s != nullptr ? CharText<Ch>::length(s) : 0;
    const size_t suffixLen = CharText<Ch>::shortLength(suffix);
    if (suffixLen - 1 >= len)
        return 0;
    return CharText<Ch>::equal(s + (len - suffixLen), suffix, suffixLen, caseSensitive != 0) ? 1 : 0;
}

} // namespace

extern "C" {

char *StrTrim(char *s)
{
    return trimEnd(s);
}
wchar_t *TcsTrim(wchar_t *s)
{
    return trimEnd(s);
}
char *StrDupPlain(const char *s)
{
    return duplicate(s);
}
char *StrDup(const char *s)
{
    return duplicate(s);
}
wchar_t *TcsDup(const wchar_t *s)
{
    return duplicate(s);
}
char *StrLower(char *s)
{
    return mapCase(s, CharText<char>::lower);
}
char *StrUpper(char *s)
{
    return mapCase(s, CharText<char>::upper);
}
wchar_t *TcsLower(wchar_t *s)
{
    return mapCase(s, CharText<wchar_t>::lower);
}
wchar_t *TcsUpper(wchar_t *s)
{
    return mapCase(s, CharText<wchar_t>::upper);
}
size_t StrDel(char *s, size_t pos, size_t count)
{
    return deleteAt(s, pos, count);
}
size_t TcsDel(wchar_t *s, size_t pos, size_t count)
{
    return deleteAt(s, pos, count);
}

size_t TcsIns(wchar_t *s, size_t pos, const wchar_t *ins, size_t maxLen)
{
    return insertAt(s, pos, std::wcslen(ins), maxLen,
                    [ins](wchar_t *at, size_t count) { std::wmemcpy(at, ins, count); });
}

size_t StrCIns(char *s, size_t pos, int ch, size_t count, size_t maxLen)
{
    return insertAt(s, pos, count, maxLen, [ch](char *at, size_t added) { CharText<char>::fill(at, ch, added); });
}

size_t TcsCIns(wchar_t *s, size_t pos, wchar_t ch, size_t count, size_t maxLen)
{
    return insertAt(s, pos, count, maxLen, [ch](wchar_t *at, size_t added) { CharText<wchar_t>::fill(at, ch, added); });
}

wchar_t *TcsjLeft(wchar_t *s)
{
    size_t skip = 0;
    while (CharText<wchar_t>::isSpace(s[skip]))
        ++skip;
    if (skip > 0)
        std::wmemmove(s, s + skip, std::wcslen(s + skip) + 1);
    return s;
}

wchar_t *TcsjRight(wchar_t *s, size_t width)
{
    const size_t len = std::wcslen(s);
    if (len >= width)
        return s;
    const size_t pad = width - len;
    std::wmemmove(s + pad, s, len + 1);
    std::wmemset(s, L' ', pad);
    return s;
}

int StrEndsWith(const char *s, const char *suffix, int caseSensitive)
{
    return endsWith(s, suffix, caseSensitive);
}
int TcsEndsWith(const wchar_t *s, const wchar_t *suffix, int caseSensitive)
{
    return endsWith(s, suffix, caseSensitive);
}

} // extern "C"
