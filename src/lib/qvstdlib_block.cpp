// qvstdlib_block: sizing, header words and row layout of the blocks with a
// two-word header (matrix, cached matrix, integer matrix and table blocks).
//
// Header words are moved with memcpy: they hold integers and addresses in
// memory the row pointers are also read from. Sizes are computed in 64
// bits from 32-bit counts, so no product here can overflow.
#include "qvstdlib_block.h"

#include <cstring>

namespace qvblock {

uint64_t matBlockBytes(int32_t r, int32_t c)
{
    const int64_t cells = int64_t{r} * (c < 0 ? 0 : c);
    if (cells > INT32_MAX || cells < INT32_MIN)
        return 0;
    const int64_t needed = (int64_t{r} + cells) * 8 + int64_t{kHeaderBytes};
    if (needed <= kMinBlockBytes)
        return kMinBlockBytes;
    return static_cast<uint64_t>((needed + kBlockRounding - 1) / kBlockRounding * kBlockRounding);
}

void writeHeader(void *start, uint64_t sizeWord)
{
    const uintptr_t words[2] = {reinterpret_cast<uintptr_t>(start), static_cast<uintptr_t>(sizeWord)};
    memcpy(start, words, sizeof words);
}

uintptr_t headerWord(const void *handle, int index)
{
    uintptr_t word;
    memcpy(&word, static_cast<const char *>(handle) - kHeaderBytes + index * sizeof(uintptr_t), sizeof word);
    return word;
}

void layoutRows(void *handle, int32_t r, int32_t c, int64_t strideBytes)
{
    void **rows = static_cast<void **>(handle);
    char *first = reinterpret_cast<char *>(rows + r);
    for (int32_t i = 0; i < r; i++)
        rows[i] = c < 1 ? nullptr : first + i * strideBytes;
}

} // namespace qvblock
