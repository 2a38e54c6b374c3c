// qvstdlib: memory blocks of the qv support library.
//
// Tables never record their own counts: the caller passes them to every
// operation. Every allocator reports failure by a null result only;
// nothing here prints except the matrix cache report.
#ifndef QVSTDLIB_H
#define QVSTDLIB_H

#include <stddef.h>
#include <stdint.h>
#include <wchar.h>

#ifdef __cplusplus
extern "C" {
#endif

// ---- Plain tables ----------------------------------------------------
// A plain table is an array of r pointers, each to its own allocation of
// c * size bytes (or, for c = 0, r null pointers). No header. A list of
// separately allocated strings is a plain table with c = 1.

// r = 0: null. c = 0: r null entries. Otherwise every row is allocated (its
// contents undefined); if one fails, everything obtained is released and
// null returned; a c * size beyond 64 bits is refused (null). Release with
// TabFreePlain(table, r, c).
void **TabAllocPlain(uint64_t r, uint64_t c, uint64_t size);

// Releases entries 0..r-1 (null entries are harmless), then the array. With
// c = 0 the rows are taken as absent and only the array is released. A null
// table is ignored. table is any array of pointers (void **, char **,
// wchar_t **).
void TabFreePlain(void *table, uint64_t r, uint64_t c);

// ---- Matrix and vector blocks ----------------------------------------
// A matrix handle m points at r row pointers; m[i][j] is element (i, j).
// Block kinds with a header keep two pointer-sized words before the row
// pointers: m[-2] is the allocation start (the only thing release uses),
// m[-1] the capacity in bytes (allocation size minus the 16 header bytes).
// Sizes are signed 32-bit, rows first, and passed to every call. Sizes
// whose 32-bit element products overflow are refused: null, nothing
// allocated. A negative column count is sized as zero columns.

// One block: header, r row pointers, r * c doubles row-major. Allocation is
// (r + r * c) * 8 + 16 bytes, at least 64, above 64 rounded up to a
// multiple of 256; the capacity word records that size minus 16. r < 1 or
// failure: null. c < 1: all row pointers null. Release with MatFreeBlock.
double **MatAllocBlock(int32_t r, int32_t c);

// Releases a block made by MatAllocBlock, MatDup or the cache. Null: no-op.
void MatFreeBlock(double **m);

// Split block: an array of r + 1 words (word 0 the value block, then the
// row pointers; m points at word 1) plus a separate value block of r * c
// doubles with no header. r < 1 or failure: null (nothing kept). c < 1: no
// value block, all r + 1 words null. Release with MatFreeBlock0.
double **MatAllocBlock0(int32_t r, int32_t c);

// Releases the value block (m[-1], may be null), then the pointer array.
// Null: no-op.
void MatFreeBlock0(double **m);

// Copies the c values of each of the r rows of src into dst, bit for bit.
// Only row pointers are followed, so any two block kinds mix. Either handle
// null: null. r < 1 or c < 1: dst unchanged. Otherwise dst. MatCopy is the
// same operation under a second name.
double **MatCpy(double **dst, double *const *src, int32_t r, int32_t c);
double **MatCopy(double **dst, double *const *src, int32_t r, int32_t c);

// New block as MatAllocBlock(r, c), then a copy of src. r < 1 or failure:
// null. The block is obtained before src is looked at: a null src gives
// null and the fresh block is deliberately left allocated. c < 1: the new
// block with null rows. Caller frees with MatFreeBlock.
double **MatDup(double *const *src, int32_t r, int32_t c);

// Makes the first n columns of rows 0..n-1 the identity. n < 1 or null m:
// nothing. Returns m.
double **MatI(double **m, int32_t n);

// Sets the r x c elements to 0.0. r < 1, c < 1 or null m: nothing.
// Returns m.
double **MatZero(double **m, int32_t r, int32_t c);

// Sets the r x c elements to the library's NaN (0x7FF8000000000000).
// r < 1, c < 1 or null m: nothing. Returns m.
double **MatNaN(double **m, int32_t r, int32_t c);

// m[i][j] = value; returns the row pointer m[i]. No checks at all.
double *MatSetAt(double **m, int32_t i, int32_t j, double value);

// Returns m[i][j]. No checks at all.
double MatGetAt(double *const *m, int32_t i, int32_t j);

// Matrix <-> flat vector of r * c values, row order (r suffix: index
// i * c + j) or column order (c suffix: index j * r + i). Either pointer
// null, r < 1 or c < 1: nothing.
void MatCopyVecr(double **m, const double *v, int32_t r, int32_t c);
void MatCopyVecc(double **m, const double *v, int32_t r, int32_t c);
void VecrCopyMat(double *v, double *const *m, int32_t r, int32_t c);
void VeccCopyMat(double *v, double *const *m, int32_t r, int32_t c);

// Plain array of n doubles, no header, contents undefined. n < 0 or
// failure: null; n = 0 gives a zero-size allocation. Free with
// VecFreeBlock (null is harmless).
double *VecAllocBlock(int32_t n);
void VecFreeBlock(double *v);

// Allocates n doubles first, then copies n values of src. n = 0 or failure:
// null (a zero-size allocation that succeeded is deliberately not
// released). n < 0: null. Null src: the allocation is released, null.
double *VecDupBlock(const double *src, int32_t n);

// Copies n values of src to dst. Null dst or n = 0: null. n < 0: dst,
// nothing copied. Null src (n > 0): null. Otherwise dst.
double *VecCopy(double *dst, const double *src, int32_t n);

// Integer matrix: header (word 1 the payload size), r row pointers, then
// r * c int32 values row-major; allocation r * 8 + c * 4 * r + 16 bytes
// exactly. r < 1 or failure: null. c < 1: null rows. Release with
// IntMatFreeBlock (null: no-op).
int32_t **IntMatAllocBlock(int32_t r, int32_t c);
void IntMatFreeBlock(int32_t **m);

// ---- Matrix block cache ----------------------------------------------
// Freed matrix blocks of recurring sizes are kept for reuse. Block sizes
// follow MatAllocBlock. The on/off switch (cSlots) and the size limit are
// always read from the process-wide record; slots and counters come from
// the record a locker returns (the process-wide one without a locker).
// Functions taking a record treat null as the process-wide record.
typedef struct MatCache {
    int32_t cSlots;       // slot count; 0 means caching is off
    int32_t cMaxBytes;    // largest block size looked up or kept
    void **apBlock;       // per slot: allocation start of the block held
    uint32_t *acBytes;    // per slot: its allocation size; 0 = empty
    uint32_t *aiStamp;    // per slot: store stamp
    int32_t iFreeSlot;    // slot for the next store, -1 when unknown
    uint32_t iClock;      // next store stamp; never reset
    int32_t cReportSize;  // slot count at initialisation, for the report
    int32_t cReportLimit; // size limit at initialisation, for the report
    uint32_t cHits;       // lookups that reused a block
    uint32_t cMisses;     // lookups that found no block large enough
    uint32_t cFlushes;    // blocks evicted to make room
} MatCache;

// Called with 1: take the lock and return the record to use (null: the
// process-wide one). Called with 0: release the lock; result ignored.
typedef MatCache *(*MatCacheLockerFn)(int32_t fLock);

// Sets slot count and size limit of the process-wide record; either 0 sets
// both 0 (off). Takes effect at the next MatCacheInit.
void SetMatCacheSize(int32_t cSlots, int32_t cMaxBytes);

// Installs the locker (null removes it).
void SetMatCacheLocker(MatCacheLockerFn pfLocker);

// Gives the record zero-filled slot arrays sized by the process-wide slot
// count and resets its counters. Failure (or a negative count) turns
// caching off for the whole process. A second call without MatCacheExit
// abandons the first arrays. Never calls the locker.
void MatCacheInit(MatCache *pCache);

// Releases every cached block; the cache stays on, counters kept.
void MatCacheFlush(MatCache *pCache);

// Flushes, releases the arrays and turns the record off; the report
// numbers are kept.
void MatCacheExit(MatCache *pCache);

// Prints the cache report line to standard output; returns the number of
// characters printed (printf's result).
int MatCacheStatus(MatCache *pCache);

// As MatAllocBlock, but reuses the first cached block at least as large as
// the request (its capacity word is rewritten to the request's size). With
// caching off: exactly MatAllocBlock. r = 0 or an element count beyond 32
// bits: null, nothing counted. r < 0 is looked up as a 64-byte request: a
// hit is handed out with no rows laid out, a miss gives null. Free with
// CMatFree or MatFreeBlock.
double **CMatAllocBlock(int32_t r, int32_t c);

// Puts a matrix block (any block with the MatAllocBlock header) into the
// cache, evicting one when full, or releases it when caching is off or it
// is above the limit. Null: no-op.
void CMatFree(double **m);

// CMatAllocBlock(r, c) first, then a copy of src. Null src or failure: null
// (a block obtained for a null src is deliberately left allocated). r < 1
// or c < 1: the new block uncopied.
double **CMatDup(double *const *src, int32_t r, int32_t c);

// ---- Tables and string tables ----------------------------------------

// Table block: header (word 1 the payload size), r row pointers, then r * c
// elements of size bytes row-major (stride size * c); allocation
// size * c * r + r * 8 + 16 bytes exactly. r < 1, size < 0, a stride or
// element bytes beyond the 32-bit range, or failure: null. c < 1: null rows. Release with TabFreeBlock (null: no-op); handle is any
// row-pointer array of such a block.
void **TabAllocBlock(int32_t r, int32_t c, int32_t size);
void TabFreeBlock(void *handle);

// String tables: n pointers, each null or an own malloc'd string that the
// table owns. Alloc: n = 0 or failure gives null, else n null entries.
// Free: releases entries 0..n-1, then the array; null table: no-op.
char **StrTabAlloc(uint64_t n);
void StrTabFree(char **table, uint64_t n);
wchar_t **TcsTabAlloc(uint64_t n);
void TcsTabFree(wchar_t **table, uint64_t n);

// New table of n entries with every non-null entry duplicated. n = 0 or
// failure of the array: null. A failed string copy leaves a null entry.
// Null table: null. Caller frees with StrTabFree / TcsTabFree.
char **StrTabDup(char *const *table, uint64_t n);
wchar_t **TcsTabDup(wchar_t *const *table, uint64_t n);

// Moves the strings into a new array of newCount entries: entries beyond
// the new length are released, new entries are null, the old array is
// released. newCount = 0: everything released, null. Failure to get the
// new array: null and the old table untouched.
char **StrTabRealloc(uint64_t newCount, char **table, uint64_t oldCount);
wchar_t **TcsTabRealloc(uint64_t newCount, wchar_t **table, uint64_t oldCount);

#ifdef __cplusplus
}
#endif

#endif // QVSTDLIB_H
