// Microbenchmarks of the UTF-8 converters A2T_cpy (narrow to wide) and
// T2A_cpy (wide to narrow), on plain ASCII and on mixed text with 2-, 3-
// and 4-byte sequences. Bytes per second count the UTF-8 bytes, in both
// directions, so the two are comparable.
#include <benchmark/benchmark.h>

#include <cstdint>
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

} // namespace

BENCHMARK(BM_A2T_cpy_Ascii);
BENCHMARK(BM_A2T_cpy_Mixed);
BENCHMARK(BM_T2A_cpy_Ascii);
BENCHMARK(BM_T2A_cpy_Mixed);
