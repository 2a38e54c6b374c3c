/*
** qvsystem: system services of the qv support library.
**
** Paths are NUL-terminated, narrow (UTF-8, functions ending in A) or wide
** (32-bit characters). '/' and '\\' both end a folder part; ':' ends a
** drive prefix. Strings returned are new allocations owned by the caller
** (free them with free()), except the file-name parts, which point into
** their argument. Nothing here prints; failures are return values.
*/
#ifndef QVSYSTEM_H
#define QVSYSTEM_H

#include <stddef.h>
#include <stdint.h>
#include <stdio.h>
#include <wchar.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ---- File listing by mask -------------------------------------------- */
/*
** Masks: '?' is any one character; '*' as the last mask character matches
** the rest of the name; '*' elsewhere skips up to the next '.' of the name
** (it never runs past a dot, so "*.txt" does not fit "a.b.txt"). Other
** characters match themselves, case-sensitively. An empty mask fits
** nothing.
*/

/* 1 when name fits mask, else 0. Null arguments fit nothing. */
int FFileMaskMatch(const wchar_t *name, const wchar_t *mask);

/* Lists the regular files (files != 0) or the folders (files == 0) of
** folder whose names fit mask, in the folder's own order, skipping hidden
** entries (names starting with '.') and entries of unknown type. With a null
** mask the last component of folder is the mask. Returns a plain table of
** new wide strings and sets *count, or null with *count = 0 when nothing is
** listed or the folder cannot be opened. Release with
** TabFreePlain(list, *count, 1). */
wchar_t **FileListByMask(const wchar_t *folder, const wchar_t *mask, int *count, int files);

/* As FileListByMask with the mask "*." followed by ext (a leading '.' of ext
** is skipped; a null ext counts as empty). The mask is built in a buffer of
** 260 wide characters: an extension longer than 257 characters (after its
** dot) lists nothing (null, *count = 0). */
wchar_t **FileListByExt(const wchar_t *folder, const wchar_t *ext, int *count, int files);

/* ---- Files and paths ------------------------------------------------- */

/* ---- Process environment --------------------------------------------- */

/* ---- File name parts ------------------------------------------------- */

/* The base name inside path: after the last '/' or '\\', else after the
** last ':', else path itself. Points into path; a null path gives null. */
wchar_t *SFileBase(const wchar_t *path);
char *SFileBaseA(const char *path);

/* The extension inside path, dot included: the last '.' of the base name,
** or the terminator when the base name has none. Points into path; a null
** path gives null. */
wchar_t *SFileExt(const wchar_t *path);
char *SFileExtA(const char *path);

#ifdef __cplusplus
}
#endif

#endif /* QVSYSTEM_H */
