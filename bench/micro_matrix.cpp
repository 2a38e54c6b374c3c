// Microbenchmarks of the matrix copies, each beside the plain loop a user
// would write instead (the rows named ...Anchor), on square blocks of 16,
// 256 and 1024 rows:
//
// - MatCpy between two blocks (rows apart: one memcpy a row) and within one
//   block onto itself moved by one value (rows that overlap: copied forward
//   one value at a time);
// - MatCopyVecc and VeccCopyMat, a block to and from a flat vector in column
//   order.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstring>

#include "qvstdlib.h"

namespace {

// Two n x n blocks, the first filled with distinct values, freed on scope
// exit; `shifted` holds row pointers into the first block one value on.
struct Blocks {
    int32_t n;
    double **src;
    double **dst;
    double **shifted;
    double *flat;

    explicit Blocks(int32_t size)
        : n(size), src(MatAllocBlock(size + 1, size)), dst(MatAllocBlock(size, size)),
          shifted(new double *[static_cast<size_t>(size)]), flat(new double[static_cast<size_t>(size) * size])
    {
        for (int32_t i = 0; i < n; i++) {
            for (int32_t j = 0; j < n; j++)
                src[i][j] = i * 1e3 + j;
            shifted[i] = src[i] + 1;
        }
    }
    ~Blocks()
    {
        MatFreeBlock(src);
        MatFreeBlock(dst);
        delete[] shifted;
        delete[] flat;
    }
    void count(benchmark::State &state) const
    {
        state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * n * n *
                                static_cast<int64_t>(sizeof(double)));
    }
};

// Times copy(blocks) over a fresh pair of n x n blocks, n the row's argument.
template <class Copy> void timeCopies(benchmark::State &state, Copy copy)
{
    Blocks b(static_cast<int32_t>(state.range(0)));
    VeccCopyMat(b.flat, b.src, b.n, b.n);
    for (auto _ : state) {
        copy(b);
        benchmark::ClobberMemory();
    }
    b.count(state);
}

// Every value of an n x n block, one row pointer at a time, as a plain loop.
template <class Each> void eachValue(const Blocks &b, Each each)
{
    for (int32_t i = 0; i < b.n; i++)
        for (int32_t j = 0; j < b.n; j++)
            each(i, j);
}

void BM_MatCpy_Apart(benchmark::State &state)
{
    timeCopies(state, [](Blocks &b) { MatCpy(b.dst, b.src, b.n, b.n); });
}

void BM_MatCpy_Apart_MemcpyLoopAnchor(benchmark::State &state)
{
    timeCopies(state, [](Blocks &b) {
        for (int32_t i = 0; i < b.n; i++)
            std::memcpy(b.dst[i], b.src[i], static_cast<size_t>(b.n) * sizeof(double));
    });
}

void BM_MatCpy_Overlap(benchmark::State &state)
{
    timeCopies(state, [](Blocks &b) { MatCpy(b.src, b.shifted, b.n, b.n); });
}

void BM_MatCpy_Overlap_PlainLoopAnchor(benchmark::State &state)
{
    timeCopies(state, [](Blocks &b) { eachValue(b, [&](int32_t i, int32_t j) { b.src[i][j] = b.shifted[i][j]; }); });
}

void BM_MatCopyVecc(benchmark::State &state)
{
    timeCopies(state, [](Blocks &b) { MatCopyVecc(b.dst, b.flat, b.n, b.n); });
}

void BM_MatCopyVecc_PlainLoopAnchor(benchmark::State &state)
{
    timeCopies(state, [](Blocks &b) {
        eachValue(b, [&](int32_t i, int32_t j) { b.dst[i][j] = b.flat[static_cast<size_t>(j) * b.n + i]; });
    });
}

void BM_VeccCopyMat(benchmark::State &state)
{
    timeCopies(state, [](Blocks &b) { VeccCopyMat(b.flat, b.src, b.n, b.n); });
}

void BM_VeccCopyMat_PlainLoopAnchor(benchmark::State &state)
{
    timeCopies(state, [](Blocks &b) {
        eachValue(b, [&](int32_t i, int32_t j) { b.flat[static_cast<size_t>(j) * b.n + i] = b.src[i][j]; });
    });
}

} // namespace

#define QV_ROWS ->Arg(16)->Arg(256)->Arg(1024)
BENCHMARK(BM_MatCpy_Apart) QV_ROWS;
BENCHMARK(BM_MatCpy_Apart_MemcpyLoopAnchor) QV_ROWS;
BENCHMARK(BM_MatCpy_Overlap) QV_ROWS;
BENCHMARK(BM_MatCpy_Overlap_PlainLoopAnchor) QV_ROWS;
BENCHMARK(BM_MatCopyVecc) QV_ROWS;
BENCHMARK(BM_MatCopyVecc_PlainLoopAnchor) QV_ROWS;
BENCHMARK(BM_VeccCopyMat) QV_ROWS;
BENCHMARK(BM_VeccCopyMat_PlainLoopAnchor) QV_ROWS;
