// Fixed-width double printer, hex doubles and date stamps.
//
// Input: eight bytes of a double's bit pattern, then settings bytes for
// each printer, then free text for the hex reader. Destinations are blocks
// of exactly the room each call's contract asks for its size.
//
// Properties:
// - StrPrintDouble always terminates within its size plus one (the '.' of a
//   cut text is stored unchecked); with keepDecimals 0,
//   a width of 8 or more and room for it, the text is never wider than the
//   width; the special values and "####" are exactly what they should be;
// - DHexToDouble reads the pattern of any double back from its 16 digits,
//   upper or lower case, and from its digits without leading zeros; any
//   other text of up to 16 characters is read without harm;
// - Dbl2DateStrA terminates within any size (plus 9 for the midnight time,
//   appended whole), fits 40 bytes, gives "." for values that are not
//   finite, and Dbl2DateStr stores the same text,
//   widened, within size + 1 characters.
#include <bit>
#include <cmath>
#include <cwchar>
#include <string>

#include "fuzz_input.h"
#include "qvstring.h"

namespace {

void checkPrint(FuzzInput &input, double x)
{
    const int width = static_cast<int>(input.byte() % 48) - 4;
    const int precision = static_cast<int>(input.byte() % 24) - 2;
    const uint8_t choice = input.byte();
    const int mode = choice % 4; // 3 is not a mode the design names: it must act as 1
    const int keepDecimals = (choice >> 2) % 8 == 7 ? -1 : (choice >> 2) % 8;
    const bool roomy = (choice & 0x80) == 0;
    const size_t size =
        roomy ? static_cast<size_t>(width < 6 ? 6 : width + 1) + input.byte() % 8 : 6 + input.byte() % 40;

    std::unique_ptr<char[]> s(new char[size + 1]);
    StrPrintDouble(s.get(), size, width, precision, mode, keepDecimals, x);
    const void *end = std::memchr(s.get(), 0, size + 1);
    FUZZ_CHECK(end != nullptr);
    const std::string text = s.get();

    if (std::isnan(x)) {
        FUZZ_CHECK(text == ".NaN");
        return;
    }
    if (std::isinf(x)) {
        FUZZ_CHECK(text == (x > 0 ? "+.Inf" : "-.Inf"));
        return;
    }
    const bool fitsInt = std::fabs(x) <= 2147483647.0 && static_cast<double>(static_cast<int>(x)) == x;
    if (fitsInt && keepDecimals == 0) {
        const std::string whole = std::to_string(static_cast<int>(x));
        if (static_cast<int>(whole.size()) <= width) {
            FUZZ_CHECK(text == whole.substr(0, size - 1)); // a short size cuts it
            return;
        }
    }
    if (width < 8 || precision < 1) {
        FUZZ_CHECK(text == "####");
        return;
    }
    if (size > static_cast<size_t>(width) && keepDecimals == 0)
        FUZZ_CHECK(static_cast<int>(text.size()) <= width);
}

void checkHex(FuzzInput &input, double x)
{
    const uint64_t bits = std::bit_cast<uint64_t>(x);
    char digits[17];
    std::snprintf(digits, sizeof digits, "%016llX", static_cast<unsigned long long>(bits));
    FUZZ_CHECK(std::bit_cast<uint64_t>(DHexToDouble(digits)) == bits);
    std::snprintf(digits, sizeof digits, "%llx", static_cast<unsigned long long>(bits));
    std::unique_ptr<char[]> exact = exactText(std::vector<uint8_t>(digits, digits + std::strlen(digits)));
    FUZZ_CHECK(std::bit_cast<uint64_t>(DHexToDouble(exact.get())) == bits);

    std::unique_ptr<char[]> free = exactText(input.take(input.byte() % 17));
    (void)DHexToDouble(free.get());
}

void checkDate(FuzzInput &input, double x)
{
    const uint8_t flags = input.byte();
    const int withDayName = flags & 1;
    const int midnightTime = (flags >> 1) & 1;
    const int spaceSeparator = (flags >> 2) & 1;
    const int secondsMode = static_cast<int>((flags >> 3) % 5) - 1; // -1 to 3
    const size_t size = 1 + input.byte() % 48;

    // 40 bytes hold any stamp: a larger buffer gets the same text.
    char full[40];
    Dbl2DateStrA(full, sizeof full, withDayName, midnightTime, spaceSeparator, secondsMode, x);
    FUZZ_CHECK(std::memchr(full, 0, sizeof full) != nullptr);
    char larger[128];
    Dbl2DateStrA(larger, sizeof larger, withDayName, midnightTime, spaceSeparator, secondsMode, x);
    FUZZ_CHECK(std::strcmp(full, larger) == 0);
    const size_t len = std::strlen(full);
    if (!std::isfinite(x))
        FUZZ_CHECK(std::string(full) == ".");

    const size_t room = midnightTime ? size + 9 : size;
    std::unique_ptr<char[]> s(new char[room]);
    Dbl2DateStrA(s.get(), size, withDayName, midnightTime, spaceSeparator, secondsMode, x);
    FUZZ_CHECK(std::memchr(s.get(), 0, room) != nullptr);
    if (!midnightTime)
        FUZZ_CHECK(std::strncmp(s.get(), full, size - 1) == 0);

    std::unique_ptr<wchar_t[]> ws(new wchar_t[size + 1]);
    ws[0] = L'#';
    ws[1] = 0;
    Dbl2DateStr(ws.get(), size, withDayName, midnightTime, spaceSeparator, secondsMode, x);
    if (len <= size) {
        FUZZ_CHECK(std::wcslen(ws.get()) == len);
        for (size_t i = 0; i < len; ++i)
            FUZZ_CHECK(ws[i] == static_cast<wchar_t>(static_cast<unsigned char>(full[i])));
    } else {
        FUZZ_CHECK(ws[0] == L'#' && ws[1] == 0);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FuzzInput input(data, size);
    const double x = std::bit_cast<double>(input.bits(8));
    checkPrint(input, x);
    checkHex(input, x);
    checkDate(input, x);
    // Day numbers of everyday size, which the raw bit patterns above rarely give.
    const double day = 2451545.0 + static_cast<double>(static_cast<int32_t>(input.bits(4))) / 1000.0;
    checkDate(input, day);
    return 0;
}
