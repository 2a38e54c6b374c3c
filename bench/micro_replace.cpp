// Microbenchmarks of search and replace and of the case-insensitive helpers,
// each beside the C or C++ library code a user would write instead (the
// rows named ...Anchor), at 256 B, 4 KiB and 1 MiB of text (StrRep also at
// 4 MiB):
//
// - in-place replace growing ("<b>" by "<strong>") and shrinking (the
//   reverse) with a match every 64 bytes, narrow and wide, against a
//   std::string (std::wstring) find-and-append loop; every StrRep/TcsRep
//   round first copies the original text back into its buffer, and that copy
//   is timed with it;
// - case-insensitive counting (StrCpyRepSize) and sizing plus copying
//   (StrCpyRepSize, StrCpyRep) of "Struct" in C-header text, against a
//   strcasestr loop that counts and one that builds a std::string;
// - StrEndsWith ignoring case against strlen and strcasecmp, and
//   DHexToDouble against strtoull and a copy of the bits (one call a round).
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "qvstring.h"

namespace {

const char *const kHeaderText = "/* Get the size of the buffer and its alignment. */\n"
                                "typedef struct\n{\n  int __count;\n  union\n  {\n    unsigned int __wch;\n"
                                "    char __wchb[4];\n  } __value;\t\t/* Value so far.  */\n} __mbstate_t;\n"
                                "extern int fprintf (FILE *__restrict __stream,\n"
                                "\t\t    const char *__restrict __format, ...) __nonnull ((1));\n"
                                "struct timespec\n{\n  __time_t tv_sec;\t\t/* Seconds.  */\n"
                                "  __syscall_slong_t tv_nsec;\t/* Nanoseconds.  */\n};\n";

// Text of `bytes` bytes: `piece` repeated, cut at the end.
std::string repeatTo(const std::string &piece, size_t bytes)
{
    std::string text;
    while (text.size() < bytes)
        text += piece;
    text.resize(bytes);
    return text;
}

// A match of pat every 64 bytes, the rest plain words.
std::string matchEvery64(const char *pat, size_t bytes)
{
    std::string piece = "some plain words of text between the tags, nothing else here ";
    piece.resize(64 - std::strlen(pat), '.');
    return repeatTo(piece + pat, bytes);
}

constexpr const char *kShort = "<b>";
constexpr const char *kLong = "<strong>";

template <class Str> Str replaceLoop(const Str &text, const Str &pat, const Str &rep)
{
    Str out;
    size_t pos = 0;
    for (size_t hit; (hit = text.find(pat, pos)) != Str::npos; pos = hit + pat.size()) {
        out.append(text, pos, hit - pos);
        out += rep;
    }
    out.append(text, pos, Str::npos);
    return out;
}

void setBytes(benchmark::State &state, size_t bytes)
{
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(bytes));
}

// Narrow (Ch = char) or wide in-place replace; grow replaces the short tag
// by the long one.
template <class Ch> void runRep(benchmark::State &state, bool grow)
{
    using Str = std::basic_string<Ch>;
    const size_t bytes = static_cast<size_t>(state.range(0));
    const std::string narrow = matchEvery64(grow ? kShort : kLong, bytes);
    const Str text(narrow.begin(), narrow.end());
    const std::string patNarrow = grow ? kShort : kLong, repNarrow = grow ? kLong : kShort;
    const Str pat(patNarrow.begin(), patNarrow.end()), rep(repNarrow.begin(), repNarrow.end());
    const Str expected = replaceLoop(text, pat, rep);
    std::vector<Ch> buf(expected.size() + text.size() + 1);
    for (auto _ : state) {
        std::char_traits<Ch>::copy(buf.data(), text.c_str(), text.size() + 1);
        if constexpr (sizeof(Ch) == 1)
            benchmark::DoNotOptimize(StrRep(buf.data(), rep.c_str(), pat.c_str(), SIZE_MAX, buf.size() - 1));
        else
            benchmark::DoNotOptimize(TcsRep(buf.data(), rep.c_str(), pat.c_str(), SIZE_MAX, buf.size() - 1));
        benchmark::ClobberMemory();
    }
    if (Str(buf.data()) != expected)
        state.SkipWithError("the replace differs from the loop's");
    setBytes(state, bytes);
}

template <class Ch> void runRepAnchor(benchmark::State &state, bool grow)
{
    using Str = std::basic_string<Ch>;
    const size_t bytes = static_cast<size_t>(state.range(0));
    const std::string narrow = matchEvery64(grow ? kShort : kLong, bytes);
    const Str text(narrow.begin(), narrow.end());
    const std::string patNarrow = grow ? kShort : kLong, repNarrow = grow ? kLong : kShort;
    const Str pat(patNarrow.begin(), patNarrow.end()), rep(repNarrow.begin(), repNarrow.end());
    for (auto _ : state)
        benchmark::DoNotOptimize(replaceLoop(text, pat, rep));
    setBytes(state, bytes);
}

void BM_StrRep_Grow(benchmark::State &state)
{
    runRep<char>(state, true);
}
void BM_StrRep_Grow_StringLoopAnchor(benchmark::State &state)
{
    runRepAnchor<char>(state, true);
}
void BM_StrRep_Shrink(benchmark::State &state)
{
    runRep<char>(state, false);
}
void BM_StrRep_Shrink_StringLoopAnchor(benchmark::State &state)
{
    runRepAnchor<char>(state, false);
}
void BM_TcsRep_Grow(benchmark::State &state)
{
    runRep<wchar_t>(state, true);
}
void BM_TcsRep_Grow_WstringLoopAnchor(benchmark::State &state)
{
    runRepAnchor<wchar_t>(state, true);
}
void BM_TcsRep_Shrink(benchmark::State &state)
{
    runRep<wchar_t>(state, false);
}
void BM_TcsRep_Shrink_WstringLoopAnchor(benchmark::State &state)
{
    runRepAnchor<wchar_t>(state, false);
}

constexpr const char *kNoCasePat = "Struct";
constexpr const char *kNoCaseRep = "RECORD";

size_t countStrcasestr(const std::string &text)
{
    size_t count = 0;
    const size_t patLen = std::strlen(kNoCasePat);
    for (const char *at = text.c_str(); (at = strcasestr(at, kNoCasePat)) != nullptr; at += patLen)
        ++count;
    return count;
}

void BM_StrCpyRepSize_NoCase(benchmark::State &state)
{
    const std::string text = repeatTo(kHeaderText, static_cast<size_t>(state.range(0)));
    size_t count = 0;
    for (auto _ : state) {
        size_t newLen = 0;
        count = StrCpyRepSize(text.c_str(), text.size(), kNoCaseRep, kNoCasePat, -1, &newLen, 0, 0);
        benchmark::DoNotOptimize(newLen);
    }
    if (count != countStrcasestr(text))
        state.SkipWithError("the count differs from strcasestr's");
    setBytes(state, text.size());
}

void BM_StrCpyRepSize_NoCase_StrcasestrAnchor(benchmark::State &state)
{
    const std::string text = repeatTo(kHeaderText, static_cast<size_t>(state.range(0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(countStrcasestr(text));
    setBytes(state, text.size());
}

void BM_StrCpyRep_NoCase(benchmark::State &state)
{
    std::string text = repeatTo(kHeaderText, static_cast<size_t>(state.range(0)));
    std::vector<char> out;
    for (auto _ : state) {
        size_t newLen = 0;
        StrCpyRepSize(text.c_str(), text.size(), kNoCaseRep, kNoCasePat, -1, &newLen, 0, 0);
        out.resize(newLen + 1);
        benchmark::DoNotOptimize(
            StrCpyRep(out.data(), out.size(), text.data(), text.size(), kNoCaseRep, kNoCasePat, -1, 0, 0));
        benchmark::ClobberMemory();
    }
    setBytes(state, text.size());
}

void BM_StrCpyRep_NoCase_StrcasestrAnchor(benchmark::State &state)
{
    const std::string text = repeatTo(kHeaderText, static_cast<size_t>(state.range(0)));
    const size_t patLen = std::strlen(kNoCasePat);
    for (auto _ : state) {
        std::string out;
        const char *from = text.c_str();
        for (const char *at; (at = strcasestr(from, kNoCasePat)) != nullptr; from = at + patLen) {
            out.append(from, at);
            out += kNoCaseRep;
        }
        out += from;
        benchmark::DoNotOptimize(out.data());
    }
    setBytes(state, text.size());
}

// Names of about 20 bytes, half of them ending in the suffix in capitals.
const std::vector<std::string> &fileNames()
{
    static const std::vector<std::string> names = [] {
        std::vector<std::string> all;
        for (int k = 0; k < 64; ++k)
            all.push_back("report_" + std::to_string(1000 + k * 37) + (k % 2 ? "_final.TXT" : "_draft.doc"));
        return all;
    }();
    return names;
}

void BM_StrEndsWith_NoCase(benchmark::State &state)
{
    const auto &names = fileNames();
    size_t at = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(StrEndsWith(names[at].c_str(), ".txt", 0));
        at = (at + 1) % names.size();
    }
}

void BM_StrEndsWith_NoCase_StrcasecmpAnchor(benchmark::State &state)
{
    const auto &names = fileNames();
    size_t at = 0;
    for (auto _ : state) {
        const char *name = names[at].c_str();
        const size_t len = std::strlen(name), suffixLen = std::strlen(".txt");
        benchmark::DoNotOptimize(len >= suffixLen && strcasecmp(name + len - suffixLen, ".txt") == 0);
        at = (at + 1) % names.size();
    }
}

const char *const kHexTexts[] = {"3FF0000000000000", "c000000000000000", "7ff8000000000000", "400921FB54442D18"};

void BM_DHexToDouble(benchmark::State &state)
{
    size_t at = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(DHexToDouble(kHexTexts[at]));
        at = (at + 1) % std::size(kHexTexts);
    }
}

void BM_DHexToDouble_StrtoullAnchor(benchmark::State &state)
{
    size_t at = 0;
    for (auto _ : state) {
        const uint64_t bits = std::strtoull(kHexTexts[at], nullptr, 16);
        double value;
        std::memcpy(&value, &bits, sizeof value);
        benchmark::DoNotOptimize(value);
        at = (at + 1) % std::size(kHexTexts);
    }
}

} // namespace

#define QV_SIZES ->Arg(256)->Arg(4096)->Arg(1 << 20)
// 4 MiB as well: the time must grow with the text, not faster.
BENCHMARK(BM_StrRep_Grow) QV_SIZES->Arg(256 << 10)->Arg(4 << 20);
BENCHMARK(BM_StrRep_Grow_StringLoopAnchor) QV_SIZES->Arg(256 << 10)->Arg(4 << 20);
BENCHMARK(BM_StrRep_Shrink) QV_SIZES->Arg(256 << 10)->Arg(4 << 20);
BENCHMARK(BM_StrRep_Shrink_StringLoopAnchor) QV_SIZES->Arg(256 << 10)->Arg(4 << 20);
BENCHMARK(BM_TcsRep_Grow) QV_SIZES->Arg(256 << 10)->Arg(4 << 20);
BENCHMARK(BM_TcsRep_Grow_WstringLoopAnchor) QV_SIZES->Arg(256 << 10)->Arg(4 << 20);
BENCHMARK(BM_TcsRep_Shrink) QV_SIZES->Arg(256 << 10)->Arg(4 << 20);
BENCHMARK(BM_TcsRep_Shrink_WstringLoopAnchor) QV_SIZES->Arg(256 << 10)->Arg(4 << 20);
BENCHMARK(BM_StrCpyRepSize_NoCase) QV_SIZES;
BENCHMARK(BM_StrCpyRepSize_NoCase_StrcasestrAnchor) QV_SIZES;
BENCHMARK(BM_StrCpyRep_NoCase) QV_SIZES;
BENCHMARK(BM_StrCpyRep_NoCase_StrcasestrAnchor) QV_SIZES;
BENCHMARK(BM_StrEndsWith_NoCase);
BENCHMARK(BM_StrEndsWith_NoCase_StrcasecmpAnchor);
BENCHMARK(BM_DHexToDouble);
BENCHMARK(BM_DHexToDouble_StrtoullAnchor);
