// qvstdlib_cache: a cache of freed matrix blocks for reuse.
//
// A record (MatCache) holds cSlots slots in three parallel arrays: the
// allocation start of the block held, its allocation size (0 = empty slot)
// and the stamp it was stored with. Cached blocks are ordinary matrix blocks
// (qvstdlib_matrix.cpp) and are matched by their rounded allocation size,
// first fit in slot order. The process-wide record s_cache carries the
// on/off switch and the size limit for everyone; an installed locker may
// hand out another record for the slots and counters. Releasing a cached
// block gives its stored allocation start straight back to the allocator.
#include "qvstdlib.h"
#include "qvstdlib_block.h"

#include <cstdio>
#include <cstdlib>

using namespace qvblock;

namespace {

MatCache s_cache;
MatCacheLockerFn s_pfMatCacheLocker;

MatCache *recordOf(MatCache *pCache)
{
    return pCache != nullptr ? pCache : &s_cache;
}

// The locker is read once per operation so that lock and unlock go to the
// same function.
MatCache *acquire(MatCacheLockerFn locker)
{
    MatCache *record = locker != nullptr ? locker(1) : nullptr;
    return record != nullptr ? record : &s_cache;
}

void releaseLock(MatCacheLockerFn locker)
{
    if (locker != nullptr)
        locker(0);
}

// The limit is signed: a negative one, widened, lets every size through.
bool aboveLimit(uint64_t bytes)
{
    return bytes > static_cast<uint64_t>(int64_t{s_cache.cMaxBytes});
}

bool hasSlots(const MatCache *record)
{
    return record->cSlots > 0 && record->apBlock != nullptr && record->acBytes != nullptr && record->aiStamp != nullptr;
}

void releaseCachedBlocks(MatCache *record)
{
    if (record->apBlock == nullptr || record->acBytes == nullptr)
        return;
    for (int32_t slot = 0; slot < record->cSlots; slot++) {
        if (record->acBytes[slot] == 0)
            continue;
        free(record->apBlock[slot]);
        record->acBytes[slot] = 0;
        record->apBlock[slot] = nullptr;
    }
}

// Deliberately not least recently stored: the running minimum starts at 0,
// so this is the last slot stamped 0, or slot 0 when none is.
int32_t chooseVictim(const MatCache *record)
{
    uint32_t lowest = 0;
    int32_t victim = 0;
    for (int32_t slot = 0; slot < record->cSlots; slot++) {
        if (record->acBytes[slot] != 0 && record->aiStamp[slot] <= lowest) {
            lowest = record->aiStamp[slot];
            victim = slot;
        }
    }
    return victim;
}

// Slot for a store into a full or partly full record; evicts when full.
int32_t chooseStoreSlot(MatCache *record)
{
    const int32_t known = record->iFreeSlot;
    if (known >= 0) {
        record->iFreeSlot = -1;
        if (known < record->cSlots)
            return known;
    }
    for (int32_t slot = 0; slot < record->cSlots; slot++)
        if (record->acBytes[slot] == 0)
            return slot;
    const int32_t victim = chooseVictim(record);
    record->cFlushes++;
    free(record->apBlock[victim]);
    return victim;
}

} // namespace

extern "C" {

void SetMatCacheSize(int32_t cSlots, int32_t cMaxBytes)
{
    if (cSlots == 0 || cMaxBytes == 0)
        cSlots = cMaxBytes = 0;
    s_cache.cSlots = cSlots;
    s_cache.cMaxBytes = cMaxBytes;
}

void SetMatCacheLocker(MatCacheLockerFn pfLocker)
{
    s_pfMatCacheLocker = pfLocker;
}

void MatCacheInit(MatCache *pCache)
{
    MatCache *record = recordOf(pCache);
    const int32_t slots = s_cache.cSlots;
    const int32_t limit = s_cache.cMaxBytes;
    bool obtained = false;
    if (slots >= 0) {
        const size_t count = static_cast<size_t>(slots);
        record->apBlock = static_cast<void **>(calloc(count, sizeof(void *)));
        record->acBytes = static_cast<uint32_t *>(calloc(count, sizeof(uint32_t)));
        record->aiStamp = static_cast<uint32_t *>(calloc(count, sizeof(uint32_t)));
        obtained = record->apBlock != nullptr && record->acBytes != nullptr && record->aiStamp != nullptr;
    } else {
        record->apBlock = nullptr;
        record->acBytes = nullptr;
        record->aiStamp = nullptr;
    }
    if (obtained) {
        record->cSlots = record->cReportSize = slots;
        record->cMaxBytes = record->cReportLimit = limit;
    } else {
        s_cache.cSlots = s_cache.cMaxBytes = 0;
        record->cSlots = record->cReportSize = 0;
        record->cMaxBytes = record->cReportLimit = 0;
    }
    record->cHits = record->cMisses = record->cFlushes = 0;
}

void MatCacheFlush(MatCache *pCache)
{
    MatCache *record = recordOf(pCache);
    releaseCachedBlocks(record);
    record->iFreeSlot = 0;
}

void MatCacheExit(MatCache *pCache)
{
    MatCache *record = recordOf(pCache);
    releaseCachedBlocks(record);
    record->iFreeSlot = 0;
    free(record->apBlock);
    record->apBlock = nullptr;
    free(record->acBytes);
    record->acBytes = nullptr;
    free(record->aiStamp);
    record->aiStamp = nullptr;
    record->cSlots = 0;
    record->cMaxBytes = 0;
}

int MatCacheStatus(MatCache *pCache)
{
    const MatCache *record = recordOf(pCache);
    return printf("\nCache report: size %d limit %d hits %d misses %d flushes %d\n", record->cReportSize,
                  record->cReportLimit, static_cast<int>(record->cHits), static_cast<int>(record->cMisses),
                  static_cast<int>(record->cFlushes));
}

double **CMatAllocBlock(int32_t r, int32_t c)
{
    if (s_cache.cSlots == 0)
        return MatAllocBlock(r, c);
    if (r == 0)
        return nullptr;
    const uint64_t bytes = matBlockBytes(r, c);
    if (bytes == 0)
        return nullptr;
    if (!aboveLimit(bytes)) {
        const MatCacheLockerFn locker = s_pfMatCacheLocker;
        MatCache *record = acquire(locker);
        const int32_t slots = hasSlots(record) ? record->cSlots : 0;
        for (int32_t slot = 0; slot < slots; slot++) {
            // Sizes are compared as signed 32-bit values widened.
            if (int64_t{static_cast<int32_t>(record->acBytes[slot])} < static_cast<int64_t>(bytes))
                continue;
            record->acBytes[slot] = 0;
            record->iFreeSlot = slot;
            record->cHits++;
            void *start = record->apBlock[slot];
            releaseLock(locker);
            // The block now belongs to the caller: it is rewritten outside
            // the lock, and any surplus beyond the request is forgotten.
            writeHeader(start, bytes - kHeaderBytes);
            double **m = handleOf<double>(start);
            if (r >= 1)
                layoutRows(m, r, c, int64_t{c} * int64_t{sizeof(double)});
            return m;
        }
        record->cMisses++;
        releaseLock(locker);
    }
    if (r < 1)
        return nullptr;
    return MatAllocBlock(r, c);
}

void CMatFree(double **m)
{
    if (s_cache.cSlots <= 0 || m == nullptr) {
        MatFreeBlock(m);
        return;
    }
    void *start = reinterpret_cast<void *>(headerWord(m, 0));
    const uint64_t bytes = uint64_t{headerWord(m, 1)} + kHeaderBytes;
    if (aboveLimit(bytes)) {
        free(start);
        return;
    }
    const MatCacheLockerFn locker = s_pfMatCacheLocker;
    MatCache *record = acquire(locker);
    if (!hasSlots(record)) {
        // Nowhere to keep it: it is its own victim.
        record->cFlushes++;
        free(start);
        releaseLock(locker);
        return;
    }
    const int32_t slot = chooseStoreSlot(record);
    record->acBytes[slot] = static_cast<uint32_t>(bytes);
    record->aiStamp[slot] = record->iClock++;
    record->apBlock[slot] = start;
    releaseLock(locker);
}

double **CMatDup(double *const *src, int32_t r, int32_t c)
{
    // Obtained before src is looked at, as MatDup does.
    double **m = CMatAllocBlock(r, c);
    if (m == nullptr || src == nullptr)
        return nullptr;
    MatCpy(m, src, r, c); // r < 1 or c < 1 copies nothing
    return m;
}

} // extern "C"
