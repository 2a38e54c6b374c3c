// qvstring: text for the qv support library.
//
// Narrow text is a NUL-terminated array of char holding UTF-8; narrow
// operations carry the prefix Str or the suffix A. Wide text is a
// NUL-terminated array of 32-bit wchar_t, one code point per element;
// wide operations carry the prefix Tcs or no suffix. Only the converters
// (A2T_*, T2A_*, UTF8_*) decode UTF-8: every other narrow operation treats
// a byte as a character.
//
// Sizes of destination buffers count elements of the destination and
// include the terminator. A "greatest length" does not count it: the
// buffer must hold one element more. Functions that return new memory
// hand it to the caller, who releases it with free(). Nothing here prints.
#ifndef QVSTRING_H
#define QVSTRING_H

#include <stddef.h>
#include <stdint.h>
#include <wchar.h>

#ifdef __cplusplus
extern "C" {
#endif

// ---- String utilities ------------------------------------------------

// Cuts trailing white space (isspace of the byte as a signed char, iswspace
// for wide text) in place; leading white space stays. Returns s.
char *StrTrim(char *s);
wchar_t *TcsTrim(wchar_t *s);

// New malloc'd copy of s, or null when s is null or memory runs out.
char *StrDupPlain(const char *s);
char *StrDup(const char *s);
wchar_t *TcsDup(const wchar_t *s);

// Fold case in place (tolower/toupper of the byte as a signed char,
// towlower/towupper for wide text). Returns the position of the terminating
// NUL, not the start, so that a caller can append; null gives null.
char *StrLower(char *s);
char *StrUpper(char *s);
wchar_t *TcsLower(wchar_t *s);
wchar_t *TcsUpper(wchar_t *s);

// Removes up to count characters at pos; returns the new length. A pos at
// or past the end changes nothing and returns the length.
size_t StrDel(char *s, size_t pos, size_t count);
size_t TcsDel(wchar_t *s, size_t pos, size_t count);

// Inserts as much of ins at pos as maxLen (greatest length, terminator not
// counted) allows; returns the new length, or 0 when pos is past the end.
// The room is maxLen - length in size_t arithmetic: a text already longer
// than maxLen makes it wrap, and then all of ins goes in.
size_t TcsIns(wchar_t *s, size_t pos, const wchar_t *ins, size_t maxLen);

// Inserts count copies of ch at pos within maxLen; returns the new length,
// or 0 when pos is past the end. TcsCIns fills each inserted wide character
// with the low byte of ch repeated in all four bytes (U+0041 gives
// 0x41414141); TcsjRight pads with real blanks.
size_t StrCIns(char *s, size_t pos, int ch, size_t count, size_t maxLen);
size_t TcsCIns(wchar_t *s, size_t pos, wchar_t ch, size_t count, size_t maxLen);

// Moves the text left over its leading white space. Returns s.
wchar_t *TcsjLeft(wchar_t *s);

// Pads on the left with U+0020 up to width characters (never cuts); the
// buffer must hold width + 1 characters. Returns s.
wchar_t *TcsjRight(wchar_t *s, size_t width);

// 1 when s ends with suffix (exactly, or ignoring case when caseSensitive
// is 0), else 0. An empty or null suffix never matches; a null s counts as
// empty.
int StrEndsWith(const char *s, const char *suffix, int caseSensitive);
int TcsEndsWith(const wchar_t *s, const wchar_t *suffix, int caseSensitive);

// ---- UTF-8 and wide text conversion ----------------------------------
// The encoding is the 31-bit form of UTF-8: 1 to 6 bytes when encoding, no
// range check against U+10FFFF, surrogates pass like any value. Decoding
// policy for bad input: a stray continuation byte 0x80..0xBF stands for
// itself (U+0080..U+00BF); a lead byte 0xF9..0xFF is dropped alone; a
// sequence with a bad continuation byte is dropped whole (all its bytes
// consumed, but never past the terminating NUL); overlong forms are
// dropped. Lead bytes 0xC0/0xC1 therefore never yield anything, and 5-byte
// sequences decode only from the lead 0xF8.

// Length of the sequence that the lead byte ch starts: 1 below 0xC0, 2..6
// for 0xC0..0xFD, 0 above (and for negative ch).
int UTF8_chlen(int ch);

// Decodes src into dst (at most size characters; terminated only when there
// is room). With dst null counts the whole text and ignores size. Returns
// the characters stored or counted, terminator not counted.
size_t UTF8_mbstowcs(wchar_t *dst, const char *src, size_t size);

// As UTF8_mbstowcs; *pSkipped (never null) becomes 1 if input was dropped.
size_t UTF8_mbstowcs_skip(wchar_t *dst, const char *src, size_t size, int *pSkipped);

// Encodes src into dst. The limit is tested before each character only, so
// up to five bytes may be stored past size: callers that need a hard limit
// use T2A_cpy. With dst null returns the full encoded length.
size_t UTF8_wcstombs(char *dst, const wchar_t *src, size_t size);

// Characters that src decodes to / bytes of the encoding of src; the
// terminator is not counted and null gives 0. A leading byte order mark
// counts as one character in A2T_len.
size_t A2T_len(const char *src);
size_t T2A_len(const wchar_t *src);

// Copy into dst of size elements (size >= 1; a size of 0 stores nothing),
// always terminated. A2T_cpy skips a leading UTF-8 byte order mark and keeps
// whole characters; T2A_cpy cuts at byte size - 1 even inside a sequence.
// A null src gives an empty text. Both return dst.
wchar_t *A2T_cpy(wchar_t *dst, size_t size, const char *src);
char *T2A_cpy(char *dst, size_t size, const wchar_t *src);

// New malloc'd conversion of src, or null when src is null or memory runs
// out. The caller frees it.
wchar_t *A2T_dup(const char *src);
char *T2A_dup(const wchar_t *src);

// Lossy copy without UTF-8: each wide character stored as its low byte, at
// most size - 1 of them, then a NUL. A size of 0 or 1 copies nothing but
// still stores the NUL at dst[0]. src must not be null. Returns dst.
char *T2A_cpyasc(char *dst, size_t size, const wchar_t *src);

// U+FF01..U+FF5E become U+0021..U+007E; every other value is returned
// unchanged.
wchar_t MapAsciiWideToNarrow(wchar_t ch);

// ---- Search and replace ----------------------------------------------

// Replaces pat by rep (null rep = empty) in place, left to right, at most
// maxCount times; replacement text is never searched again. The text may
// grow to maxLen characters (terminator not counted: the buffer must hold
// maxLen + 1); a replacement that would pass it ends the call. Returns the
// replacements made; null text, null pat or maxCount 0 give 0. An empty
// pat with an empty rep changes nothing and returns maxCount; an empty pat
// with a non-empty rep inserts rep repeatedly at the start.
size_t StrRep(char *text, const char *rep, const char *pat, size_t maxCount, size_t maxLen);
size_t TcsRep(wchar_t *text, const wchar_t *rep, const wchar_t *pat, size_t maxCount, size_t maxLen);

// lineMode bits for the copying family: 1 = the match must end a line
// (followed by NUL, CR or LF), 2 = it must begin one (after LF or at the
// start). 1 when a match between the characters prev and next (0 at either
// end of the text) suits lineMode, else 0.
int StrRepMatchesPosition(int prev, int next, int lineMode);

// Counts the replacements that StrCpyRep will make on text (textLen bytes,
// NUL-terminated right there) and stores the result's length in *newLen
// (may be null). maxCount below 0 means no limit; every candidate, accepted
// or refused by lineMode, costs one unit of it. caseSensitive 0 compares
// through tolower. An empty pat counts lines (LF bytes + 1, 1 for an empty
// text) and is meaningful only with lineMode 1 or 2 and a non-empty rep,
// else 0; its *newLen (textLen + R x count) is an upper bound. A null text
// or pat gives 0.
size_t StrCpyRepSize(const char *text, size_t textLen, const char *rep, const char *pat, int maxCount, size_t *newLen,
                     int caseSensitive, unsigned lineMode);

// Writes src (srcLen bytes, NUL-terminated there) with pat replaced by rep
// into dst and returns the replacements made, walking exactly as
// StrCpyRepSize. Room: dst must hold the new length that StrCpyRepSize
// reports plus one bytes, whatever dstSize says; no write goes past that.
// dstSize is tested only before each segment and its replacement: one that
// does not fit within dstSize ends the call with the count so far (dst ends
// with the NUL written after the last replacement, or is unterminated when
// bytes past refused candidates came after it). The NUL after each
// replacement, those single bytes and the final rest of src with its NUL
// are written without that test. maxCount 0 copies src whole, as strcpy
// does, and returns 0. An empty pat with lineMode 2 (1) puts rep in place
// of the first (last) byte of each line; with an empty rep, srcLen 0 or
// another lineMode it writes nothing and returns 0. Null dst, src or pat
// give 0.
size_t StrCpyRep(char *dst, size_t dstSize, char *src, size_t srcLen, const char *rep, const char *pat, int maxCount,
                 int caseSensitive, unsigned lineMode);

// Overwrites every character equal to oldCh with newCh (note the order) and
// returns how many. Narrow bytes are compared as signed char, so oldCh must
// be given in -128..127 to match a byte above 0x7F. Null or empty text
// gives 0.
size_t StrRepCh(char *text, int newCh, int oldCh);
size_t TcsRepCh(wchar_t *text, wchar_t newCh, wchar_t oldCh);

// ---- Character width and case-insensitive comparison -----------------

// Columns that ch takes on a fixed-width terminal: 0 for combining and
// other zero-width marks, 2 for East Asian wide and full-width forms, 1
// otherwise. A fixed table, independent of the locale; every value below
// 256 (negative ones and 0 included) is 1.
int GetUnicodeWidth(int ch);

// Compares a and b with both sides passed through towlower; the result is
// the difference of the first lowered pair that differs (or of the pair at
// the end of a), so 0 for texts equal but for case. Neither may be null.
int WcsCaseCmp(const wchar_t *a, const wchar_t *b);

// As WcsCaseCmp over at most n characters. n = 0 gives 0 without reading
// a or b (which may then be null).
int WcsNCaseCmp(const wchar_t *a, const wchar_t *b, size_t n);

// Sort callbacks over an array of wide-text pointers: wcscmp and wcscasecmp
// of the texts that a and b point to.
int ILexCmp(const wchar_t **a, const wchar_t **b);
int ILexiCmp(const wchar_t **a, const wchar_t **b);

// ---- Double to text in a fixed width ---------------------------------

// Prints x into s (size bytes, always terminated when size >= 1), with at
// most precision significant digits chosen from the magnitude of x so that
// the text fits width characters. That holds with keepDecimals 0; with
// kept decimals a value that rounds up to the next power of ten may come out
// one character wider ("-0.000100" for -9.9999999e-5 in width 8). An int
// that fits prints as "%d" unless keepDecimals is set. mode 0 is plain; 1 drops the '+' of the exponent; 2 also drops the
// '0' before the point for 1e-4 <= |x| < 1. Exponents lose their leading
// zero ("1e-5"). keepDecimals 0 lets '%g' strip trailing zeros; above 0
// zeros are kept down to that many fraction digits. Width below 8 or
// precision below 1 gives "####" for anything but an int that fits; NaN
// gives ".NaN", infinities "+.Inf" / "-.Inf". Room: give a size above
// width and a buffer of at least max(size, 6) bytes. The fixed texts are
// stored whatever size says; the '%g' and "%d" texts are cut at size - 1;
// a text cut below width still gets its '.', whose terminator may then
// take the byte s[size] (size 0 stores only fixed texts). Any width and precision cost a
// few kilobytes at most. Returns s.
char *StrPrintDouble(char *s, size_t size, int width, int precision, int mode, int keepDecimals, double x);

// ---- Hex doubles and date stamps -------------------------------------

// The double whose 64-bit pattern the hex digits of text spell, most
// significant first ("3FF0000000000000" is 1.0), whatever the byte order.
// Only the first 16 characters count (a longer text is read no further);
// a shorter text is padded with leading zeros, so "" and null give 0.0.
// There is no validation: a character other than a digit is worth its
// lower-case code minus 87 ('g' is 16) and spills into the next digit.
double DHexToDouble(const char *text);

// Prints the date-and-time number x (Julian day number plus fraction of the
// day; below 1 a time of day alone) into s of size bytes as "2000-01-01",
// with withDayName "2000-01-01 Sat", then for a fraction above 0 a 'T' (or
// with spaceSeparator a blank) and "hh:mm"; with midnightTime a whole day
// gets "T00:00". secondsMode 0 adds ":ss" when seconds or hundredths are
// not 0, 1 always adds it, others never; every secondsMode >= 0 adds ".cc"
// for hundredths above 0 ("12:30.50" with secondsMode 2). Hours are not
// reduced (a fraction that rounds to a whole day gives "24:00"). 0.0 gives
// "00:00" ("00:00:00" with secondsMode 1); a negative time of day alone
// gives ""; NaN, infinities and day numbers beyond the int range give ".".
// The text is cut to size, except the midnight time, which is appended
// whole: with midnightTime s must hold size + 9 bytes. 40 bytes hold any
// result. A null s or a size of 0 stores nothing. Returns s.
char *Dbl2DateStrA(char *s, size_t size, int withDayName, int midnightTime, int spaceSeparator, int secondsMode,
                   double x);

// As Dbl2DateStrA into a 40-byte text, widened into ws. A text longer than
// size characters leaves ws untouched; otherwise every byte, terminator
// included, is widened. Room: ws must hold size + 1 characters (with size 0
// an empty text still stores its terminator). A null ws stores nothing.
// Returns ws.
wchar_t *Dbl2DateStr(wchar_t *ws, size_t size, int withDayName, int midnightTime, int spaceSeparator, int secondsMode,
                     double x);

#ifdef __cplusplus
}
#endif

#endif // QVSTRING_H
