/*
** qvstring_text: small in-place operations on NUL-terminated text.
**
** Narrow text is handled byte by byte (no UTF-8 decoding). The narrow
** character-class and case calls see each byte as a signed char; a
** negative value (bytes 0x80..0xFF) is given what the C locale gives it:
** not white space and its case left unchanged. Wide text goes through the
** iswspace/towlower/towupper family of the current locale. Only the
** duplicates allocate; their results are released with free().
*/
#include "qvstring.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <cwctype>
#include <strings.h>

namespace {

bool isNarrowSpace(char c)
{
    const int value = static_cast<signed char>(c);
    return value >= 0 && std::isspace(value) != 0;
}

char narrowLower(char c)
{
    const int value = static_cast<signed char>(c);
    return value >= 0 ? static_cast<char>(std::tolower(value)) : c;
}

char narrowUpper(char c)
{
    const int value = static_cast<signed char>(c);
    return value >= 0 ? static_cast<char>(std::toupper(value)) : c;
}

bool isWideSpace(wchar_t c)
{
    return std::iswspace(static_cast<wint_t>(c)) != 0;
}

} // namespace

extern "C" {

char *StrTrim(char *s)
{
    const size_t len = std::strlen(s);
    if (len == 0 || !isNarrowSpace(s[len - 1]))
        return s;
    size_t end = len - 1;
    while (end > 0 && isNarrowSpace(s[end - 1]))
        --end;
    s[end] = '\0';
    return s;
}

wchar_t *TcsTrim(wchar_t *s)
{
    const size_t len = std::wcslen(s);
    if (len == 0 || !isWideSpace(s[len - 1]))
        return s;
    size_t end = len - 1;
    while (end > 0 && isWideSpace(s[end - 1]))
        --end;
    s[end] = L'\0';
    return s;
}

char *StrDupPlain(const char *s)
{
    if (s == nullptr)
        return nullptr;
    const size_t bytes = std::strlen(s) + 1;
    auto *copy = static_cast<char *>(std::malloc(bytes));
    if (copy != nullptr)
        std::memcpy(copy, s, bytes);
    return copy;
}

char *StrDup(const char *s)
{
    return StrDupPlain(s);
}

wchar_t *TcsDup(const wchar_t *s)
{
    if (s == nullptr)
        return nullptr;
    const size_t chars = std::wcslen(s) + 1;
    auto *copy = static_cast<wchar_t *>(std::malloc(chars * sizeof(wchar_t)));
    if (copy != nullptr)
        std::wmemcpy(copy, s, chars);
    return copy;
}

char *StrLower(char *s)
{
    if (s == nullptr)
        return nullptr;
    for (; *s != '\0'; ++s)
        *s = narrowLower(*s);
    return s;
}

char *StrUpper(char *s)
{
    if (s == nullptr)
        return nullptr;
    for (; *s != '\0'; ++s)
        *s = narrowUpper(*s);
    return s;
}

wchar_t *TcsLower(wchar_t *s)
{
    if (s == nullptr)
        return nullptr;
    for (; *s != L'\0'; ++s)
        *s = static_cast<wchar_t>(std::towlower(static_cast<wint_t>(*s)));
    return s;
}

wchar_t *TcsUpper(wchar_t *s)
{
    if (s == nullptr)
        return nullptr;
    for (; *s != L'\0'; ++s)
        *s = static_cast<wchar_t>(std::towupper(static_cast<wint_t>(*s)));
    return s;
}

size_t StrDel(char *s, size_t pos, size_t count)
{
    const size_t len = std::strlen(s);
    if (pos >= len)
        return len;
    const size_t removed = std::min(count, len - pos);
    std::memmove(s + pos, s + pos + removed, len - pos - removed + 1);
    return len - removed;
}

size_t TcsDel(wchar_t *s, size_t pos, size_t count)
{
    const size_t len = std::wcslen(s);
    if (pos >= len)
        return len;
    const size_t removed = std::min(count, len - pos);
    std::wmemmove(s + pos, s + pos + removed, len - pos - removed + 1);
    return len - removed;
}

// The room left is maxLen - len in unsigned arithmetic on purpose: a text
// already longer than maxLen makes it wrap, and then the whole count goes in.
size_t TcsIns(wchar_t *s, size_t pos, const wchar_t *ins, size_t maxLen)
{
    const size_t len = std::wcslen(s);
    if (pos > len)
        return 0;
    const size_t added = std::min(std::wcslen(ins), maxLen - len);
    std::wmemmove(s + pos + added, s + pos, len - pos + 1);
    std::wmemcpy(s + pos, ins, added);
    return len + added;
}

size_t StrCIns(char *s, size_t pos, int ch, size_t count, size_t maxLen)
{
    const size_t len = std::strlen(s);
    if (pos > len)
        return 0;
    const size_t added = std::min(count, maxLen - len);
    std::memmove(s + pos + added, s + pos, len - pos + 1);
    std::memset(s + pos, ch, added);
    return len + added;
}

// The inserted wide characters are filled byte-wise with the low byte of ch,
// so each holds that byte four times; callers rely on this exact pattern.
size_t TcsCIns(wchar_t *s, size_t pos, wchar_t ch, size_t count, size_t maxLen)
{
    const size_t len = std::wcslen(s);
    if (pos > len)
        return 0;
    const size_t added = std::min(count, maxLen - len);
    std::wmemmove(s + pos + added, s + pos, len - pos + 1);
    std::memset(s + pos, static_cast<unsigned char>(ch), added * sizeof(wchar_t));
    return len + added;
}

wchar_t *TcsjLeft(wchar_t *s)
{
    size_t skip = 0;
    while (isWideSpace(s[skip]))
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

// suffixLen - 1 wraps for an empty suffix, so that one never matches.
int StrEndsWith(const char *s, const char *suffix, int caseSensitive)
{
    if (suffix == nullptr)
        return 0;
    const size_t len = s != nullptr ? std::strlen(s) : 0;
    const size_t suffixLen = std::strlen(suffix);
    if (suffixLen - 1 >= len)
        return 0;
    const char *tail = s + (len - suffixLen);
    const int diff = caseSensitive != 0 ? std::strcmp(tail, suffix) : strcasecmp(tail, suffix);
    return diff == 0 ? 1 : 0;
}

int TcsEndsWith(const wchar_t *s, const wchar_t *suffix, int caseSensitive)
{
    if (suffix == nullptr)
        return 0;
    const size_t len = s != nullptr ? std::wcslen(s) : 0;
    const size_t suffixLen = std::wcslen(suffix);
    if (suffixLen - 1 >= len)
        return 0;
    const wchar_t *tail = s + (len - suffixLen);
    const int diff = caseSensitive != 0 ? std::wcscmp(tail, suffix) : wcscasecmp(tail, suffix);
    return diff == 0 ? 1 : 0;
}

} // extern "C"
