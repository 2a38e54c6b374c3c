// Pattern compiler and matcher over random windows of text.
//
// Input: a settings byte (bit 0 regular expression, bit 1 whole words,
// bit 2 binary reports, bit 3 case-sensitive, bits 4-7 the size of smaller
// windows), a pattern length byte, the pattern, five bytes of starting file
// offset, two of starting line count, then the window. The window lives in
// a block of exactly its size.
//
// Properties, beyond staying inside the window:
// - the offset grows by at most the window's length, and never shrinks;
// - printing changes nothing: a run with a name (reports captured) counts,
//   consumes and counts lines exactly as a run with a null name;
// - the shortcuts change nothing: a run with them off gives the same
//   reports, consumption and line count; so does the window searched as a
//   file of smaller windows (their size from the settings byte's high bits)
//   that carry what was not consumed, with a MatchState kept across them
//   (passing over the windows it can tell) against the plain search
//   of each window alone;
// - in text mode every report is one line "f (N): ..." with N above the
//   starting line count and never going down;
// - a case-insensitive search (widened pattern tables over the text as it
//   stands) finds exactly what a search of the folded text with the plain
//   tables finds, and prints the same reports but for the case of letters.
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "fuzz_input.h"
#include "fyndle.h"
#include "matcher.h"
#include "pattern.h"

namespace {

struct Outcome {
    int reports;
    int64_t offset;
    int64_t line;
    std::string printed;
};

// The pattern of the run in progress.
CompiledPattern s_pattern;

// Runs the matcher once; with a name, what it prints is captured. plain:
// without the shortcuts.
Outcome run(const char *name, const char *text, int len, int64_t offset, int64_t line, const char *print, int matchWord,
            int window = 0, bool plain = false)
{
    Outcome outcome{0, offset, line, std::string()};
    char *captured = nullptr;
    size_t capturedSize = 0;
    FILE *saved = stdout;
    FILE *stream = nullptr;
    if (name != nullptr) {
        stream = open_memstream(&captured, &capturedSize);
        FUZZ_CHECK(stream != nullptr);
        stdout = stream;
    }
    if (window == 0) {
        MatchState state{};
        state.plain = plain;
        outcome.reports = SearchWindow(s_pattern, state, MatchWindow{name, text, print, len, 0, matchWord},
                                       &outcome.offset, &outcome.line);
    } else {
        // As the scanner does: a window that consumed nothing moves on by one
        // byte, and the full ones after it that the matcher can tell are
        // passed over at once.
        MatchState state{};
        state.plain = plain;
        for (int at = 0; at < len;) {
            const int part = len - at < window ? len - at : window;
            const int64_t before = outcome.offset;
            outcome.reports +=
                SearchWindow(s_pattern, state, MatchWindow{name, text + at, print + at, part, at, matchWord},
                             &outcome.offset, &outcome.line);
            const int64_t consumed = outcome.offset - before;
            at += consumed > 0 ? static_cast<int>(consumed) : 1;
            const auto *bytes = reinterpret_cast<const unsigned char *>(text);
            StuckRun run{};
            const bool stuck = consumed == 0 || (s_pattern.first != 0 && state.carried.valid);
            if (stuck && part == window && StuckWindows(s_pattern, state, Window{bytes + at, at, len - at}, &run))
                for (int64_t stop = 0; at + window <= len;) {
                    const StuckPass pass = PassStuckWindows(s_pattern, run, Window{bytes + at, at, len - at}, window);
                    outcome.offset += pass.consumed;
                    at = static_cast<int>(pass.next);
                    if (at + window > len || (stop = WindowStop(s_pattern, run, Window{bytes + at, at, window})) < 0)
                        break;
                    outcome.offset += stop;
                    at += stop > 0 ? static_cast<int>(stop) : 1;
                }
        }
    }
    if (stream != nullptr) {
        stdout = saved;
        std::fclose(stream);
        outcome.printed.assign(captured, capturedSize);
        std::free(captured);
    }
    return outcome;
}

std::string folded(std::string text)
{
    for (char &ch : text)
        if (ch >= 'A' && ch <= 'Z')
            ch = static_cast<char>(ch - 'A' + 'a');
    return text;
}

void checkTextReports(const std::string &printed, int reports, int64_t startLine)
{
    size_t at = 0;
    int lines = 0;
    long long previous = startLine;
    while (at < printed.size()) {
        size_t end = printed.find('\n', at);
        FUZZ_CHECK(end != std::string::npos);
        FUZZ_CHECK(printed.compare(at, 3, "f (") == 0);
        char *after = nullptr;
        long long number = std::strtoll(printed.c_str() + at + 3, &after, 10);
        FUZZ_CHECK(after != printed.c_str() + at + 3);
        FUZZ_CHECK(std::strncmp(after, "): ", 3) == 0);
        FUZZ_CHECK(number > startLine);
        FUZZ_CHECK(number >= previous);
        previous = number;
        ++lines;
        at = end + 1;
    }
    FUZZ_CHECK(lines == reports);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FuzzInput input(data, size);
    const uint8_t settings = input.byte();
    const int regExp = settings & 1;
    const int matchWord = (settings >> 1) & 1;
    g_fBinary = (settings >> 2) & 1;
    g_fMatchCase = (settings >> 3) & 1;
    g_fRegExp = static_cast<unsigned char>(regExp);
    g_fMatchWord = static_cast<unsigned char>(matchWord);

    // The command line cuts the pattern to 31 bytes; longer ones still reach
    // the compiler here, which must stop at 32 elements by itself.
    std::unique_ptr<char[]> pattern = exactText(input.take(input.byte() % 40));
    const int64_t startOffset = static_cast<int64_t>(input.bits(5));
    const int64_t startLine = static_cast<int64_t>(input.bits(2));
    const std::vector<uint8_t> window = input.rest();
    if (window.size() > static_cast<size_t>(kWindowSize))
        return 0; // the scanner never hands over more
    const int len = static_cast<int>(window.size());

    const int matchCase = g_fMatchCase;
    PreparePattern(pattern.get(), regExp, matchCase, &s_pattern);
    FUZZ_CHECK(s_pattern.count >= 0 && s_pattern.count <= kMaxElements);
    if (s_pattern.count == 0)
        return 0;
    FUZZ_CHECK(s_pattern.flags[s_pattern.count] == kFlagEnd);

    std::unique_ptr<char[]> text = exactBytes(window);
    std::unique_ptr<char[]> print = exactBytes(window);

    const Outcome silent = run(nullptr, text.get(), len, startOffset, startLine, print.get(), matchWord);
    FUZZ_CHECK(silent.reports >= 0);
    FUZZ_CHECK(silent.offset >= startOffset);
    FUZZ_CHECK(silent.offset - startOffset <= (len > 0 ? len : 0));
    FUZZ_CHECK(silent.line >= startLine);
    if (len < 1)
        FUZZ_CHECK(silent.reports == 0 && silent.offset == startOffset && silent.line == startLine);

    const Outcome named = run("f", text.get(), len, startOffset, startLine, print.get(), matchWord);
    FUZZ_CHECK(named.reports == silent.reports);
    FUZZ_CHECK(named.offset == silent.offset);
    FUZZ_CHECK(named.line == silent.line);
    if (g_fBinary)
        FUZZ_CHECK(named.printed.size() >= 8 * static_cast<size_t>(named.reports));
    else
        checkTextReports(named.printed, named.reports, startLine);

    const int pieces = 8 + (settings >> 4) * 23;
    const Outcome carried = run("f", text.get(), len, startOffset, startLine, print.get(), matchWord, pieces);
    const Outcome plain = run("f", text.get(), len, startOffset, startLine, print.get(), matchWord, 0, true);
    const Outcome plainWindows =
        run("f", text.get(), len, startOffset, startLine, print.get(), matchWord, pieces, true);
    FUZZ_CHECK(carried.reports == plainWindows.reports);
    FUZZ_CHECK(carried.offset == plainWindows.offset);
    FUZZ_CHECK(carried.line == plainWindows.line);
    FUZZ_CHECK(carried.printed == plainWindows.printed);
    FUZZ_CHECK(plain.reports == named.reports);
    FUZZ_CHECK(plain.offset == named.offset);
    FUZZ_CHECK(plain.line == named.line);
    FUZZ_CHECK(plain.printed == named.printed);

    if (!matchCase && len > 0) {
        // The lowered pattern, prepared to match case, over the folded text.
        PreparePattern(pattern.get(), regExp, 1, &s_pattern);
        const std::string lower = folded(std::string(window.begin(), window.end()));
        std::unique_ptr<char[]> lowerText(new char[lower.size()]);
        std::memcpy(lowerText.get(), lower.data(), lower.size());
        const Outcome reference = run("f", lowerText.get(), len, startOffset, startLine, lowerText.get(), matchWord);
        FUZZ_CHECK(reference.reports == named.reports);
        FUZZ_CHECK(reference.offset == named.offset);
        FUZZ_CHECK(reference.line == named.line);
        FUZZ_CHECK(reference.printed == folded(named.printed));
    }
    return 0;
}
