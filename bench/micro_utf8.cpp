// Microbenchmarks of the UTF-8 converters A2T_cpy (narrow to wide) and
// T2A_cpy (wide to narrow), on plain ASCII and on mixed text with 2-, 3-
// and 4-byte sequences. Bytes per second count the UTF-8 bytes, in both
// directions, so the two are comparable.
//
// UTF8_mbstowcs, UTF8_wcstombs and A2T_dup also run at 256 B, 4 KiB and
// 1 MiB of ASCII and of European text (Latin letters with accents, about one
// 2-byte sequence in eight characters), beside the C library's mbstowcs and
// wcstombs in the C.UTF-8 locale (the rows named ...Anchor).
#include <benchmark/benchmark.h>

#include <clocale>
#include <cstdint>
#include <cstdlib>
#include <cwchar>
#include <string>
#include <vector>

#include "qvstring.h"

namespace {

constexpr size_t kTextBytes = 4096;

std::string repeatTo(const char *piece)
{
    std::string text;
    const std::string p = piece;
    while (text.size() + p.size() <= kTextBytes)
        text += p;
    return text;
}

// A path-like ASCII text.
const std::string &asciiText()
{
    static const std::string text = repeatTo("/usr/include/x86_64-linux-gnu/bits/types/struct_timespec.h ");
    return text;
}

// Latin accents (2 bytes), CJK and the euro sign (3 bytes), an emoji (4 bytes)
// among ASCII.
const std::string &mixedText()
{
    static const std::string text = repeatTo("R\xC3\xA9sum\xC3\xA9 na\xC3\xAFve \xE6\x96\x87\xE4\xBB\xB6 \xE2\x82\xAC"
                                             "5 \xF0\x9F\x93\x81 /home/user/Dokumente/\xC3\xBC"
                                             "ber.txt ");
    return text;
}

void runA2T(benchmark::State &state, const std::string &text)
{
    std::vector<wchar_t> wide(text.size() + 1);
    for (auto _ : state) {
        benchmark::DoNotOptimize(A2T_cpy(wide.data(), wide.size(), text.c_str()));
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(text.size()));
}

void runT2A(benchmark::State &state, const std::string &text)
{
    std::vector<wchar_t> wide(text.size() + 1);
    A2T_cpy(wide.data(), wide.size(), text.c_str());
    std::vector<char> narrow(text.size() + 1);
    for (auto _ : state) {
        benchmark::DoNotOptimize(T2A_cpy(narrow.data(), narrow.size(), wide.data()));
        benchmark::ClobberMemory();
    }
    if (std::string(narrow.data()) != text)
        state.SkipWithError("round trip changed the text");
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(text.size()));
}

void BM_A2T_cpy_Ascii(benchmark::State &state)
{
    runA2T(state, asciiText());
}
void BM_A2T_cpy_Mixed(benchmark::State &state)
{
    runA2T(state, mixedText());
}
void BM_T2A_cpy_Ascii(benchmark::State &state)
{
    runT2A(state, asciiText());
}
void BM_T2A_cpy_Mixed(benchmark::State &state)
{
    runT2A(state, mixedText());
}

std::string sizedText(const char *piece, size_t bytes)
{
    std::string text;
    while (text.size() < bytes)
        text += piece;
    // Cut before a sequence that the size would split.
    size_t cut = bytes;
    while (cut > 0 && (static_cast<unsigned char>(text[cut]) & 0xC0) == 0x80)
        --cut;
    text.resize(cut);
    return text;
}

const char *const kAsciiPiece = "/usr/include/x86_64-linux-gnu/bits/types/struct_timespec.h ";
const char *const kEuropeanPiece = "Der Br\xC3\xBC"
                                   "ckenbauer \xC3\xA4ndert die Pl\xC3\xA4ne; "
                                   "le caf\xC3\xA9 est ferm\xC3\xA9 \xC3\xA0 Orl\xC3\xA9"
                                   "ans; a\xC3\xB1o, se\xC3\xB1or. ";

// The C library's converters, in the UTF-8 locale they need.
class Utf8Locale {
public:
    Utf8Locale() { std::setlocale(LC_ALL, "C.UTF-8"); }
    ~Utf8Locale() { std::setlocale(LC_ALL, "C"); }
};

void runMbstowcs(benchmark::State &state, const char *piece, bool anchor)
{
    const std::string text = sizedText(piece, static_cast<size_t>(state.range(0)));
    std::vector<wchar_t> wide(text.size() + 1);
    Utf8Locale locale;
    for (auto _ : state) {
        benchmark::DoNotOptimize(anchor ? std::mbstowcs(wide.data(), text.c_str(), wide.size())
                                        : UTF8_mbstowcs(wide.data(), text.c_str(), wide.size()));
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(text.size()));
}

void runWcstombs(benchmark::State &state, const char *piece, bool anchor)
{
    const std::string text = sizedText(piece, static_cast<size_t>(state.range(0)));
    std::vector<wchar_t> wide(text.size() + 1);
    UTF8_mbstowcs(wide.data(), text.c_str(), wide.size());
    std::vector<char> narrow(text.size() + 1);
    Utf8Locale locale;
    for (auto _ : state) {
        benchmark::DoNotOptimize(anchor ? std::wcstombs(narrow.data(), wide.data(), narrow.size())
                                        : UTF8_wcstombs(narrow.data(), wide.data(), narrow.size()));
        benchmark::ClobberMemory();
    }
    if (std::string(narrow.data()) != text)
        state.SkipWithError("round trip changed the text");
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(text.size()));
}

void runA2TDup(benchmark::State &state, const char *piece)
{
    const std::string text = sizedText(piece, static_cast<size_t>(state.range(0)));
    for (auto _ : state) {
        wchar_t *copy = A2T_dup(text.c_str());
        benchmark::DoNotOptimize(copy);
        std::free(copy);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(text.size()));
}

void BM_UTF8_mbstowcs_Ascii(benchmark::State &state)
{
    runMbstowcs(state, kAsciiPiece, false);
}
void BM_UTF8_mbstowcs_Ascii_MbstowcsAnchor(benchmark::State &state)
{
    runMbstowcs(state, kAsciiPiece, true);
}
void BM_UTF8_mbstowcs_European(benchmark::State &state)
{
    runMbstowcs(state, kEuropeanPiece, false);
}
void BM_UTF8_mbstowcs_European_MbstowcsAnchor(benchmark::State &state)
{
    runMbstowcs(state, kEuropeanPiece, true);
}
void BM_UTF8_wcstombs_Ascii(benchmark::State &state)
{
    runWcstombs(state, kAsciiPiece, false);
}
void BM_UTF8_wcstombs_Ascii_WcstombsAnchor(benchmark::State &state)
{
    runWcstombs(state, kAsciiPiece, true);
}
void BM_UTF8_wcstombs_European(benchmark::State &state)
{
    runWcstombs(state, kEuropeanPiece, false);
}
void BM_UTF8_wcstombs_European_WcstombsAnchor(benchmark::State &state)
{
    runWcstombs(state, kEuropeanPiece, true);
}
void BM_A2T_dup_Ascii(benchmark::State &state)
{
    runA2TDup(state, kAsciiPiece);
}
void BM_A2T_dup_European(benchmark::State &state)
{
    runA2TDup(state, kEuropeanPiece);
}

} // namespace

#define QV_UTF8_SIZES ->Arg(256)->Arg(4096)->Arg(1 << 20)
BENCHMARK(BM_UTF8_mbstowcs_Ascii) QV_UTF8_SIZES;
BENCHMARK(BM_UTF8_mbstowcs_Ascii_MbstowcsAnchor) QV_UTF8_SIZES;
BENCHMARK(BM_UTF8_mbstowcs_European) QV_UTF8_SIZES;
BENCHMARK(BM_UTF8_mbstowcs_European_MbstowcsAnchor) QV_UTF8_SIZES;
BENCHMARK(BM_UTF8_wcstombs_Ascii) QV_UTF8_SIZES;
BENCHMARK(BM_UTF8_wcstombs_Ascii_WcstombsAnchor) QV_UTF8_SIZES;
BENCHMARK(BM_UTF8_wcstombs_European) QV_UTF8_SIZES;
BENCHMARK(BM_UTF8_wcstombs_European_WcstombsAnchor) QV_UTF8_SIZES;
BENCHMARK(BM_A2T_dup_Ascii) QV_UTF8_SIZES;
BENCHMARK(BM_A2T_dup_European) QV_UTF8_SIZES;
BENCHMARK(BM_A2T_cpy_Ascii);
BENCHMARK(BM_A2T_cpy_Mixed);
BENCHMARK(BM_T2A_cpy_Ascii);
BENCHMARK(BM_T2A_cpy_Mixed);
