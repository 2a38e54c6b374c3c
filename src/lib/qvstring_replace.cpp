// qvstring_replace: search and replace in narrow and wide text.
//
// Narrow text is handled byte by byte and wide text one wchar_t at a time;
// nothing here decodes UTF-8. The in-place pair (StrRep, TcsRep) rewrites a
// text inside its own buffer within a greatest length that does not count
// the terminator. The copying pair (StrCpyRepSize, StrCpyRep) takes a text
// with its length; both run the same walk over it, one counting and one
// writing, so the size reported is exactly the size written. Positions in
// the walk are byte offsets into the source.
#include "qvstring.h"

#include <cctype>
#include <cstring>
#include <cwchar>
#include <string>

namespace {

constexpr int kLineEnd = 1;
constexpr int kLineStart = 2;

// The case-sensitive finder deliberately ignores the lengths and trusts the
// terminator, so it can find a match past hayLen when the text goes on.
const char *strStr(const char *hay, size_t hayLen, const char *needle, size_t needleLen)
{
    (void)hayLen;
    (void)needleLen;
    if (!hay)
        return nullptr;
    return std::strstr(hay, needle);
}

int foldByte(char ch)
{
    return std::tolower(static_cast<signed char>(ch));
}

const char *striStr(const char *hay, size_t hayLen, const char *needle, size_t needleLen)
{
    if (hayLen == 0 || hayLen < needleLen || needleLen == 0)
        return nullptr;
    for (size_t start = 0; start <= hayLen - needleLen; ++start) {
        size_t matched = 0;
        while (matched < needleLen && foldByte(hay[start + matched]) == foldByte(needle[matched]))
            ++matched;
        if (matched == needleLen)
            return hay + start;
    }
    return nullptr;
}

wchar_t *findIn(wchar_t *hay, const wchar_t *needle)
{
    return std::wcsstr(hay, needle);
}

char *findIn(char *hay, const char *needle)
{
    return std::strstr(hay, needle);
}

template <class Ch> size_t repInPlace(Ch *text, const Ch *rep, const Ch *pat, size_t maxCount, size_t maxLen)
{
    using Traits = std::char_traits<Ch>;
    if (!text || !pat || maxCount == 0)
        return 0;
    size_t textLen = Traits::length(text);
    const size_t repLen = rep ? Traits::length(rep) : 0;
    const size_t patLen = Traits::length(pat);
    if (patLen == 0 && repLen == 0)
        return maxCount; // every step would replace nothing by nothing
    Ch *searchFrom = text;
    for (size_t count = 0; count < maxCount; ++count) {
        Ch *match = findIn(searchFrom, pat);
        if (!match)
            return count;
        const size_t tailLen = textLen - static_cast<size_t>(match - text); // from the match to the NUL
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

// The sinks below receive the events of a walk: a replacement at `at` (with
// the source bytes since `from` before it), a single byte copied past a
// refused candidate, and the end. A false result stops the walk at once.
struct CountSink {
    bool replace(size_t, size_t) { return true; }
    bool keepByte(size_t) { return true; }
    void finish(size_t) {}
};

// Capacity is tested only before a segment and its replacement; the NUL
// after each replacement, the bytes kept past refused candidates and the
// final rest with its NUL are written unchecked. Whatever dstSize says, no
// write goes past the full result and its NUL, the size StrCpyRepSize
// reports plus one.
struct CopySink {
    char *dst;
    size_t dstSize;
    const char *src;
    size_t srcLen;
    const char *rep;
    size_t repLen;
    size_t written = 0;

    bool replace(size_t from, size_t at)
    {
        const size_t segment = at - from;
        if (written > dstSize || segment > dstSize - written || repLen > dstSize - written - segment)
            return false;
        std::memcpy(dst + written, src + from, segment);
        if (repLen > 0)
            std::memcpy(dst + written + segment, rep, repLen);
        written += segment + repLen;
        dst[written] = '\0';
        return true;
    }

    bool keepByte(size_t at)
    {
        dst[written++] = src[at];
        return true;
    }

    // When nothing is left after a replacement this rewrites the NUL it
    // already wrote; after a kept byte, or with no event at all, it is the
    // only terminator.
    void finish(size_t from)
    {
        const size_t rest = from < srcLen ? srcLen - from : 0;
        std::memcpy(dst + written, src + from, rest);
        written += rest;
        dst[written] = '\0';
    }
};

// Walks text for a non-empty pattern. Every candidate, accepted or refused
// by lineMode, costs one unit of a positive maxCount; a refused candidate
// moves the search start on by one byte only, so it may be met again.
template <class Sink>
size_t walkPattern(const char *text, size_t textLen, const char *pat, int maxCount, int caseSensitive,
                   unsigned lineMode, Sink &sink)
{
    const size_t patLen = std::strlen(pat);
    const bool limited = maxCount > 0;
    int budget = maxCount;
    size_t start = 0;
    size_t count = 0;
    for (;;) {
        const char *found = caseSensitive ? strStr(text + start, textLen - start, pat, patLen)
                                          : striStr(text + start, textLen - start, pat, patLen);
        if (!found)
            break;
        const size_t at = static_cast<size_t>(found - text);
        if (at > textLen || patLen > textLen - at)
            break; // only a text not terminated at textLen gets here
        bool accepted = true;
        if (lineMode != 0) {
            const int prev = at == 0 ? 0 : static_cast<unsigned char>(text[at - 1]);
            const size_t after = at + patLen;
            const int next = after == textLen ? 0 : static_cast<unsigned char>(text[after]);
            accepted = StrRepMatchesPosition(prev, next, static_cast<int>(lineMode & 3u)) != 0;
        }
        if (accepted) {
            if (!sink.replace(start, at))
                return count;
            ++count;
            start = at + patLen;
        } else {
            if (!sink.keepByte(start))
                return count;
            ++start;
        }
        if (limited && --budget == 0)
            break;
    }
    sink.finish(start);
    return count;
}

// Walks text for the empty pattern: each line start (lineMode 2) or line end
// (lineMode 1) is a place whose byte the replacement takes over.
template <class Sink> size_t walkLines(const char *text, size_t textLen, int maxCount, unsigned lineMode, Sink &sink)
{
    const bool limited = maxCount > 0;
    int budget = maxCount;
    size_t start = 0;
    size_t count = 0;
    for (size_t at = 0; at < textLen; ++at) {
        const bool place =
            lineMode == kLineStart ? (at == 0 || text[at - 1] == '\n') : (at + 1 == textLen || text[at + 1] == '\n');
        if (!place)
            continue;
        if (!sink.replace(start, at))
            return count;
        ++count;
        start = at + 1;
        if (limited && --budget == 0)
            break;
    }
    sink.finish(start);
    return count;
}

bool isLineMode(unsigned lineMode)
{
    return lineMode == kLineEnd || lineMode == kLineStart;
}

} // namespace

extern "C" {

size_t StrRep(char *text, const char *rep, const char *pat, size_t maxCount, size_t maxLen)
{
    return repInPlace(text, rep, pat, maxCount, maxLen);
}

size_t TcsRep(wchar_t *text, const wchar_t *rep, const wchar_t *pat, size_t maxCount, size_t maxLen)
{
    return repInPlace(text, rep, pat, maxCount, maxLen);
}

int StrRepMatchesPosition(int prev, int next, int lineMode)
{
    if ((lineMode & kLineEnd) && next != 0 && next != '\r' && next != '\n')
        return 0;
    if ((lineMode & kLineStart) && prev != 0 && prev != '\n')
        return 0;
    return 1;
}

size_t StrCpyRepSize(const char *text, size_t textLen, const char *rep, const char *pat, int maxCount, size_t *newLen,
                     int caseSensitive, unsigned lineMode)
{
    size_t ignored = 0;
    if (!newLen)
        newLen = &ignored;
    *newLen = textLen;
    if (maxCount == 0 || !text || !pat)
        return 0;
    const size_t repLen = rep ? std::strlen(rep) : 0;
    if (*pat == '\0') {
        if (!isLineMode(lineMode) || repLen == 0)
            return 0;
        if (textLen == 0) {
            *newLen = repLen;
            return 1;
        }
        size_t lines = 1;
        for (size_t at = 0; at < textLen; ++at)
            lines += text[at] == '\n';
        if (maxCount > 0 && static_cast<size_t>(maxCount) < lines)
            lines = static_cast<size_t>(maxCount);
        *newLen = textLen + repLen * lines;
        return lines;
    }
    CountSink sink;
    const size_t count = walkPattern(text, textLen, pat, maxCount, caseSensitive, lineMode, sink);
    // Wraps in between when rep is shorter, but the final value is exact.
    *newLen = textLen + count * repLen - count * std::strlen(pat);
    return count;
}

size_t StrCpyRep(char *dst, size_t dstSize, char *src, size_t srcLen, const char *rep, const char *pat, int maxCount,
                 int caseSensitive, unsigned lineMode)
{
    if (!dst || !src || !pat)
        return 0;
    const size_t repLen = rep ? std::strlen(rep) : 0;
    CopySink sink{dst, dstSize, src, srcLen, rep, repLen};
    if (maxCount == 0) {
        // A whole copy as far as the terminator, whatever dstSize says; the
        // read stops at srcLen should the terminator lie beyond it.
        sink.srcLen = strnlen(src, srcLen);
        sink.finish(0);
        return 0;
    }
    if (*pat == '\0') {
        if (repLen == 0 || srcLen == 0 || !isLineMode(lineMode))
            return 0;
        return walkLines(src, srcLen, maxCount, lineMode, sink);
    }
    return walkPattern(src, srcLen, pat, maxCount, caseSensitive, lineMode, sink);
}

size_t StrRepCh(char *text, int newCh, int oldCh)
{
    if (!text)
        return 0;
    size_t count = 0;
    for (char *at = text; *at; ++at) {
        if (static_cast<signed char>(*at) == oldCh) {
            *at = static_cast<char>(newCh);
            ++count;
        }
    }
    return count;
}

size_t TcsRepCh(wchar_t *text, wchar_t newCh, wchar_t oldCh)
{
    if (!text)
        return 0;
    size_t count = 0;
    for (wchar_t *at = text; *at; ++at) {
        if (*at == oldCh) {
            *at = newCh;
            ++count;
        }
    }
    return count;
}

} // extern "C"
