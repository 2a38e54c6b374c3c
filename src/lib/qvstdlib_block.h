// qvstdlib_block: layout helpers shared by the qvstdlib sources for blocks
// with a two-word header (matrix, cached matrix, integer matrix and table
// blocks). Internal to the library; not installed.
//
// Layout: [start word][size word][r row pointers][values...]; the handle
// points at the row pointers, so the header sits at handle[-2], handle[-1].
#ifndef QVSTDLIB_BLOCK_H
#define QVSTDLIB_BLOCK_H

#include <cstddef>
#include <cstdint>

// Hidden: the shared library exports only the public functions.
#pragma GCC visibility push(hidden)

namespace qvblock {

static_assert(sizeof(void *) == 8 && sizeof(uintptr_t) == 8, "blocks assume 8-byte words");

inline constexpr int64_t kHeaderBytes = 2 * sizeof(uintptr_t);
inline constexpr int64_t kMinBlockBytes = 64;  // smallest double matrix block
inline constexpr int64_t kBlockRounding = 256; // larger ones round up to this

// Allocation size of a double matrix block of r rows and c columns (c < 0
// sized as 0), or 0 when the 32-bit element count r * c overflows. Negative
// r is allowed and gives the minimum size.
uint64_t matBlockBytes(int32_t r, int32_t c);

// Stores the two header words at the start of a fresh allocation.
void writeHeader(void *start, uint64_t sizeWord);

// Header word 0 (allocation start) or 1 (size) of a block given its handle.
uintptr_t headerWord(const void *handle, int index);

// Row i = first value + i * strideBytes for i < r, the values starting right
// after the r row pointers; c < 1 makes every row null.
void layoutRows(void *handle, int32_t r, int32_t c, int64_t strideBytes);

template <typename T> T **handleOf(void *start)
{
    return reinterpret_cast<T **>(static_cast<char *>(start) + kHeaderBytes);
}

} // namespace qvblock

#pragma GCC visibility pop

#endif // QVSTDLIB_BLOCK_H
