// Matcher.
//
// An attempt runs the elements over the text from one start position.
// With a first byte (g_chFirst) the start is found by a bulk scan, element 0
// counts as matched there, and the scan counts the newlines it passes; the
// line counter otherwise moves only over the bytes of successful matches.
// An attempt that runs into the end of the window stops the search of the
// window: the caller carries the rest into the next one, where the attempt
// is made again with more text.
#include "matcher.h"

#include <cctype>
#include <cstring>

#include "bytescan.h"
#include "fyndle.h"
#include "report.h"

namespace {

enum class Outcome { Success, Fail, RanOut };

// Runs elements from `element` on, from text[pos]. On success *end is one
// past the last byte examined.
Outcome attempt(const unsigned char *text, int64_t len, int64_t pos, int element, int64_t *end)
{
    const int count = g_cPattern;
    if (pos >= len)
        return Outcome::RanOut;
    for (;;) {
        const uint32_t flags = g_aiPatCount[element];
        bool accepted = (g_aiPattern[text[pos]] >> element) & 1u;
        if (flags & kFlagNegated)
            accepted = !accepted;
        int32_t &matched = g_aiMatchCount[element];
        matched = accepted ? matched + 1 : -matched;

        bool consumed = accepted;
        if (flags & kFlagStar) {
            if (!accepted)
                ++element;
        } else if (flags & kFlagPlus) {
            if (!accepted) {
                // Going on needs the next element to have accepted bytes in
                // this attempt already, which it cannot have: the attempt fails.
                ++element;
                if (element >= count || g_aiMatchCount[element] == 0)
                    return Outcome::Fail;
            }
        } else if (flags & kFlagOptional) {
            ++element;
        } else {
            ++element;
            if (!accepted)
                return pos + 1 >= len ? Outcome::RanOut : Outcome::Fail;
        }
        if (element >= count) {
            *end = pos + 1;
            return Outcome::Success;
        }
        if (consumed && ++pos >= len)
            return Outcome::RanOut;
    }
}

bool isWordByte(unsigned char byte)
{
    return byte == '_' || std::isalnum(byte);
}

bool isLineDelimiter(unsigned char byte)
{
    return byte == 0 || byte == '\n' || byte == '\r';
}

void resetCounts()
{
    std::memset(g_aiMatchCount, 0, sizeof(g_aiMatchCount[0]) * static_cast<size_t>(g_cPattern));
}

} // namespace

int iGrepText(const char *name, const char *textArg, int lenArg, int64_t *offset, int64_t *line,
              const char *print, int matchWord)
{
    if (lenArg < 1 || g_cPattern < 1)
        return 0;
    const auto *text = reinterpret_cast<const unsigned char *>(textArg);
    const int64_t len = lenArg;
    const unsigned char first = g_chFirst;
    // Unless the search is case-sensitive, the first byte may stand in the
    // text in either case (the tables are widened the same way).
    const unsigned char firstOther =
        (!g_fMatchCase && first >= 'a' && first <= 'z') ? static_cast<unsigned char>(first - 'a' + 'A') : first;

    int reports = 0;
    int64_t pos = 0;      // where the next attempt (or first-byte scan) begins
    int64_t counted = 0;  // with a first byte: newlines before this are in *line
    int64_t stop = len;   // bytes consumed when the search of the window ends
    for (;;) {
        int64_t start;
        int64_t end = 0;
        Outcome outcome;
        if (first != 0) {
            start = pos + static_cast<int64_t>(FindEitherByte(text + pos, static_cast<size_t>(len - pos), first, firstOther));
            if (start >= len) {
                *line += CountNewlines(text + counted, static_cast<size_t>(len - counted));
                stop = len;
                break;
            }
            resetCounts();
            g_aiMatchCount[0] = 1;
            if (g_cPattern == 1) {
                end = start + 1;
                outcome = Outcome::Success;
            } else {
                outcome = attempt(text, len, start + 1, 1, &end);
            }
        } else {
            if (pos >= len) {
                stop = len;
                break;
            }
            start = pos;
            resetCounts();
            outcome = attempt(text, len, start, 0, &end);
        }

        if (outcome == Outcome::Fail) {
            pos = start + 1;
            continue;
        }
        if (outcome == Outcome::RanOut) {
            if (first != 0) {
                *line += CountNewlines(text + counted, static_cast<size_t>(start + 1 - counted));
                stop = start + 1;
            } else {
                stop = start;
            }
            break;
        }

        // Success: the line counter at the match start, then over the match.
        int64_t lineAtStart;
        if (first != 0) {
            lineAtStart = *line + CountNewlines(text + counted, static_cast<size_t>(start + 1 - counted));
            *line = lineAtStart + CountNewlines(text + start + 1, static_cast<size_t>(end - start - 1));
        } else {
            lineAtStart = *line;
            *line += CountNewlines(text + start, static_cast<size_t>(end - start));
        }

        bool dropped = matchWord && ((start > 0 && isWordByte(text[start - 1])) ||
                                     (end < len && isWordByte(text[end])));
        if (dropped) {
            pos = counted = end;
            continue;
        }
        ++reports;
        if (g_fBinary) {
            if (name != nullptr)
                ReportMatch(name, *offset + start, print + start, static_cast<size_t>(end - start));
            pos = counted = end;
            continue;
        }
        int64_t lineStart = start + 1;
        if (!isLineDelimiter(text[start])) {
            lineStart = start;
            while (lineStart > 0 && !isLineDelimiter(text[lineStart - 1]))
                --lineStart;
        }
        int64_t lineEnd = lineStart;
        while (lineEnd < len && !isLineDelimiter(text[lineEnd]))
            ++lineEnd;
        if (name != nullptr)
            ReportLine(name, lineAtStart + 1, print + lineStart, static_cast<size_t>(lineEnd - lineStart));
        // One report per line: go on at the delimiter that ends it. Newlines
        // that the match took beyond that point are counted once more.
        pos = counted = lineEnd;
    }
    *offset += stop;
    return reports;
}
