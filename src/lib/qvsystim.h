/*
** qvsystim: special values, clock, time text and calendar of the qv
** support library.
*/
#ifndef QVSYSTIM_H
#define QVSYSTIM_H

#include <stddef.h>
#include <stdint.h>
#include <wchar.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Special values -------------------------------------------------- */

/* ---- Clock and time text --------------------------------------------- */

/* ---- Julian-day calendar --------------------------------------------- */

/* ---- Date of Easter -------------------------------------------------- */

#ifdef __cplusplus
}
#endif

#endif /* QVSYSTIM_H */
