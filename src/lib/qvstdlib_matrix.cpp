// qvstdlib_matrix: matrix and vector blocks of doubles, and whole-block
// operations on them.
//
// Matrix block, one malloc'd allocation:
//   [start word][capacity word][r row pointers][r * c doubles, row-major]
//                              ^ handle
// handle[-2] is the allocation start, handle[-1] the allocation size minus
// the 16 header bytes. The size is (r + r * c) * 8 + 16, at least 64, and
// above 64 rounded up to a multiple of 256 so that nearby sizes meet in the
// cache (qvstdlib_cache.cpp), which shares this sizing and row layout
// (qvstdlib_block.cpp).
// Split block: a pointer array [value block][r row pointers] plus a bare
// value block. Vectors are bare arrays. Sizes are computed in 64 bits;
// element counts beyond the 32-bit range are refused.
#include "qvstdlib.h"
#include "qvstdlib_block.h"
#include "qvsystim.h"

#include <cstdlib>
#include <cstring>

using namespace qvblock;

namespace {

// Bit-exact copy of one row; rows that overlap are copied forward one value
// at a time, the order a plain loop would show.
void copyRow(double *dst, const double *src, int32_t c)
{
    const size_t bytes = static_cast<size_t>(c) * sizeof(double);
    const uintptr_t to = reinterpret_cast<uintptr_t>(dst);
    const uintptr_t from = reinterpret_cast<uintptr_t>(src);
    if (to + bytes <= from || from + bytes <= to) {
        memcpy(dst, src, bytes);
        return;
    }
    for (int32_t j = 0; j < c; j++)
        memmove(dst + j, src + j, sizeof(double));
}

void copyRows(double **dst, double *const *src, int32_t r, int32_t c)
{
    for (int32_t i = 0; i < r; i++)
        copyRow(dst[i], src[i], c);
}

void fillRows(double **m, int32_t r, int32_t c, double value)
{
    for (int32_t i = 0; i < r; i++)
        for (int32_t j = 0; j < c; j++)
            memcpy(&m[i][j], &value, sizeof value);
}

} // namespace

extern "C" {

double **MatAllocBlock(int32_t r, int32_t c)
{
    if (r < 1)
        return nullptr;
    const uint64_t bytes = matBlockBytes(r, c);
    if (bytes == 0)
        return nullptr;
    void *start = malloc(bytes);
    if (start == nullptr)
        return nullptr;
    writeHeader(start, bytes - kHeaderBytes);
    double **m = handleOf<double>(start);
    layoutRows(m, r, c, int64_t{c} * int64_t{sizeof(double)});
    return m;
}

void MatFreeBlock(double **m)
{
    if (m != nullptr)
        free(reinterpret_cast<void *>(headerWord(m, 0)));
}

double **MatAllocBlock0(int32_t r, int32_t c)
{
    if (r < 1)
        return nullptr;
    const int64_t cells = int64_t{r} * c;
    if (c >= 1 && cells > INT32_MAX)
        return nullptr;
    double **words = static_cast<double **>(malloc((static_cast<size_t>(r) + 1) * sizeof(double *)));
    if (words == nullptr)
        return nullptr;
    if (c < 1) {
        for (int32_t i = 0; i <= r; i++)
            words[i] = nullptr;
        return words + 1;
    }
    double *values = static_cast<double *>(malloc(static_cast<size_t>(cells) * sizeof(double)));
    if (values == nullptr) {
        free(words);
        return nullptr;
    }
    words[0] = values;
    for (int32_t i = 0; i < r; i++)
        words[i + 1] = values + int64_t{i} * c;
    return words + 1;
}

void MatFreeBlock0(double **m)
{
    if (m == nullptr)
        return;
    free(m[-1]);
    free(m - 1);
}

double **MatCpy(double **dst, double *const *src, int32_t r, int32_t c)
{
    if (dst == nullptr || src == nullptr)
        return nullptr;
    if (r >= 1 && c >= 1)
        copyRows(dst, src, r, c);
    return dst;
}

double **MatCopy(double **dst, double *const *src, int32_t r, int32_t c)
{
    return MatCpy(dst, src, r, c);
}

double **MatDup(double *const *src, int32_t r, int32_t c)
{
    // The block is obtained before src is looked at, so a null source
    // leaves it allocated; that order is kept on purpose.
    double **m = MatAllocBlock(r, c);
    if (m == nullptr || src == nullptr)
        return nullptr;
    if (c >= 1)
        copyRows(m, src, r, c);
    return m;
}

double **MatI(double **m, int32_t n)
{
    if (m == nullptr)
        return m;
    for (int32_t i = 0; i < n; i++) {
        for (int32_t j = 0; j < n; j++)
            m[i][j] = 0.0;
        m[i][i] = 1.0;
    }
    return m;
}

double **MatZero(double **m, int32_t r, int32_t c)
{
    if (m != nullptr && c >= 1)
        for (int32_t i = 0; i < r; i++)
            memset(m[i], 0, static_cast<size_t>(c) * sizeof(double));
    return m;
}

double **MatNaN(double **m, int32_t r, int32_t c)
{
    double nan;
    SetNaN(&nan);
    if (m != nullptr && r >= 1 && c >= 1)
        fillRows(m, r, c, nan);
    return m;
}

double *MatSetAt(double **m, int32_t i, int32_t j, double value)
{
    m[i][j] = value;
    return m[i];
}

double MatGetAt(double *const *m, int32_t i, int32_t j)
{
    return m[i][j];
}

void MatCopyVecr(double **m, const double *v, int32_t r, int32_t c)
{
    if (m == nullptr || v == nullptr || r < 1 || c < 1)
        return;
    for (int32_t i = 0; i < r; i++)
        copyRow(m[i], v + static_cast<size_t>(i) * c, c);
}

void MatCopyVecc(double **m, const double *v, int32_t r, int32_t c)
{
    if (m == nullptr || v == nullptr || r < 1 || c < 1)
        return;
    for (int32_t i = 0; i < r; i++)
        for (int32_t j = 0; j < c; j++)
            memcpy(&m[i][j], &v[static_cast<size_t>(j) * r + i], sizeof(double));
}

void VecrCopyMat(double *v, double *const *m, int32_t r, int32_t c)
{
    if (m == nullptr || v == nullptr || r < 1 || c < 1)
        return;
    for (int32_t i = 0; i < r; i++)
        copyRow(v + static_cast<size_t>(i) * c, m[i], c);
}

void VeccCopyMat(double *v, double *const *m, int32_t r, int32_t c)
{
    if (m == nullptr || v == nullptr || r < 1 || c < 1)
        return;
    for (int32_t i = 0; i < r; i++)
        for (int32_t j = 0; j < c; j++)
            memcpy(&v[static_cast<size_t>(j) * r + i], &m[i][j], sizeof(double));
}

double *VecAllocBlock(int32_t n)
{
    // A negative count widened with its sign is a request no allocator meets.
    if (n < 0)
        return nullptr;
    return static_cast<double *>(malloc(static_cast<size_t>(n) * sizeof(double)));
}

void VecFreeBlock(double *v)
{
    free(v);
}

double *VecDupBlock(const double *src, int32_t n)
{
    double *v = VecAllocBlock(n);
    if (v == nullptr || n == 0)
        return nullptr; // the zero-size block is not given back: kept behaviour
    if (src == nullptr) {
        free(v);
        return nullptr;
    }
    memcpy(v, src, static_cast<size_t>(n) * sizeof(double));
    return v;
}

double *VecCopy(double *dst, const double *src, int32_t n)
{
    if (dst == nullptr || n == 0)
        return nullptr;
    if (n < 0)
        return dst;
    if (src == nullptr)
        return nullptr;
    copyRow(dst, src, n);
    return dst;
}

int32_t **IntMatAllocBlock(int32_t r, int32_t c)
{
    // Same layout as a table block of 4-byte elements: c * 4 * r and
    // 4 * c * r are the same product.
    return reinterpret_cast<int32_t **>(TabAllocBlock(r, c, sizeof(int32_t)));
}

void IntMatFreeBlock(int32_t **m)
{
    TabFreeBlock(m);
}

} // extern "C"
