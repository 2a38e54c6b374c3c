#include "qvstdlib.h"

#include <gtest/gtest.h>

#include <string>

namespace {

std::string report(MatCache *record)
{
    testing::internal::CaptureStdout();
    const int printed = MatCacheStatus(record);
    std::string text = testing::internal::GetCapturedStdout();
    EXPECT_EQ(printed, static_cast<int>(text.size()));
    return text;
}

MatCache *g_pRecord; // the record the locker hands out
int g_cLocks, g_cUnlocks;
MatCache *testLocker(int32_t fLock)
{
    EXPECT_EQ(g_cLocks - g_cUnlocks, fLock ? 0 : 1) << "every lock must be followed by one unlock";
    (fLock ? g_cLocks : g_cUnlocks)++;
    return fLock ? g_pRecord : nullptr;
}

struct MatCacheTest : testing::Test {
    static uintptr_t capacityOf(double **m) { return reinterpret_cast<uintptr_t *>(m)[-1]; }
    static double **givenBack(double **m) { return CMatFree(m), m; }
    void TearDown() override
    {
        MatCacheExit(nullptr), SetMatCacheLocker(nullptr), SetMatCacheSize(0, 0);
        g_pRecord = nullptr, g_cLocks = g_cUnlocks = 0;
    }
};

} // namespace

TEST_F(MatCacheTest, MissHitFirstFitLimitAndReport)
{
    SetMatCacheSize(4, 4096), MatCacheInit(nullptr);
    double **big = givenBack(CMatAllocBlock(10, 10)); // 1024 bytes: miss
    EXPECT_EQ(CMatAllocBlock(10, 10), big);           // equal size: hit
    EXPECT_EQ(capacityOf(big), 1008u);
    CMatFree(big);
    double **small = CMatAllocBlock(2, 2);                // 64 bytes: first fit takes the 1024 block
    EXPECT_TRUE(small == big && capacityOf(small) == 48); // the surplus is forgotten
    EXPECT_EQ(small[1], reinterpret_cast<double *>(small + 2) + 2);
    EXPECT_EQ(report(nullptr), "\nCache report: size 4 limit 4096 hits 2 misses 1 flushes 0\n");
    CMatFree(small); // stored back as 64 bytes: too small from now on
    double **atLimit = CMatAllocBlock(1, 500), **huge = CMatAllocBlock(40, 40); // 4096 and 13312 bytes
    EXPECT_TRUE(atLimit != big && capacityOf(huge) == 13296u);
    CMatFree(huge), CMatFree(atLimit);          // above the limit: released at once, never counted
    EXPECT_EQ(CMatAllocBlock(1, 500), atLimit); // a block at the limit is kept
    ASSERT_EQ(CMatAllocBlock(3, -1), big);      // 64 bytes: reused with null rows
    EXPECT_TRUE(!big[0] && !big[1] && !big[2]);
    CMatFree(big);
    EXPECT_EQ(CMatAllocBlock(-3, 1 << 30), nullptr); // the count wraps to 2^30 - 3 rows of 8 GiB: above the limit
    EXPECT_EQ(CMatAllocBlock(-1, 3), big);           // negative rows: looked up and reused all the same
    MatFreeBlock(big), CMatFree(atLimit), MatCacheFlush(nullptr); // the flush keeps the counters
    EXPECT_TRUE(!CMatAllocBlock(0, 5) && !CMatAllocBlock(65536, 65536) && !CMatAllocBlock(-3, 2)); // -3: a miss
    EXPECT_EQ(report(nullptr), "\nCache report: size 4 limit 4096 hits 5 misses 3 flushes 0\n");
    double **two = givenBack(CMatAllocBlock(2, 3));
    double **one = CMatAllocBlock(1, 3); // the same block, its one row laid out anew
    EXPECT_TRUE(one == two && one[0] == reinterpret_cast<double *>(one + 1));
    CMatFree(one);
}

TEST_F(MatCacheTest, OffSizesFailedInitAndExit)
{
    const int32_t offSizes[][2] = {{0, 4096}, {4, 0}, {-1, 4096}}; // the last fails to init
    for (const auto &size : offSizes) {
        SetMatCacheSize(size[0], size[1]), MatCacheInit(nullptr);
        EXPECT_EQ(report(nullptr), "\nCache report: size 0 limit 0 hits 0 misses 0 flushes 0\n");
        double **plain = CMatAllocBlock(1, 6);
        EXPECT_EQ(capacityOf(plain), 240u);
        CMatFree(plain), MatCacheExit(nullptr); // released: nothing can be kept
    }
    SetMatCacheSize(2, 1024), MatCacheInit(nullptr);
    CMatFree(nullptr); // nothing to keep, with the cache on too
    double **src = MatAllocBlock(2, 3), **copy;
    src[0][0] = 1.0, src[1][2] = 5.0, copy = CMatDup(src, 2, 3); // a miss
    EXPECT_TRUE(copy[0][0] == 1.0 && copy[1][2] == 5.0);
    CMatFree(copy);
    EXPECT_EQ(CMatDup(nullptr, 2, 3), nullptr); // a hit: takes the cached block all the same
    CMatFree(copy);
    double **noColumns = CMatDup(src, 2, 0); // a hit
    EXPECT_EQ(noColumns[1], nullptr);
    CMatFree(noColumns), MatFreeBlock(src);
    MatCacheExit(nullptr); // releases the cached block, keeps the numbers
    CMatFree(CMatAllocBlock(2, 2));
    EXPECT_EQ(report(nullptr), "\nCache report: size 2 limit 1024 hits 2 misses 1 flushes 0\n");
}

// Slot 0 keeps stamp 0 and slot 3 gets 0 again after the wrap: the victim is the last slot stamped 0 (slot 3),
// then slot 0; with none stamped 0, slot 0 again, though slot 3 (stamp 1) was stored before it (stamp 2).
TEST_F(MatCacheTest, VictimAcrossTheStampWrap)
{
    const auto startOf = [](double **m) { return static_cast<void *>(reinterpret_cast<char *>(m) - 16); };
    MatCache record{};
    SetMatCacheSize(4, 4096), MatCacheInit(&record), SetMatCacheLocker(testLocker), g_pRecord = &record;
    double **blocks[7];
    for (double **&block : blocks)
        block = MatAllocBlock(2, 2);
    CMatFree(blocks[0]); // slot 0, stamp 0
    record.iClock = UINT32_MAX - 1;
    for (int k = 1; k < 7; k++) // into slots 1 to 3 (stamps 2^32 - 2, 2^32 - 1, 0), then over slots 3, 0 and 0
        CMatFree(blocks[k]);
    void *const held[4] = {startOf(blocks[6]), startOf(blocks[1]), startOf(blocks[2]), startOf(blocks[4])};
    const uint32_t stamps[4] = {3, UINT32_MAX - 1, UINT32_MAX, 1};
    for (int s = 0; s < 4; s++)
        EXPECT_TRUE(record.apBlock[s] == held[s] && record.aiStamp[s] == stamps[s]) << s;
    EXPECT_EQ(record.cFlushes, 3u);
    MatCacheFlush(&record); // empties the slots and keeps the cache on
    EXPECT_TRUE(record.acBytes[0] == 0 && !record.apBlock[3] && record.iFreeSlot == 0 && record.cSlots == 4);
    MatCacheExit(&record);
    EXPECT_TRUE(!record.apBlock && record.cSlots == 0);
}

TEST_F(MatCacheTest, LockerHandsOutSecondRecord)
{
    MatCache other{}, empty{}, none{};
    SetMatCacheSize(0, 0), MatCacheInit(&none); // initialised while caching is off: no slots
    SetMatCacheSize(2, 4096), MatCacheInit(nullptr), MatCacheInit(&other), SetMatCacheLocker(testLocker);
    double **shared = givenBack(CMatAllocBlock(3, 3)); // null from the locker: the process-wide record
    g_pRecord = &other;                                // a second thread sees none of it
    double **own = givenBack(CMatAllocBlock(3, 3));
    EXPECT_TRUE(own != shared && CMatAllocBlock(3, 3) == own);
    CMatFree(own), CMatFree(CMatAllocBlock(40, 40)); // the process-wide limit holds: no lock taken
    EXPECT_TRUE(g_cLocks == 6 && g_cUnlocks == 6);
    EXPECT_EQ(report(&other), "\nCache report: size 2 limit 4096 hits 1 misses 1 flushes 0\n");
    EXPECT_EQ(report(nullptr), "\nCache report: size 2 limit 4096 hits 0 misses 1 flushes 0\n");
    MatCacheExit(&other);
    for (MatCache *record : {&empty, &none}) { // never initialised, or with no slots
        g_pRecord = record;
        CMatFree(CMatAllocBlock(2, 2)); // a miss, then nowhere to keep it: evicted and released, nothing stamped
        EXPECT_TRUE(record->cMisses == 1 && record->cFlushes == 1 && record->iClock == 0 && g_cLocks == g_cUnlocks);
    }
    MatCacheExit(&none);
}
