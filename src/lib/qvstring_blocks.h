// qvstring_blocks: the bulk loops of the text converters and of the
// case-insensitive finder, a block of bytes or characters at a time.
//
// Each primitive has an SSE2 form (16 bytes a round, part of every x86-64),
// an AVX2 form (32 bytes a round) taken for spans of a few blocks where the
// processor has it, chosen at run time, and a plain loop elsewhere; all give
// the same answers and write the same elements. Spans are given with their
// length and read no further. Internal to the library; not installed.
#ifndef QVSTRING_BLOCKS_H
#define QVSTRING_BLOCKS_H

#include <cstddef>
#include <cstdint>
#include <cwchar>

// Hidden: the shared library exports only the public functions.
#pragma GCC visibility push(hidden)

namespace qvstring {

// Number of leading bytes of src[0, len) below 0x80. When dst is not null
// they are stored there widened, one wchar_t each; nothing past them is
// written.
size_t widenAscii(wchar_t *dst, const unsigned char *src, size_t len);

// Number of leading characters of src[0, len) whose value, bit 31 ignored,
// is below 0x80. When dst is not null they are stored there as that one
// byte each; nothing past them is written.
size_t narrowAscii(unsigned char *dst, const wchar_t *src, size_t len);

// First s in [0, count) with text[s] equal to a1 or a2 and text[s + offset]
// equal to b1 or b2, or count. Reads no further than text[count - 1 + offset].
size_t findEitherPair(const unsigned char *text, size_t count, size_t offset, unsigned char a1, unsigned char a2,
                      unsigned char b1, unsigned char b2);

// Bit k of bits (k from 0 to 255, 64 bits a word, lowest first) set when
// row[k] equals value.
void findEqual256(const int32_t *row, int32_t value, uint64_t bits[4]);

} // namespace qvstring

#pragma GCC visibility pop

#endif // QVSTRING_BLOCKS_H
