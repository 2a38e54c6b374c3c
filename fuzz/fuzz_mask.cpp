// File-mask matcher.
//
// Input: a byte that decides how bytes become wide characters, then the
// name and the mask separated by a zero byte. Each byte of the name or the
// mask is one character: small values are turned into the characters that
// masks and names are made of ('*', '?', '.', a few letters), the others
// stand for themselves or, with the wide setting, for values far above
// U+FFFF. Both texts live in blocks of exactly their size.
//
// Properties: the matcher agrees with a direct reading of the mask rules
// (below); a mask fits a non-empty name that equals it when it has no
// wildcard; "*" fits every non-empty name; nothing fits an empty mask, an
// empty name, or a null argument.
#include <cwchar>
#include <string>

#include "fuzz_input.h"
#include "qvsystem.h"

namespace {

wchar_t character(uint8_t byte, bool wideValues)
{
    static const wchar_t kCommon[] = {L'*', L'?', L'.', L'a', L'b', L'A', L'.', L'*'};
    if (byte >= 1 && byte <= sizeof kCommon / sizeof kCommon[0])
        return kCommon[byte - 1];
    if (wideValues && byte >= 0x80)
        return static_cast<wchar_t>(0x10000 * byte + byte);
    return static_cast<wchar_t>(byte);
}

std::wstring wideText(const std::vector<uint8_t> &bytes, bool wideValues)
{
    std::wstring text;
    for (uint8_t byte : bytes)
        text.push_back(character(byte, wideValues));
    return text;
}

std::unique_ptr<wchar_t[]> exactWide(const std::wstring &text)
{
    std::unique_ptr<wchar_t[]> block(new wchar_t[text.size() + 1]);
    std::wmemcpy(block.get(), text.c_str(), text.size() + 1);
    return block;
}

// The rules, read directly: '?' takes one character, a final '*' the rest,
// another '*' everything up to the next '.', any other character itself;
// the name must be used up at the end, and no mask character may meet a
// used-up name.
bool reference(const std::wstring &name, const std::wstring &mask)
{
    if (mask.empty())
        return false;
    size_t at = 0;
    for (size_t i = 0; i < mask.size(); ++i) {
        if (at >= name.size())
            return false;
        const wchar_t ch = mask[i];
        if (ch == L'?') {
            ++at;
        } else if (ch == L'*') {
            if (i + 1 == mask.size())
                return true;
            while (at < name.size() && name[at] != L'.')
                ++at;
        } else {
            if (name[at] != ch)
                return false;
            ++at;
        }
    }
    return at == name.size();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FuzzInput input(data, size);
    const bool wideValues = input.byte() & 1;
    // The texts end at the first zero character, as C strings do.
    const std::vector<uint8_t> nameBytes = input.until(0);
    const std::vector<uint8_t> maskBytes = input.until(0);
    const std::wstring name = wideText(nameBytes, wideValues);
    const std::wstring mask = wideText(maskBytes, wideValues);
    std::unique_ptr<wchar_t[]> nameBlock = exactWide(name);
    std::unique_ptr<wchar_t[]> maskBlock = exactWide(mask);

    const int fits = FFileMaskMatch(nameBlock.get(), maskBlock.get());
    FUZZ_CHECK(fits == 0 || fits == 1);
    FUZZ_CHECK((fits == 1) == reference(name, mask));

    if (!name.empty() && name.find_first_of(L"*?") == std::wstring::npos)
        FUZZ_CHECK(FFileMaskMatch(nameBlock.get(), nameBlock.get()) == 1);
    static const wchar_t kStar[] = L"*";
    FUZZ_CHECK(FFileMaskMatch(nameBlock.get(), kStar) == (name.empty() ? 0 : 1));
    static const wchar_t kEmpty[] = L"";
    FUZZ_CHECK(FFileMaskMatch(nameBlock.get(), kEmpty) == 0);
    FUZZ_CHECK(FFileMaskMatch(kEmpty, maskBlock.get()) == 0);
    FUZZ_CHECK(FFileMaskMatch(nullptr, maskBlock.get()) == 0);
    FUZZ_CHECK(FFileMaskMatch(nameBlock.get(), nullptr) == 0);
    return 0;
}
