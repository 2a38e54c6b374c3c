// qvstring_width: terminal column width of a wide character, and wide-text
// comparison with and without regard to case.
//
// Widths come from a fixed table of our own, not from the locale: a sorted,
// non-overlapping list of inclusive ranges with width 0 or 2, searched by
// bisection; every value outside them (and every value below 256, negative
// ones included) has width 1. The case-insensitive comparisons lower both
// sides with towlower of the current locale and return the difference of
// the lowered characters as a wrapping 32-bit signed value.
#include "qvstring.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cwchar>
#include <cwctype>
#include <iterator>

namespace {

struct WidthRange {
    int32_t first;
    int32_t last;
    int width;
};

constexpr WidthRange sc_widths[] = {
    {0x02C6, 0x02DD, 0}, {0x0300, 0x036F, 0}, {0x0483, 0x0486, 0}, {0x0591, 0x05BD, 0},   {0x05BF, 0x05BF, 0},
    {0x05C1, 0x05C4, 0}, {0x0610, 0x0615, 0}, {0x064B, 0x0658, 0}, {0x0670, 0x0670, 0},   {0x06D6, 0x06E4, 0},
    {0x06E7, 0x06E8, 0}, {0x06EA, 0x06ED, 0}, {0x0711, 0x0711, 0}, {0x0730, 0x074A, 0},   {0x093C, 0x093C, 0},
    {0x094D, 0x094D, 0}, {0x0951, 0x0954, 0}, {0x09BC, 0x09BC, 0}, {0x09CD, 0x09CD, 0},   {0x0A3C, 0x0A3C, 0},
    {0x0A4D, 0x0A4D, 0}, {0x0ABC, 0x0ABC, 0}, {0x0ACD, 0x0ACD, 0}, {0x0B3C, 0x0B3C, 0},   {0x0B4D, 0x0B4D, 0},
    {0x0BCD, 0x0BCD, 0}, {0x0C4D, 0x0C4D, 0}, {0x0C55, 0x0C56, 0}, {0x0CBC, 0x0CBC, 0},   {0x0CCD, 0x0CCD, 0},
    {0x0D4D, 0x0D4D, 0}, {0x0DCA, 0x0DCA, 0}, {0x0E38, 0x0E3A, 0}, {0x0E48, 0x0E4B, 0},   {0x0EB8, 0x0EB9, 0},
    {0x0EC8, 0x0ECB, 0}, {0x0F18, 0x0F19, 0}, {0x0F35, 0x0F35, 0}, {0x0F37, 0x0F37, 0},   {0x0F39, 0x0F39, 0},
    {0x0F71, 0x0F84, 0}, {0x0F86, 0x0F87, 0}, {0x0F90, 0x0FBC, 0}, {0x1037, 0x1037, 0},   {0x1039, 0x1039, 0},
    {0x1100, 0x115F, 2}, {0x1714, 0x1714, 0}, {0x1734, 0x1734, 0}, {0x17D2, 0x17D2, 0},   {0x17DD, 0x17DD, 0},
    {0x18A9, 0x18A9, 0}, {0x1939, 0x193B, 0}, {0x20D0, 0x20FF, 0}, {0x2329, 0x232A, 2},   {0x2E80, 0x301F, 2},
    {0x3020, 0x302F, 0}, {0x3030, 0x303E, 2}, {0x3040, 0x3098, 2}, {0x3099, 0x309A, 0},   {0x309B, 0x4DBF, 2},
    {0x4E00, 0xD7FF, 2}, {0xE7C8, 0xE87F, 2}, {0xF900, 0xFA6A, 2}, {0xFB1E, 0xFB1E, 0},   {0xFE20, 0xFE23, 0},
    {0xFE30, 0xFE6B, 2}, {0xFF01, 0xFF60, 2}, {0xFFE0, 0xFFE6, 2}, {0x20000, 0x3FFFF, 2},
};

constexpr bool widthTableIsSorted()
{
    for (size_t i = 0; i < std::size(sc_widths); ++i) {
        if (sc_widths[i].first > sc_widths[i].last)
            return false;
        if (i > 0 && sc_widths[i - 1].last >= sc_widths[i].first)
            return false;
    }
    return true;
}
static_assert(widthTableIsSorted(), "width ranges must be sorted and disjoint");

inline int32_t lowered(wchar_t ch)
{
    return std::bit_cast<int32_t>(static_cast<uint32_t>(std::towlower(static_cast<wint_t>(ch))));
}

inline int difference(int32_t a, int32_t b)
{
    return std::bit_cast<int32_t>(static_cast<uint32_t>(a) - static_cast<uint32_t>(b));
}

} // namespace

extern "C" {

int GetUnicodeWidth(int ch)
{
    const auto value = static_cast<int32_t>(ch);
    if (value < 256)
        return 1;
    const auto *end = std::end(sc_widths);
    const auto *hit =
        std::upper_bound(std::begin(sc_widths), end, value, [](int32_t v, const WidthRange &r) { return v < r.first; });
    if (hit == std::begin(sc_widths))
        return 1;
    --hit;
    return value <= hit->last ? hit->width : 1;
}

int WcsCaseCmp(const wchar_t *a, const wchar_t *b)
{
    for (size_t i = 0;; ++i) {
        const int32_t la = lowered(a[i]);
        const int32_t lb = lowered(b[i]);
        if (la == 0 || la != lb)
            return difference(la, lb);
    }
}

int WcsNCaseCmp(const wchar_t *a, const wchar_t *b, size_t n)
{
    if (n == 0)
        return 0;
    for (size_t i = 0;; ++i) {
        const int32_t la = lowered(a[i]);
        const int32_t lb = lowered(b[i]);
        if (la == 0 || la != lb || i == n - 1)
            return difference(la, lb);
    }
}

int ILexCmp(const wchar_t **a, const wchar_t **b)
{
    return std::wcscmp(*a, *b);
}

int ILexiCmp(const wchar_t **a, const wchar_t **b)
{
    return wcscasecmp(*a, *b);
}

} // extern "C"
