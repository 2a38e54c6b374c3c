// Pattern compiler.
//
// A compiled pattern is at most kMaxElements elements. Element k owns bit
// 1 << k: the table entry of a byte value has bit k set when element k
// accepts that byte, and flags[k] says how many bytes the element takes.
// Plain patterns make one single-byte literal element per byte. The
// regular-expression syntax knows '.', '^', '$', sets "[...]", the suffixes
// '*' and '+', and backslash escapes; every other byte is a literal.
#include "pattern.h"

#include <cstring>

#include "qvstring.h"

namespace {

struct Compiler {
    uint32_t *table;
    int tableLen;
    uint32_t *flags;
    const unsigned char *text;
    size_t pos;  // next pattern byte to read
    int element; // element being built

    uint32_t bit() const { return 1u << element; }
    void accept(unsigned char byte) { table[byte] |= bit(); }
    void acceptRange(unsigned lo, unsigned hi)
    {
        for (unsigned byte = lo; byte <= hi; ++byte)
            table[byte] |= bit();
    }

    // Reads one set "[...]" whose '[' is already consumed.
    void readSet()
    {
        if (text[pos] == '^') {
            flags[element] |= kFlagNegated;
            ++pos;
        }
        while (text[pos] != 0 && text[pos] != ']') {
            unsigned char item = text[pos];
            if (item == '\\' && (text[pos + 1] == ']' || text[pos + 1] == '-')) {
                item = text[pos + 1];
                pos += 2;
            } else {
                // A backslash before anything else is a literal backslash and
                // the next byte is read as an item of its own.
                ++pos;
            }
            if (text[pos] == '-' && text[pos + 1] != 0 && text[pos + 1] != ']') {
                unsigned char last = text[pos + 1];
                if (item <= last)
                    acceptRange(item, last);
                ++pos; // the range's last byte is read once more as an item
            } else {
                accept(item);
            }
        }
        if (text[pos] == ']')
            ++pos;
    }

    // Takes a '*' or '+' after an element that allows one.
    void readSuffix()
    {
        if (text[pos] == '*') {
            flags[element] |= kFlagStar;
            ++pos;
        } else if (text[pos] == '+') {
            flags[element] |= kFlagPlus;
            ++pos;
        } else {
            flags[element] |= kFlagSingle;
        }
    }
};

int parsePlain(Compiler &c, unsigned char *chFirst)
{
    *chFirst = c.text[0];
    while (c.text[c.pos] != 0 && c.element < kMaxElements) {
        c.accept(c.text[c.pos++]);
        c.flags[c.element++] = kFlagSingle;
    }
    c.flags[c.element] = kFlagEnd;
    return c.element;
}

// What a backslash escape outside a set made.
enum class Escape { Element, Ignored, IgnoredAtEnd, Invalid };

// Reads the escape whose backslash is consumed and builds its element.
Escape readEscape(Compiler &c, unsigned char *chFirst)
{
    const unsigned char next = c.text[c.pos];
    if (next == 0)
        return Escape::Invalid; // a lone trailing backslash
    ++c.pos;
    if (std::strchr("{}()!", next) != nullptr)
        return c.text[c.pos] == 0 ? Escape::IgnoredAtEnd : Escape::Ignored;
    if (next == '~') {
        const unsigned char refused = c.text[c.pos];
        if (refused == 0)
            return Escape::Invalid; // "\~" with nothing to refuse
        ++c.pos;
        c.accept(refused);
        c.flags[c.element] = kFlagNegated;
        c.readSuffix();
    } else if (next == ':') {
        c.flags[c.element] = kFlagSingle; // accepts no byte at all
    } else {
        c.accept(next);
        if (c.element == 0)
            *chFirst = next;
        c.readSuffix();
    }
    return Escape::Element;
}

int parseRegExp(Compiler &c, unsigned char *chFirst)
{
    while (c.text[c.pos] != 0) {
        unsigned char ch = c.text[c.pos++];
        switch (ch) {
        case '.':
            c.acceptRange(32, c.tableLen - 1 < 254 ? c.tableLen - 1 : 254);
            c.flags[c.element] = kFlagSingle;
            break;
        case '^':
            c.accept('\n');
            if (c.element == 0)
                *chFirst = '\n';
            c.flags[c.element] = kFlagSingle;
            break;
        case '$':
            c.accept('\r');
            c.flags[c.element] = kFlagOptional;
            // Its newline element would be a 33rd: the pattern is capped here.
            if (c.element + 1 < kMaxElements) {
                ++c.element;
                c.accept('\n');
                c.flags[c.element] = kFlagSingle;
            }
            break;
        case '[':
            c.readSet();
            c.readSuffix();
            break;
        case '\\': {
            const Escape escape = readEscape(c, chFirst);
            if (escape == Escape::Invalid)
                return 0;
            if (escape == Escape::IgnoredAtEnd) {
                c.flags[c.element] = kFlagEnd;
                return c.element;
            }
            if (escape == Escape::Ignored)
                continue; // no element
            break;
        }
        default:
            c.accept(ch);
            if (c.element == 0)
                *chFirst = ch;
            c.readSuffix();
            break;
        }
        ++c.element;
        if (c.element == kMaxElements)
            break;
    }
    c.flags[c.element] = kFlagEnd;
    return c.element;
}

} // namespace

int ParsePattern(uint32_t *table, int tableLen, uint32_t *flags, const char *pattern, unsigned char *chFirst,
                 int regExp)
{
    if (tableLen > 256)
        tableLen = 256;
    for (int i = 0; i < tableLen; ++i)
        table[i] = 0;
    for (int i = 0; i <= kMaxElements; ++i)
        flags[i] = 0;
    *chFirst = 0;
    Compiler c{table, tableLen, flags, reinterpret_cast<const unsigned char *>(pattern), 0, 0};
    if (pattern == nullptr || pattern[0] == 0) {
        flags[0] = kFlagEnd;
        return 0;
    }
    return regExp ? parseRegExp(c, chFirst) : parsePlain(c, chFirst);
}

void WidenPatternForCase(uint32_t *table)
{
    for (int upper = 'A'; upper <= 'Z'; ++upper)
        table[upper] = table[upper - 'A' + 'a'];
}

bool PreparePattern(char *pattern, int regExp, int matchCase, CompiledPattern *compiled)
{
    if (!matchCase)
        StrLower(pattern);
    // The compiler clears the 255 entries it is given; byte 255's starts at
    // zero as in a fresh process.
    compiled->table[255] = 0;
    compiled->count = ParsePattern(compiled->table, 255, compiled->flags, pattern, &compiled->first, regExp);
    compiled->matchCase = matchCase != 0;
    const unsigned char first = compiled->first;
    compiled->firstOther =
        (!matchCase && first >= 'a' && first <= 'z') ? static_cast<unsigned char>(first - 'a' + 'A') : first;
    if (!matchCase)
        WidenPatternForCase(compiled->table);
    PlanSearch(*compiled, &compiled->plan);
    return compiled->count > 0;
}
