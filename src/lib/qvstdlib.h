/*
** qvstdlib: memory blocks of the qv support library.
**
** Tables never record their own counts: the caller passes them to every
** operation. Every allocator reports failure by a null result only;
** nothing here prints except the matrix cache report.
*/
#ifndef QVSTDLIB_H
#define QVSTDLIB_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Plain tables ---------------------------------------------------- */
/*
** A plain table is an array of r pointers, each to its own allocation of
** c * size bytes (or, for c = 0, r null pointers). No header. A list of
** separately allocated strings is a plain table with c = 1.
*/

/* r = 0: null. c = 0: r null entries. Otherwise every row is allocated (its
** contents undefined); if one fails, everything obtained is released and
** null returned. Release with TabFreePlain(table, r, c). */
void **TabAllocPlain(uint64_t r, uint64_t c, uint64_t size);

/* Releases entries 0..r-1 (null entries are harmless), then the array. With
** c = 0 the rows are taken as absent and only the array is released. A null
** table is ignored. table is any array of pointers (void **, char **,
** wchar_t **). */
void TabFreePlain(void *table, uint64_t r, uint64_t c);

/* ---- Matrix and vector blocks ---------------------------------------- */

/* ---- Matrix block cache ---------------------------------------------- */

/* ---- Tables and string tables ---------------------------------------- */

#ifdef __cplusplus
}
#endif

#endif /* QVSTDLIB_H */
