// qvstring_replace: search and replace in narrow and wide text.
//
// Narrow text is handled byte by byte and wide text one wchar_t at a time;
// nothing here decodes UTF-8. The in-place pair (StrRep, TcsRep) rewrites a
// text inside its own buffer within a greatest length that does not count
// the terminator; it gives the result of replacing one match after the
// other, in time linear in the text (each element moved once). The copying
// pair (StrCpyRepSize, StrCpyRep) takes a text with its length; both run the
// same walk over it, one counting and one writing, so the size reported is
// exactly the size written. Positions in the walk are byte offsets into the
// source. Ignoring case means comparing through tolower, read from the
// locale's table (qvstring_fold.h), with candidates found a block at a time.
#include "qvstring.h"
#include "qvstring_blocks.h"
#include "qvstring_fold.h"

#include <bit>
#include <cctype>
#include <cstdint>
#include <cstdlib>
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

// The case-insensitive finder: the first start from 0 to hayLen - needleLen
// at which all needleLen bytes agree after folding. Candidates come from a
// block scan for the bytes that fold as the needle's first and last do, when
// each of those holds at most two bytes (a letter and its other case, or a
// byte alone); the bytes between are then compared through the fold.
class FoldedFinder {
public:
    FoldedFinder(const char *needle, size_t needleLen)
        : needle_(reinterpret_cast<const unsigned char *>(needle)), needleLen_(needleLen)
    {
        if (needleLen == 0)
            return;
        blockScan_ = foldsAlike(needle_[0], first_) && foldsAlike(needle_[needleLen - 1], last_);
    }

    const char *striStr(const char *hay, size_t hayLen) const
    {
        if (hayLen == 0 || hayLen < needleLen_ || needleLen_ == 0)
            return nullptr;
        const auto *text = reinterpret_cast<const unsigned char *>(hay);
        const size_t starts = hayLen - needleLen_ + 1;
        for (size_t start = 0; start < starts; ++start) {
            if (blockScan_) {
                start += qvstring::findEitherPair(text + start, starts - start, needleLen_ - 1, first_[0], first_[1],
                                                  last_[0], last_[1]);
                if (start == starts)
                    break;
            }
            if (agrees(text + start))
                return hay + start;
        }
        return nullptr;
    }

private:
    // Whether at most two bytes fold as byte does; they go to pair, the one
    // repeated when it is alone.
    bool foldsAlike(unsigned char byte, unsigned char pair[2]) const
    {
        uint64_t bits[4];
        qvstring::findEqual256(fold_.signedRow(), fold_.ofSigned(byte), bits);
        int found = 0;
        for (int word = 0; word < 4; ++word) {
            for (uint64_t left = bits[word]; left != 0; left &= left - 1) {
                if (found == 2)
                    return false;
                const int index = 64 * word + std::countr_zero(left);
                pair[found++] = static_cast<unsigned char>(index ^ 0x80);
            }
        }
        if (found == 1)
            pair[1] = pair[0];
        return true;
    }

    bool agrees(const unsigned char *at) const
    {
        for (size_t k = 0; k < needleLen_; ++k)
            if (fold_.ofSigned(at[k]) != fold_.ofSigned(needle_[k]))
                return false;
        return true;
    }

    qvstring::CaseFold fold_;
    const unsigned char *needle_;
    size_t needleLen_;
    bool blockScan_ = false;
    unsigned char first_[2] = {0, 0}; // the bytes that fold as the needle's first
    unsigned char last_[2] = {0, 0};  // and as its last
};

// The first match of a non-empty needle in [hay, end), end being the NUL.
// Wide text goes by the C library's block search for the needle's first
// character, which the wide substring search does not use.
wchar_t *findIn(wchar_t *hay, wchar_t *end, const wchar_t *needle, size_t needleLen)
{
    for (wchar_t *at = hay; static_cast<size_t>(end - at) >= needleLen; ++at) {
        at = std::wmemchr(at, needle[0], static_cast<size_t>(end - at) - needleLen + 1);
        if (at == nullptr)
            return nullptr;
        if (std::wmemcmp(at + 1, needle + 1, needleLen - 1) == 0)
            return at;
    }
    return nullptr;
}

char *findIn(char *hay, char *, const char *needle, size_t)
{
    return std::strstr(hay, needle);
}

// Offsets of matches in a text, on the stack while few, then in a block
// that doubles. A push that cannot get memory fails and changes nothing.
class Offsets {
public:
    Offsets() = default;
    Offsets(const Offsets &) = delete;
    Offsets &operator=(const Offsets &) = delete;
    ~Offsets()
    {
        if (data_ != local_)
            std::free(data_);
    }

    size_t size() const { return size_; }
    size_t operator[](size_t index) const { return data_[index]; }
    void clear() { size_ = 0; }

    bool push(size_t offset)
    {
        if (size_ == capacity_ && !grow())
            return false;
        data_[size_++] = offset;
        return true;
    }

private:
    bool grow()
    {
        if (capacity_ > SIZE_MAX / 2 / sizeof(size_t))
            return false;
        const size_t capacity = capacity_ * 2;
        auto *data = static_cast<size_t *>(data_ == local_ ? std::malloc(capacity * sizeof(size_t))
                                                           : std::realloc(data_, capacity * sizeof(size_t)));
        if (data == nullptr)
            return false;
        if (data_ == local_)
            std::memcpy(data, local_, sizeof local_);
        data_ = data;
        capacity_ = capacity;
        return true;
    }

    size_t local_[64];
    size_t *data_ = local_;
    size_t size_ = 0;
    size_t capacity_ = 64;
};

// A text that keeps or loses length: one pass that finds each match from
// just past the last and moves the bytes between down to where they end up,
// each byte once. Everything at or past the read position is still the
// original text, so each search sees what the step-by-step rewrite would.
// That rewrite also leaves, past the new terminator, what each step's move
// of the tail did not reach: the last `loss` elements of the text (its NUL
// included) repeated back from the old end, which is rebuilt here too.
template <class Ch>
size_t shrinkInPlace(Ch *text, size_t textLen, const Ch *rep, size_t repLen, const Ch *pat, size_t patLen,
                     size_t maxCount)
{
    using Traits = std::char_traits<Ch>;
    Ch *write = text;
    Ch *read = text;
    size_t count = 0;
    for (; count < maxCount; ++count) {
        Ch *match = findIn(read, text + textLen, pat, patLen);
        if (!match)
            break;
        if (write != read)
            Traits::move(write, read, static_cast<size_t>(match - read));
        write += match - read;
        if (repLen > 0)
            Traits::copy(write, rep, repLen);
        write += repLen;
        read = match + patLen;
    }
    if (write != read)
        Traits::move(write, read, static_cast<size_t>(text + textLen - read) + 1);
    const size_t loss = patLen - repLen;
    if (count > 0 && loss > 0)
        for (Ch *stale = text + textLen - loss; stale > write + (text + textLen - read); --stale)
            *stale = stale[loss];
    return count;
}

// A growing text: the matches that fit are found first, then the text is
// rebuilt from its end, each stretch between matches moved up once by the
// growth of the matches before it. Should memory for the offsets run out,
// the matches found so far are made and the search goes on after them.
template <class Ch>
size_t growInPlace(Ch *text, size_t textLen, const Ch *rep, size_t repLen, const Ch *pat, size_t patLen,
                   size_t maxCount, size_t maxLen)
{
    using Traits = std::char_traits<Ch>;
    const size_t growth = repLen - patLen;
    // Replacement k + 1 is refused when the text would pass maxLen; a text
    // already past it takes none.
    const size_t fit = textLen > maxLen ? 0 : (maxLen - textLen) / growth;
    const size_t budget = maxCount < fit ? maxCount : fit;
    if (patLen == 0) {
        // Each search finds the empty pattern right after the replacements
        // made so far, so they all go before the text.
        Traits::move(text + budget * repLen, text, textLen + 1);
        for (size_t k = 0; k < budget; ++k)
            Traits::copy(text + k * repLen, rep, repLen);
        return budget;
    }
    Offsets offsets;
    size_t made = 0;
    Ch *from = text;
    for (;;) {
        offsets.clear();
        bool outOfMemory = false;
        while (made + offsets.size() < budget) {
            Ch *match = findIn(from, text + textLen, pat, patLen);
            if (!match)
                break;
            if (!offsets.push(static_cast<size_t>(match - text))) {
                outOfMemory = true;
                break;
            }
            from = match + patLen;
        }
        const size_t found = offsets.size();
        // From the end: the stretch after match k moves up by (k + 1) growths.
        size_t stretchEnd = textLen + 1; // the NUL moves too
        for (size_t k = found; k-- > 0;) {
            const size_t after = offsets[k] + patLen;
            Traits::move(text + after + (k + 1) * growth, text + after, stretchEnd - after);
            Traits::copy(text + offsets[k] + k * growth, rep, repLen);
            stretchEnd = offsets[k];
        }
        made += found;
        if (!outOfMemory || found == 0)
            return made;
        textLen += found * growth;
        from = text + offsets[found - 1] + patLen + found * growth;
    }
}

template <class Ch> size_t repInPlace(Ch *text, const Ch *rep, const Ch *pat, size_t maxCount, size_t maxLen)
{
    using Traits = std::char_traits<Ch>;
    if (!text || !pat || maxCount == 0)
        return 0;
    const size_t textLen = Traits::length(text);
    const size_t repLen = rep ? Traits::length(rep) : 0;
    const size_t patLen = Traits::length(pat);
    if (patLen == 0 && repLen == 0)
        return maxCount; // every step would replace nothing by nothing
    if (repLen > patLen)
        return growInPlace(text, textLen, rep, repLen, pat, patLen, maxCount, maxLen);
    return shrinkInPlace(text, textLen, rep, repLen, pat, patLen, maxCount);
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
// A refused candidate is also the first from each later start up to it, so
// it is searched for again only once the start has passed it.
template <class Sink>
size_t walkPattern(const char *text, size_t textLen, const char *pat, int maxCount, int caseSensitive,
                   unsigned lineMode, Sink &sink)
{
    const size_t patLen = std::strlen(pat);
    const FoldedFinder folded(pat, caseSensitive ? 0 : patLen);
    const bool limited = maxCount > 0;
    int budget = maxCount;
    size_t start = 0;
    size_t count = 0;
    const char *found = nullptr;
    for (;;) {
        if (!found || found < text + start)
            found = caseSensitive ? strStr(text + start, textLen - start, pat, patLen)
                                  : folded.striStr(text + start, textLen - start);
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
