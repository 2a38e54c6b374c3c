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

/* Prepares the floating-point unit once at start-up; nothing to do here. */
void InitFPU(void);

/* Stores the library's NaN (pattern 0x7FF8000000000000) into *pd.
   A null pointer is ignored. */
void SetNaN(double *pd);

/* Returns the library's NaN, pattern 0x7FF8000000000000. */
double DNaN(void);

/* Stores positive infinity (pattern 0x7FF0000000000000) into *pd.
   A null pointer is ignored. */
void SetInf(double *pd);

/* Returns positive infinity, pattern 0x7FF0000000000000. */
double DInf(void);

/* 1 when the exponent bits are all ones and the mantissa is not zero
   (any NaN, either sign, quiet or signalling), else 0. */
int FIsNaN(double x);

/* 1 when x is +infinity or -infinity (exponent all ones, mantissa zero),
   else 0. */
int FIsInf(double x);

/* 1 when the exponent bits of x are all ones (NaN or infinity), else 0. */
int FIsInfOrNaN(double x);

/* 1 when the exponent bits of the float f are all ones, else 0: float NaNs
   and float infinities of either sign both give 1. */
int FIsNaNfloat(float f);

/* 1 when x and y are equal, counting any NaN as equal to any NaN; a NaN
   never equals a number. Otherwise ordinary comparison (0.0 == -0.0). */
int DoubleIsEqual(double x, double y);

/* ---- Clock and time text --------------------------------------------- */

/* ---- Julian-day calendar --------------------------------------------- */

/* ---- Date of Easter -------------------------------------------------- */

#ifdef __cplusplus
}
#endif

#endif /* QVSYSTIM_H */
