// Takes a fuzzer's input apart: leading bytes become the settings of a call,
// the rest becomes its texts. Every text is copied into a block of exactly
// its own size, so that AddressSanitizer sees any read beyond it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

class FuzzInput {
public:
    FuzzInput(const uint8_t *data, size_t size) : data_(data), size_(size) {}

    size_t left() const { return size_ - at_; }

    // The next byte, or 0 once the input is used up.
    uint8_t byte() { return at_ < size_ ? data_[at_++] : 0; }

    // A value of the given number of bytes, little end first.
    uint64_t bits(int bytes)
    {
        uint64_t value = 0;
        for (int i = 0; i < bytes; ++i)
            value |= static_cast<uint64_t>(byte()) << (8 * i);
        return value;
    }

    // The next count bytes (fewer when the input ends).
    std::vector<uint8_t> take(size_t count)
    {
        if (count > left())
            count = left();
        std::vector<uint8_t> part(data_ + at_, data_ + at_ + count);
        at_ += count;
        return part;
    }

    // Everything up to the next byte equal to stop (which is consumed), or
    // to the end of the input.
    std::vector<uint8_t> until(uint8_t stop)
    {
        const void *hit = at_ < size_ ? std::memchr(data_ + at_, stop, size_ - at_) : nullptr;
        size_t end = hit ? static_cast<size_t>(static_cast<const uint8_t *>(hit) - data_) : size_;
        std::vector<uint8_t> part(data_ + at_, data_ + end);
        at_ = hit ? end + 1 : end;
        return part;
    }

    std::vector<uint8_t> rest() { return take(left()); }

private:
    const uint8_t *data_;
    size_t size_;
    size_t at_ = 0;
};

// A NUL-terminated copy of bytes in a block of exactly length + 1 bytes; the
// text ends at the first NUL among the bytes, if there is one.
inline std::unique_ptr<char[]> exactText(const std::vector<uint8_t> &bytes, size_t *length = nullptr)
{
    size_t len = 0;
    while (len < bytes.size() && bytes[len] != 0)
        ++len;
    std::unique_ptr<char[]> text(new char[len + 1]);
    if (len > 0)
        std::memcpy(text.get(), bytes.data(), len);
    text[len] = 0;
    if (length)
        *length = len;
    return text;
}

// A copy of the bytes in a block of exactly their size (no terminator).
inline std::unique_ptr<char[]> exactBytes(const std::vector<uint8_t> &bytes)
{
    std::unique_ptr<char[]> block(new char[bytes.empty() ? 1 : bytes.size()]);
    if (!bytes.empty())
        std::memcpy(block.get(), bytes.data(), bytes.size());
    return block;
}

// Stops the run with a message when a property does not hold; libFuzzer
// keeps the input that did it.
#define FUZZ_CHECK(condition)                                                                                          \
    do {                                                                                                               \
        if (!(condition)) {                                                                                            \
            std::fprintf(stderr, "%s:%d: property failed: %s\n", __FILE__, __LINE__, #condition);                      \
            std::abort();                                                                                              \
        }                                                                                                              \
    } while (0)
