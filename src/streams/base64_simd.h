// Vector loops for the bulk of QoBase64's work, on x86 processors with SSSE3 (chosen at run
// time). Each handles whole blocks and leaves the rest, and every unusual character, to the
// scalar code, so the results are byte for byte those of the scalar loops.
#pragma once

#include <cstddef>

namespace qobase_internal {

// True when the processor runs the loops below and they have not been switched off.
bool Base64SimdAvailable();

// Switches the vector loops off (or back on where the processor has them), so the scalar loops
// can be exercised on any machine. Not thread-safe: meant for test set-up.
void SetBase64SimdAllowed(bool allowed);

// Encodes 12-byte blocks of `in` while 16 bytes are readable; writes 16 characters per block
// (stores of 16 bytes, inside the output as long as it has 4 bytes after the text).
// Returns the number of input bytes consumed (a multiple of 12).
size_t EncodeBlocksSimd(const unsigned char* in, size_t length, unsigned char* out);

// Decodes 16-character blocks of plain alphabet characters while more than 16 characters
// remain, stopping at the first block holding anything else. Returns the characters consumed
// (a multiple of 16); the 12 bytes of each block are written with 16-byte stores, which the
// decoder's 4 spare output bytes and the characters still to come keep inside the output.
size_t DecodeBlocksSimd(const unsigned char* in, size_t length, unsigned char* out);

}  // namespace qobase_internal
