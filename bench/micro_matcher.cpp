// Microbenchmarks of the matcher: iGrepText over one 5120-byte window of
// C-header-like text, with a null file name so that nothing is printed
// (the -f path). The pattern is compiled as the command line compiles it:
// lower-cased and, for a case-insensitive search, with widened tables.
#include <benchmark/benchmark.h>

#include <cctype>
#include <cstdint>
#include <string>

#include "fyndle.h"
#include "matcher.h"
#include "pattern.h"

namespace {

// A few kinds of lines found in system headers: comments in English,
// declarations, macros, structures, blank lines.
const char *const kSampleLines[] = {
    "/* Definitions of the basic system types.\n",
    "   This header is included by most of the others.\n",
    "\n",
    "   Every type here has a fixed size on a given machine; the\n",
    "   names that end in _t are the ones programs should use, and\n",
    "   the names that begin with two underscores are internal. */\n",
    "\n",
    "#ifndef _SYS_TYPES_H\n",
    "#define _SYS_TYPES_H\t1\n",
    "\n",
    "#include <features.h>\n",
    "\n",
    "__BEGIN_DECLS\n",
    "\n",
    "/* Get the size of the buffer and its alignment. */\n",
    "typedef struct\n",
    "{\n",
    "  int __count;\n",
    "  union\n",
    "  {\n",
    "    unsigned int __wch;\n",
    "    char __wchb[4];\n",
    "  } __value;\t\t/* Value so far.  */\n",
    "} __mbstate_t;\n",
    "\n",
    "extern int fprintf (FILE *__restrict __stream,\n",
    "\t\t    const char *__restrict __format, ...) __nonnull ((1));\n",
    "extern size_t fread (void *__restrict __ptr, size_t __size,\n",
    "\t\t     size_t __n, FILE *__restrict __stream) __wur;\n",
    "# define __need_size_t\n",
    "# include <stddef.h>\n",
    "struct timespec\n",
    "{\n",
    "  __time_t tv_sec;\t\t/* Seconds.  */\n",
    "  __syscall_slong_t tv_nsec;\t/* Nanoseconds.  */\n",
    "};\n",
    "static __inline __uint16_t\n",
    "__bswap_16 (__uint16_t __bsx)\n",
    "{\n",
    "  return __builtin_bswap16 (__bsx);\n",
    "}\n",
    "#endif /* sys/types.h */\n",
};

// 5120 bytes of sample lines, the last one cut where the window ends.
const std::string &window()
{
    static const std::string text = [] {
        std::string t;
        for (size_t i = 0; t.size() < kWindowSize; i = (i + 1) % std::size(kSampleLines))
            t += kSampleLines[i];
        t.resize(kWindowSize);
        return t;
    }();
    return text;
}

CompiledPattern s_pattern;

void compile(benchmark::State &state, const char *pattern, bool regExp)
{
    g_fRegExp = regExp ? 1 : 0;
    g_fBinary = 0;
    std::string text = pattern;
    if (!PreparePattern(text.data(), g_fRegExp, 0, &s_pattern))
        state.SkipWithError("pattern does not compile");
}

void runMatcher(benchmark::State &state, const char *pattern, bool regExp)
{
    compile(state, pattern, regExp);
    const std::string &text = window();
    int64_t matches = 0;
    for (auto _ : state) {
        int64_t offset = 0;
        int64_t line = 0;
        int pos = 0;
        // Search the window to its end, as the scanner would over several
        // calls when an attempt runs into the end.
        while (pos < static_cast<int>(text.size())) {
            const int64_t before = offset;
            matches += iGrepText(s_pattern, nullptr, text.data() + pos, static_cast<int>(text.size()) - pos, &offset,
                                 &line, text.data() + pos, 0);
            const int64_t consumed = offset - before;
            pos += consumed > 0 ? static_cast<int>(consumed) : 1;
        }
        benchmark::DoNotOptimize(line);
    }
    benchmark::DoNotOptimize(matches);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(text.size()));
    state.counters["matches/window"] =
        benchmark::Counter(static_cast<double>(matches), benchmark::Counter::kAvgIterations);
}

// 'q' is rare in such text: the first-byte scan runs almost uninterrupted.
void BM_Matcher_RareFirstByte(benchmark::State &state)
{
    runMatcher(state, "quux_frobnicate", false);
}
// 's' is frequent: many attempts start and fail after one or two bytes.
void BM_Matcher_FrequentFirstByte(benchmark::State &state)
{
    runMatcher(state, "struct", false);
}
// 'e' is frequent and the pattern never matches.
void BM_Matcher_FrequentFirstByteNoMatch(benchmark::State &state)
{
    runMatcher(state, "extern_q", false);
}
// A rare literal that does occur.
void BM_Matcher_RareLiteral(benchmark::State &state)
{
    runMatcher(state, "timespec", false);
}
// -r with a first byte ('s', frequent); matches size_t, mbstate_t, ...
void BM_Matcher_RegexFirstByte(benchmark::State &state)
{
    runMatcher(state, "s[a-z]*_t", true);
}
// -r beginning with a set: no first byte, an attempt at every position.
void BM_Matcher_RegexNoFirstByte(benchmark::State &state)
{
    runMatcher(state, "[sS]truct", true);
}

} // namespace

BENCHMARK(BM_Matcher_RareFirstByte);
BENCHMARK(BM_Matcher_FrequentFirstByte);
BENCHMARK(BM_Matcher_FrequentFirstByteNoMatch);
BENCHMARK(BM_Matcher_RareLiteral);
BENCHMARK(BM_Matcher_RegexFirstByte);
BENCHMARK(BM_Matcher_RegexNoFirstByte);
