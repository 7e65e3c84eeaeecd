// How the program names a WAVE format to users: "PCM", "IEEE float", "μ-law", "A-law",
// "extensible (PCM)", the bits, and the channel mask in the standard speaker terms
// ("FL FR FC LFE BL BR"), from the format chunk as the file stores it.
#pragma once

#include <qobase/audio/wave_format.h>

#include <string>

namespace qobase_tool {

// True for a format chunk of tag 0xFFFE that the library read as its own record, the 24-byte
// compact form or its 44-byte record (as its writers store them), and not by the published
// extensible layout: the mask and sub-format are then not at their published offsets, and only
// the reader knows whether the samples are float.
bool IsLibraryRecord(const QoWaveFormatFacts& facts);

// "PCM", "IEEE float", "A-law", "μ-law", "extensible (IEEE float)", "extensible (QOBase compact
// record, PCM)", or "format tag 0x0002". `readsFloat` (the reader's IsFloat) decides only for a
// library record.
std::string FormatName(const QoWaveFormatFacts& facts, bool readsFloat);

// "16-bit integer", "32-bit float", "8-bit" (companded formats), with ", 20 valid bits" when an
// extensible format stores fewer valid bits than its container.
std::string SampleText(const QoWaveFormatFacts& facts, bool readsFloat);

// True for the formats whose samples the readers convert to float (integer PCM of 16, 24 or 32
// bits and 32-bit IEEE float, plain, extensible or in a library record).
bool HasFloatConversion(const QoWaveFormatFacts& facts, bool readsFloat);

// True when the format holds integer PCM samples (tag 1, or extensible with the PCM sub-format;
// never a library record, whose sub-format the stored facts do not show).
bool IsIntegerPcm(const QoWaveFormatFacts& facts);

// "FL FR FC LFE BL BR" for mask 0x3F; bits past the 18 named speakers as "bit N"; "none" for 0.
std::string SpeakerNames(uint32_t mask);

// "1 channel", "2 channels".
std::string ChannelCount(unsigned int count);

}  // namespace qobase_tool
