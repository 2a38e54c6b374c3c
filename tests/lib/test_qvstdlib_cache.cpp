// Matrix block cache: hits, misses, the size limit, eviction order, the
// report line, and lockers that hand out records of their own. The cache is
// process-wide, so every test turns it off again when it ends.
#include "qvstdlib.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>

namespace {

uintptr_t capacityOf(double **m)
{
    uintptr_t value;
    memcpy(&value, reinterpret_cast<const char *>(m) - 8, sizeof value);
    return value;
}

void *startOf(double **m)
{
    return reinterpret_cast<char *>(m) - 16;
}

std::string report(MatCache *record)
{
    testing::internal::CaptureStdout();
    const int printed = MatCacheStatus(record);
    std::string text = testing::internal::GetCapturedStdout();
    EXPECT_EQ(printed, static_cast<int>(text.size()));
    return text;
}

std::string line(int size, int limit, int hits, int misses, int flushes)
{
    return "\nCache report: size " + std::to_string(size) + " limit " + std::to_string(limit) +
           " hits " + std::to_string(hits) + " misses " + std::to_string(misses) + " flushes " +
           std::to_string(flushes) + "\n";
}

// A locker that hands out whichever record the test names, and checks that
// every lock is followed by one unlock.
MatCache *g_pLockerRecord;
int g_cLocks;
int g_cUnlocks;

MatCache *testLocker(int32_t fLock)
{
    if (fLock) {
        EXPECT_EQ(g_cLocks, g_cUnlocks) << "lock taken twice";
        g_cLocks++;
        return g_pLockerRecord;
    }
    g_cUnlocks++;
    EXPECT_EQ(g_cLocks, g_cUnlocks) << "unlock without lock";
    return nullptr;
}

class MatCacheTest : public testing::Test {
protected:
    void SetUp() override
    {
        g_pLockerRecord = nullptr;
        g_cLocks = g_cUnlocks = 0;
    }
    void TearDown() override
    {
        MatCacheExit(nullptr);
        SetMatCacheLocker(nullptr);
        SetMatCacheSize(0, 0);
        EXPECT_EQ(g_cLocks, g_cUnlocks);
    }
};

} // namespace

TEST_F(MatCacheTest, MissStoreHitAndReport)
{
    SetMatCacheSize(4, 4096);
    MatCacheInit(nullptr);
    double **first = CMatAllocBlock(10, 10); // S = 1024
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(capacityOf(first), 1008u);
    first[9][9] = 3.0;
    CMatFree(first);
    double **second = CMatAllocBlock(10, 10);
    EXPECT_EQ(second, first); // the same block back
    EXPECT_EQ(second[9], reinterpret_cast<double *>(second + 10) + 90);
    EXPECT_EQ(report(nullptr), line(4, 4096, 1, 1, 0));
    CMatFree(second);
}

TEST_F(MatCacheTest, FirstFitForgetsTheSurplus)
{
    SetMatCacheSize(4, 4096);
    MatCacheInit(nullptr);
    double **big = CMatAllocBlock(10, 10);
    void *bigStart = startOf(big);
    CMatFree(big);

    double **small = CMatAllocBlock(2, 2); // S = 64 fits the 1024 block
    EXPECT_EQ(startOf(small), bigStart);
    EXPECT_EQ(capacityOf(small), 48u);
    EXPECT_EQ(small[1], reinterpret_cast<double *>(small + 2) + 2);
    CMatFree(small); // stored back as a 64-byte block

    double **again = CMatAllocBlock(10, 10); // 64 is too small: miss
    EXPECT_NE(startOf(again), bigStart);
    EXPECT_EQ(report(nullptr), line(4, 4096, 1, 2, 0));
    CMatFree(again);
}

TEST_F(MatCacheTest, AboveLimitBypassesTheCache)
{
    SetMatCacheSize(4, 4096);
    MatCacheInit(nullptr);
    double **huge = CMatAllocBlock(40, 40); // S = 13312
    ASSERT_NE(huge, nullptr);
    EXPECT_EQ(capacityOf(huge), 13312u - 16);
    CMatFree(huge); // released at once: a leak would show otherwise
    EXPECT_EQ(report(nullptr), line(4, 4096, 0, 0, 0));
}

TEST_F(MatCacheTest, RefusedAndEmptyRequests)
{
    SetMatCacheSize(4, 4096);
    MatCacheInit(nullptr);
    EXPECT_EQ(CMatAllocBlock(0, 5), nullptr);
    EXPECT_EQ(CMatAllocBlock(65536, 65536), nullptr); // wraps in 32 bits
    EXPECT_EQ(report(nullptr), line(4, 4096, 0, 0, 0));
    EXPECT_EQ(CMatAllocBlock(-3, 2), nullptr); // looked up, missed, not made
    EXPECT_EQ(report(nullptr), line(4, 4096, 0, 1, 0));
    CMatFree(nullptr);
}

TEST_F(MatCacheTest, NegativeRowsTakeACachedBlockWithoutRows)
{
    SetMatCacheSize(2, 4096);
    MatCacheInit(nullptr);
    double **m = CMatAllocBlock(2, 2);
    m[0] = m[1] = nullptr; // the rows must stay as they are
    CMatFree(m);
    double **reused = CMatAllocBlock(-1, 3);
    EXPECT_EQ(reused, m);
    EXPECT_EQ(capacityOf(reused), 48u);
    EXPECT_EQ(reused[0], nullptr);
    MatFreeBlock(reused); // a cached block is an ordinary block
}

TEST_F(MatCacheTest, NoColumnsGiveNullRowsOnReuse)
{
    SetMatCacheSize(2, 4096);
    MatCacheInit(nullptr);
    CMatFree(CMatAllocBlock(3, 3));
    double **m = CMatAllocBlock(3, -1);
    for (int i = 0; i < 3; i++)
        EXPECT_EQ(m[i], nullptr);
    CMatFree(m);
}

TEST_F(MatCacheTest, OffSizesAndExitBehavePlainly)
{
    SetMatCacheSize(0, 4096);
    MatCacheInit(nullptr); // arrays of no slots
    EXPECT_EQ(report(nullptr), line(0, 0, 0, 0, 0));
    MatCacheExit(nullptr);
    SetMatCacheSize(4, 0);
    MatCacheInit(nullptr);
    EXPECT_EQ(report(nullptr), line(0, 0, 0, 0, 0));
    MatCacheExit(nullptr);

    double **plain = CMatAllocBlock(1, 6);
    EXPECT_EQ(capacityOf(plain), 240u);
    CMatFree(plain); // released, since nothing can be kept
    EXPECT_EQ(report(nullptr), line(0, 0, 0, 0, 0));

    SetMatCacheSize(2, 1024);
    MatCacheInit(nullptr);
    CMatFree(CMatAllocBlock(2, 2));
    CMatFree(CMatAllocBlock(2, 2));
    MatCacheExit(nullptr); // releases the cached block
    EXPECT_EQ(report(nullptr), line(2, 1024, 1, 1, 0)); // last run kept
    double **after = CMatAllocBlock(2, 2);
    CMatFree(after);
    EXPECT_EQ(report(nullptr), line(2, 1024, 1, 1, 0));
}

TEST_F(MatCacheTest, FailedInitTurnsCachingOff)
{
    SetMatCacheSize(-1, 4096); // no array of -1 slots can be had
    MatCacheInit(nullptr);
    EXPECT_EQ(report(nullptr), line(0, 0, 0, 0, 0));
    double **m = CMatAllocBlock(2, 2);
    CMatFree(m);
    EXPECT_EQ(report(nullptr), line(0, 0, 0, 0, 0));
}

TEST_F(MatCacheTest, EvictionTakesTheLastZeroStamp)
{
    SetMatCacheSize(2, 4096);
    MatCache record{};
    MatCacheInit(&record);
    g_pLockerRecord = &record;
    SetMatCacheLocker(testLocker);

    double **a = MatAllocBlock(2, 2);
    double **b = MatAllocBlock(10, 10);
    double **c = MatAllocBlock(2, 2);
    double **d = MatAllocBlock(2, 2);
    CMatFree(a); // slot 0 through iFreeSlot, stamp 0
    CMatFree(b); // slot 1, the first empty one, stamp 1
    EXPECT_EQ(record.apBlock[0], startOf(a));
    EXPECT_EQ(record.apBlock[1], startOf(b));
    EXPECT_EQ(record.aiStamp[1], 1u);
    EXPECT_EQ(record.acBytes[1], 1024u);

    CMatFree(c); // full: slot 0 has stamp 0 and goes
    EXPECT_EQ(record.apBlock[0], startOf(c));
    EXPECT_EQ(record.aiStamp[0], 2u);
    EXPECT_EQ(record.cFlushes, 1u);
    CMatFree(d); // no stamp 0 left: slot 0 again, not the older slot 1
    EXPECT_EQ(record.apBlock[0], startOf(d));
    EXPECT_EQ(record.aiStamp[0], 3u);
    EXPECT_EQ(record.apBlock[1], startOf(b));
    EXPECT_EQ(record.cFlushes, 2u);
    EXPECT_EQ(record.iClock, 4u);

    double **taken = CMatAllocBlock(10, 10); // slot 0 is too small
    EXPECT_EQ(taken, b);
    EXPECT_EQ(record.acBytes[1], 0u);
    EXPECT_EQ(record.iFreeSlot, 1);
    CMatFree(taken); // straight back into slot 1
    EXPECT_EQ(record.iFreeSlot, -1);
    EXPECT_EQ(record.aiStamp[1], 4u);
    EXPECT_EQ(g_cLocks, 6);

    MatCacheFlush(&record);
    EXPECT_EQ(record.acBytes[0], 0u);
    EXPECT_EQ(record.apBlock[1], nullptr);
    EXPECT_EQ(record.iFreeSlot, 0);
    EXPECT_EQ(record.cSlots, 2); // still on
    EXPECT_EQ(report(&record), line(2, 4096, 1, 0, 2));
    MatCacheExit(&record);
    EXPECT_EQ(record.apBlock, nullptr);
    EXPECT_EQ(record.cSlots, 0);
}

TEST_F(MatCacheTest, LockerHandsOutSecondRecord)
{
    SetMatCacheSize(2, 4096);
    MatCacheInit(nullptr);
    MatCache other{};
    MatCacheInit(&other);
    SetMatCacheLocker(testLocker);

    g_pLockerRecord = nullptr; // null: the process-wide record
    double **shared = CMatAllocBlock(3, 3);
    CMatFree(shared);

    g_pLockerRecord = &other; // a second "thread" sees none of it
    double **own = CMatAllocBlock(3, 3);
    EXPECT_NE(own, shared);
    CMatFree(own);
    EXPECT_EQ(CMatAllocBlock(3, 3), own);
    CMatFree(own);
    EXPECT_EQ(report(&other), line(2, 4096, 1, 1, 0));
    EXPECT_EQ(report(nullptr), line(2, 4096, 0, 1, 0));

    // The limit stays the process-wide one for every record.
    double **huge = CMatAllocBlock(40, 40);
    CMatFree(huge);
    EXPECT_EQ(other.acBytes[1], 0u);
    EXPECT_EQ(g_cLocks, 6); // three allocations, three stores; none for huge

    // Set-up and tear-down never take the lock.
    const int locks = g_cLocks;
    MatCacheFlush(&other);
    report(&other);
    MatCacheExit(&other);
    EXPECT_EQ(g_cLocks, locks);
}

TEST_F(MatCacheTest, LockerRecordWithoutSlotsReleasesTheBlock)
{
    SetMatCacheSize(2, 4096);
    MatCacheInit(nullptr);
    MatCache empty{}; // never initialised: no slots at all
    g_pLockerRecord = &empty;
    SetMatCacheLocker(testLocker);
    double **m = CMatAllocBlock(2, 2);
    EXPECT_EQ(empty.cMisses, 1u);
    CMatFree(m); // nowhere to keep it: counted as evicted and released
    EXPECT_EQ(empty.cFlushes, 1u);
}

TEST_F(MatCacheTest, SecondInitAbandonsFirstArrays)
{
    SetMatCacheSize(3, 4096);
    MatCache record{};
    MatCacheInit(&record);
    // Known, deliberate leak of a repeated initialisation; the test keeps
    // the first arrays so that it can release them itself.
    void *firstArrays[3] = {record.apBlock, record.acBytes, record.aiStamp};
    MatCacheInit(&record);
    EXPECT_NE(record.apBlock, firstArrays[0]);
    EXPECT_EQ(record.cSlots, 3);
    for (void *array : firstArrays)
        free(array);
    MatCacheExit(&record);
}

TEST_F(MatCacheTest, DupCopiesThroughTheCache)
{
    SetMatCacheSize(2, 4096);
    MatCacheInit(nullptr);
    double **src = MatAllocBlock(2, 3);
    for (int i = 0; i < 2; i++)
        for (int j = 0; j < 3; j++)
            src[i][j] = i * 3 + j;
    double **copy = CMatDup(src, 2, 3);
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(copy[1][2], 5.0);
    CMatFree(copy);

    // A null source still takes the cached block; the test knows its
    // address and gives it back itself.
    EXPECT_EQ(CMatDup(nullptr, 2, 3), nullptr);
    MatFreeBlock(copy);
    EXPECT_EQ(report(nullptr), line(2, 4096, 1, 1, 0));

    double **empty = CMatDup(src, 2, 0);
    ASSERT_NE(empty, nullptr);
    EXPECT_EQ(empty[0], nullptr);
    CMatFree(empty);
    MatFreeBlock(src);
}
