// How the program names a WAVE format to users: "PCM", "IEEE float", "μ-law", "A-law",
// "extensible (PCM)", the bits, and the channel mask in the standard speaker terms
// ("FL FR FC LFE BL BR"), from the format chunk as the file stores it.
#pragma once

#include <qobase/audio/wave_format.h>

#include <string>

namespace qobase_tool {

// "PCM", "IEEE float", "A-law", "μ-law", "extensible (IEEE float)", or "format tag 0x0002".
std::string FormatName(const QoWaveFormatFacts& facts);

// "16-bit integer", "32-bit float", "8-bit" (companded formats), with ", 20 valid bits" when an
// extensible format stores fewer valid bits than its container.
std::string SampleText(const QoWaveFormatFacts& facts);

// True for the formats whose samples the readers convert to float (integer PCM of 16, 24 or 32
// bits and 32-bit IEEE float, plain or extensible).
bool HasFloatConversion(const QoWaveFormatFacts& facts);

// True when the format holds integer PCM samples (tag 1, or extensible with the PCM sub-format).
bool IsIntegerPcm(const QoWaveFormatFacts& facts);

// "FL FR FC LFE BL BR" for mask 0x3F; bits past the 18 named speakers as "bit N"; "none" for 0.
std::string SpeakerNames(uint32_t mask);

// "1 channel", "2 channels".
std::string ChannelCount(unsigned int count);

}  // namespace qobase_tool
