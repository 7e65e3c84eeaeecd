// The text a user sees for a channel configuration: the short name of one speaker channel, the
// name of a whole configuration ("5.1", "4 (Ambisonics)"), the per-channel names in channel order,
// and the labels of the channel configuration overrides a source of N channels admits. Nothing
// here fails: unknown bits and types give empty names.
#pragma once

#include <qobase/audio/wave_format.h>
#include <qobase/strings/std_str.h>

#include <array>
#include <cstdint>
#include <vector>

namespace StringHelp {

// One speaker channel bit of the WAVE mask and its display name.
struct ChannelNameId {
  uint32_t channel;
  CStdStr name;
};

// The named channels in display order: L, R, C, BL, BR, SL, SR, BC, T, HFL, HFC, HFR, HBL, HBC,
// HBR, LFE. LFE stands last although its bit is 0x8; 0x40 and 0x80 have no name.
extern const std::array<ChannelNameId, 16> k_DefaultChannelNameIds;

// Entry i: one letter per channel for an ambisonic configuration of i + 1 channels ("WYZX" for 4).
// Counts that are no full or mixed order hold "X" for every channel.
extern const std::array<CStdStr, 16> k_AmbisonicsNamesByNumChannels;

// The channels of film order: L, C, R, SL, SR, LFE.
extern const std::array<uint32_t, 6> g_FilmOrder;

// Entry i: the standard speaker masks of i + 1 channels, in the order they are offered.
extern const std::array<std::vector<uint32_t>, 14> s_aChannelConfigPermutations;

// Channel ordering overrides: the high 32 bits of an override value.
enum ChannelOrderOverride : uint32_t {
  k_channelOrderDefault = 0,  // the mask's own order; AmbiX for ambisonics
  k_channelOrderFilm = 1,     // standard configurations only
  k_channelOrderFuMa = 2,     // ambisonic configurations
};

// The name of the first table entry whose bit the argument shares, in table order, or a shared
// empty string. 0x8 gives "LFE", 0x3 gives "L", 0x40 gives "".
const CStdStr& ChannelToDisplayName(uint32_t channel);

// Replaces `name` by the configuration's name: "6 (Anonymous)", "4 (Ambisonics)", or for a
// standard layout "<channels other than LFE>.<LFE>" ("5.1", "2.0"; 0x2D63F is "11.1"). A type
// other than anonymous, standard or ambisonic leaves `name` as it was.
void ChannelConfigDisplayName(QoChannelConfig config, CStdStr& name);

// Empties `names`, then fills one name per channel in channel order: "1" ... "N" for anonymous,
// one letter each for ambisonics ("X" each beyond 16 channels), the speaker names for a standard
// layout with side and back exchanged when both are present: 7.1 gives L R C SL SR BL BR LFE.
// Unknown types give nothing.
void ChannelConfigToDisplayNames(QoChannelConfig config, std::vector<CStdStr>& names);

// The label of an override: the configuration's name, then for every type but anonymous a
// qualifier in parentheses: the channel names joined by "," (film order with override 1,
// ascending bit order otherwise, an empty item for each set bit without a name) or "AmbiX" /
// "FuMa". 5.1 gives "5.1 (L,R,C,LFE,SL,SR)" and with override 1 "5.1 (L,C,R,SL,SR,LFE)".
CStdStr GetChannelConfigOverrideString(QoChannelConfig config, uint32_t orderOverride);

// Appends (without emptying first) every override value a source of `numChannels` channels
// admits: the low 32 bits a packed configuration, the high 32 bits its ordering override.
// Anonymous first, then the standard layouts (each followed by its film-order value when it has
// one), then ambisonics as FuMa and AmbiX. 1 gives 0x1, 0x4101, 0x8101, 0x200000201, 0x201.
void GetChannelConfigOverridePermutations(uint32_t numChannels, std::vector<int64_t>& overrides);

}  // namespace StringHelp
