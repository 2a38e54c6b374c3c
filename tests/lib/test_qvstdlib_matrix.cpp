#include "qvstdlib.h"
#include "test_support.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

namespace {
std::vector<uint64_t> bitsOf(double *const *m, int r, int c)
{
    std::vector<uint64_t> v;
    for (int i = 0; i < r * c; i++)
        v.push_back(std::bit_cast<uint64_t>(m[i / c][i % c]));
    return v;
}
struct BlockCase {
    char kind; // 'm' double matrix, 'i' integer matrix, 't' table block
    int32_t r, c, size;
    uint64_t sizeWord; // header word 1; 0: the request is refused
};
} // namespace

TEST(HeaderBlock, SizeWordsRowsAndRefusals)
{
    const int32_t kBig = 65536, kMax = INT32_MAX, kG = 1 << 30; // 16 x kG rows of kG bytes: the size would wrap to 0
    const BlockCase cases[] = {
        {'m', 1, 5, 8, 48},         {'m', 1, 6, 8, 240},  {'m', 7, 0, 8, 240},     {'m', 1, 29, 8, 240},
        {'m', 1, 30, 8, 496},       {'m', 0, 5, 8, 0},    {'m', kBig, kBig, 8, 0}, {'m', kMax, 2, 8, 0},
        {'i', 2, 3, 4, 40},         {'i', 3, 0, 4, 24},   {'i', 2, -4, 4, 16},     {'i', kBig, 16384, 4, 0},
        {'t', 2, 3, 8, 64},         {'t', 1, 1, 1, 9},    {'t', 3, -2, 16, 24},    {'t', 2, 5, 0, 16},
        {'t', 0, 3, 4, 0},          {'t', 2, 3, -4, 0},   {'t', 2, kG, 4, 0},      {'t', kBig, kBig, 1, 0},
        {'t', kMax, kMax, kMax, 0}, {'t', 16, kG, kG, 0},
    };
    for (const BlockCase &k : cases) {
        SCOPED_TRACE(testing::Message() << k.kind << ' ' << k.r << 'x' << k.c << 'x' << k.size);
        void **h = k.kind == 'm'   ? reinterpret_cast<void **>(MatAllocBlock(k.r, k.c))
                   : k.kind == 'i' ? reinterpret_cast<void **>(IntMatAllocBlock(k.r, k.c))
                                   : TabAllocBlock(k.r, k.c, k.size);
        ASSERT_EQ(h == nullptr, k.sizeWord == 0);
        if (h == nullptr)
            continue;
        EXPECT_EQ(reinterpret_cast<uintptr_t *>(h)[-2], reinterpret_cast<uintptr_t>(h) - 16);
        EXPECT_EQ(reinterpret_cast<uintptr_t *>(h)[-1], k.sizeWord);
        char *first = reinterpret_cast<char *>(h + k.r);
        for (int32_t i = 0; i < k.r; i++)
            EXPECT_EQ(h[i], k.c < 1 ? nullptr : first + int64_t{i} * k.c * k.size) << "row " << i;
        memset(first, 0xAB, k.sizeWord - 8 * k.r); // the whole claimed size is usable
        k.kind == 'm'   ? MatFreeBlock(reinterpret_cast<double **>(h))
        : k.kind == 'i' ? IntMatFreeBlock(reinterpret_cast<int32_t **>(h))
                        : TabFreeBlock(h);
    }
    MatFreeBlock(nullptr), IntMatFreeBlock(nullptr), TabFreeBlock(nullptr), MatFreeBlock0(nullptr);
}

TEST(SplitBlock, LayoutRefusalsAndRelease)
{
    double **m = MatAllocBlock0(3, 4), **empty = MatAllocBlock0(3, 0);
    for (int32_t i = 0; i < 3; i++)
        EXPECT_EQ(m[i], m[-1] + 4 * i) << i; // word 0 is the value block
    m[2][3] = 7.0;
    EXPECT_TRUE(!empty[-1] && !empty[0] && !empty[1] && !empty[2]);
    MatFreeBlock0(m), MatFreeBlock0(empty); // empty: only the pointer array exists
    double **row = MatAllocBlock0(1, 2);    // one row is a matrix too
    ASSERT_NE(row, nullptr);
    EXPECT_EQ(row[0], row[-1]);
    MatFreeBlock0(row);
    EXPECT_TRUE(!MatAllocBlock0(0, 4) && !MatAllocBlock0(-2, 4) && !MatAllocBlock0(65536, 65536) &&
                !MatAllocBlock0(INT32_MAX, INT32_MAX));
}

TEST(MatrixCopy, BitExactCopiesDupsAndIgnoredArguments)
{
    const double flat[6] = {1, -0.0, 3, 4, 5, std::bit_cast<double>(uint64_t{0x7FF0000000000123})};
    double **src = MatAllocBlock(2, 3), **dst = MatZero(MatAllocBlock0(2, 3), 2, 3);
    MatCopyVecr(src, flat, 2, 3);
    EXPECT_TRUE(MatCpy(dst, src, 0, 3) == dst && MatCpy(dst, src, 2, -1) == dst && !MatCpy(nullptr, src, 2, 3));
    EXPECT_EQ(MatCopy(dst, nullptr, 2, 3), nullptr);
    EXPECT_EQ(bitsOf(dst, 2, 3), std::vector<uint64_t>(6, 0));          // nothing copied so far
    EXPECT_EQ(bitsOf(MatCpy(dst, src, 2, 3), 2, 3), bitsOf(src, 2, 3)); // across block kinds
    EXPECT_EQ(bitsOf(MatCopy(MatZero(dst, 2, 3), src, 2, 3), 2, 3), bitsOf(src, 2, 3));
    double **copy = MatDup(src, 2, 3), **noColumns = MatDup(src, 4, 0);
    EXPECT_EQ(reinterpret_cast<uintptr_t *>(copy)[-1], 240u); // sized like MatAllocBlock
    EXPECT_EQ(bitsOf(copy, 2, 3), bitsOf(src, 2, 3));
    EXPECT_TRUE(!noColumns[3] && !MatDup(src, 0, 3) && !MatDup(src, 65536, 65536));
    MatFreeBlock(copy), MatFreeBlock(noColumns), MatFreeBlock(src), MatFreeBlock0(dst);
    for (const auto &[r, c] : {std::pair{1, 3}, std::pair{3, 1}}) { // a row, a column
        SCOPED_TRACE(std::to_string(r) + " x " + std::to_string(c));
        const double flat[3] = {1, 2, 3};
        double **one = MatAllocBlock(r, c), **split = MatAllocBlock0(r, c);
        MatCopyVecr(one, flat, r, c);
        double **dup = MatDup(one, r, c);
        EXPECT_EQ(bitsOf(MatCpy(MatZero(split, r, c), one, r, c), r, c), bitsOf(one, r, c));
        EXPECT_EQ(bitsOf(dup, r, c), bitsOf(one, r, c));
        EXPECT_EQ(bitsOf(MatZero(dup, r, c), r, c), std::vector<uint64_t>(3, 0));
        MatFreeBlock(one), MatFreeBlock(dup), MatFreeBlock0(split);
    }
}

TEST(MatrixFill, NaNIdentityZeroAndElements)
{
    double **m = MatAllocBlock(3, 4);
    const uint64_t nan = 0x7FF8000000000000u, one = std::bit_cast<uint64_t>(1.0);
    EXPECT_EQ(bitsOf(MatNaN(m, 3, 4), 3, 4), std::vector<uint64_t>(12, nan));
    EXPECT_EQ(bitsOf(MatI(m, 3), 3, 4), (std::vector<uint64_t>{one, 0, 0, nan, 0, one, 0, nan, 0, 0, one, nan}));
    m[0][0] = -0.0;
    EXPECT_EQ(bitsOf(MatZero(m, 3, 4), 3, 4), std::vector<uint64_t>(12, 0));
    MatNaN(m, 1, 4), MatNaN(m + 1, 2, 1); // a row, a column
    EXPECT_EQ(bitsOf(m, 3, 4), (std::vector<uint64_t>{nan, nan, nan, nan, nan, 0, 0, 0, nan, 0, 0, 0}));
    MatZero(m, 3, 4);
    EXPECT_EQ(MatSetAt(m, 1, 1, 5.0), m[1]);
    MatI(m, 0), MatZero(m, 0, 4), MatZero(m, 3, 0), MatNaN(m, 3, -1), MatNaN(m, -1, 4);
    EXPECT_EQ(MatGetAt(m, 1, 1), 5.0);
    EXPECT_TRUE(!MatI(nullptr, 3) && !MatZero(nullptr, 3, 3) && !MatNaN(nullptr, 3, 3));
    MatFreeBlock(m);
}

TEST(Vector, ConversionsCopiesAndDeliberateLeaks)
{
    // In by rows, out by columns (the transpose) and back; 9.0 marks what must not be written.
    const double flat[6] = {1, 2, 3, 4, 5, 6};
    for (const auto &[r, c] : {std::pair{1, 3}, std::pair{3, 1}, std::pair{2, 3}}) {
        SCOPED_TRACE(std::to_string(r) + " x " + std::to_string(c));
        std::vector<double> straight(flat, flat + r * c), transposed, rows(8, 9.0), columns(8, 9.0), again(8, 9.0);
        for (int j = 0; j < c; j++)
            for (int i = 0; i < r; i++)
                transposed.push_back(flat[i * c + j]);
        straight.resize(8, 9.0), transposed.resize(8, 9.0);
        double **m = MatZero(MatAllocBlock(r, c), r, c);
        MatCopyVecr(m, flat, r, c);
        VeccCopyMat(columns.data(), m, r, c);
        EXPECT_EQ(columns, transposed);
        MatZero(m, r, c);
        MatCopyVecc(m, columns.data(), r, c);
        VecrCopyMat(rows.data(), m, r, c);
        EXPECT_EQ(rows, straight);
        for (const auto &[rr, cc] : {std::pair{r, -1}, std::pair{-1, c}, std::pair{0, c}}) { // nothing changes
            MatCopyVecr(m, columns.data(), rr, cc), MatCopyVecc(m, rows.data(), rr, cc);
            VecrCopyMat(columns.data(), m, rr, cc), VeccCopyMat(rows.data(), m, rr, cc);
        }
        MatCopyVecr(m, nullptr, r, c), MatCopyVecc(m, nullptr, r, c), MatCopyVecr(nullptr, flat, r, c);
        MatCopyVecc(nullptr, flat, r, c), VecrCopyMat(nullptr, m, r, c), VeccCopyMat(nullptr, m, r, c);
        VecrCopyMat(rows.data(), nullptr, r, c), VeccCopyMat(columns.data(), nullptr, r, c);
        VecrCopyMat(again.data(), m, r, c);
        EXPECT_EQ((std::vector{rows, columns, again}), (std::vector{straight, transposed, straight}));
        MatFreeBlock(m);
    }
    const double src[3] = {1.5, -0.0, 3.5};
    double *v = VecAllocBlock(3), *copy = VecDupBlock(VecCopy(v, src, 3), 3);
    EXPECT_EQ(memcmp(copy, src, sizeof src), 0); // -0.0 kept bit for bit
    v[0] = 7;
    EXPECT_TRUE(!VecCopy(v, src, 0) && VecCopy(v, src, -1) == v && v[0] == 7.0);
    EXPECT_TRUE(!VecCopy(nullptr, src, 2) && !VecAllocBlock(-1) && !VecDupBlock(src, -1));
    double overlap[5] = {1, 2, 3, 4, 9}; // copied forward a value at a time, as a plain loop would
    EXPECT_EQ(VecCopy(overlap + 1, overlap, 3), overlap + 1);
    EXPECT_EQ(std::vector<double>(overlap, overlap + 5), (std::vector<double>{1, 1, 1, 1, 9}));
    double *none = VecAllocBlock(0); // a block of no values, as the allocator gives one
    EXPECT_NE(none, nullptr);
    VecFreeBlock(copy), VecFreeBlock(v), VecFreeBlock(nullptr), VecFreeBlock(none);
    [[maybe_unused]] KeptLeak kept;            // both allocate before they look at the source
    EXPECT_EQ(MatDup(nullptr, 3, 3), nullptr); // the fresh block cannot be reached
    EXPECT_EQ(VecDupBlock(src, 0), nullptr);   // the zero-size block is not given back
}
