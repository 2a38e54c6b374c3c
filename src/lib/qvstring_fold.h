// qvstring_fold: case folding of bytes through a table, exactly as tolower
// gives it in the locale current when the CaseFold is made. Make one per
// call of an entry point, never keep one: the locale may change between
// calls. Internal to the library; not installed.
#ifndef QVSTRING_FOLD_H
#define QVSTRING_FOLD_H

#include <cctype>
#include <cstdint>

// Hidden: the shared library exports only the public functions.
#pragma GCC visibility push(hidden)

namespace qvstring {

// glibc's tolower reads its answer for every argument from -128 to 255 from
// this table of the current locale, so reading the table directly gives the
// same values without a call per byte. Other C libraries get a table built
// from tolower itself.
class CaseFold {
public:
#if defined(__GLIBC__)
    CaseFold() : table_(*__ctype_tolower_loc()) {}
#else
    CaseFold() : table_(values_ + 128)
    {
        for (int ch = -128; ch < 256; ++ch)
            values_[ch + 128] = std::tolower(ch);
    }
    CaseFold(const CaseFold &) = delete;
    CaseFold &operator=(const CaseFold &) = delete;
#endif

    // tolower of the byte taken as a signed char (what the finders use).
    int ofSigned(unsigned char byte) const
    {
        return table_[static_cast<signed char>(byte)];
    }
    // tolower of -128 to 127 in turn: row[k] folds the byte k ^ 0x80.
    const int32_t *signedRow() const
    {
        return table_ - 128;
    }
    // tolower of the byte taken as unsigned (what strcasecmp compares).
    int ofUnsigned(unsigned char byte) const
    {
        return table_[byte];
    }

private:
    const int32_t *table_; // indexed from -128 to 255
#if !defined(__GLIBC__)
    int32_t values_[384]; // tolower of -128 to 255
#endif
};

} // namespace qvstring

#pragma GCC visibility pop

#endif // QVSTRING_FOLD_H
