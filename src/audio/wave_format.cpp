// Sub-format constants and the channel configuration derived from a format record.
#include <qobase/audio/wave_format.h>

const QO::SonvoAuthoringAPI::QoGuid ks_dataformat_pcm = {
    0x00000001, 0x0000, 0x0010, {0x80, 0x00, 0x00, 0xaa, 0x00, 0x38, 0x9b, 0x71}};
const QO::SonvoAuthoringAPI::QoGuid ks_dataformat_ieee_float = {
    0x00000003, 0x0000, 0x0010, {0x80, 0x00, 0x00, 0xaa, 0x00, 0x38, 0x9b, 0x71}};
const QO::SonvoAuthoringAPI::QoGuid s_ambisonic = {
    0x00000001, 0x0721, 0x11D3, {0x86, 0x44, 0xC8, 0xC1, 0xCA, 0x00, 0x00, 0x00}};
const QO::SonvoAuthoringAPI::QoGuid ks_dataformat_alaw = {
    0x00000006, 0x0000, 0x0010, {0x80, 0x00, 0x00, 0xaa, 0x00, 0x38, 0x9b, 0x71}};
const QO::SonvoAuthoringAPI::QoGuid ks_dataformat_mulaw = {
    0x00000007, 0x0000, 0x0010, {0x80, 0x00, 0x00, 0xaa, 0x00, 0x38, 0x9b, 0x71}};

namespace QO {
namespace {

// Speaker bits that count towards the channel number of an extensible mask: everything up to
// top back right except the two front-of-centre bits.
constexpr uint32_t k_countedSpeakerBits = 0x3FF3F;

uint32_t CountBits(uint32_t v) { return static_cast<uint32_t>(__builtin_popcount(v)); }

}  // namespace

uint32_t GetDefaultChannelMask(uint32_t numChannels) {
  static const uint32_t sa_defaultMasks[9] = {0, 0x4, 0x3, 0xB, 0x603, 0x607, 0x60F, 0x637, 0x63F};
  return numChannels <= 8 ? sa_defaultMasks[numChannels] : 0;
}

QoChannelConfig GetDefaultChannelConfig(uint32_t numChannels) {
  if (numChannels >= 1 && numChannels <= 8) {
    return MakeChannelConfig(numChannels, k_channelConfigStandard,
                             GetDefaultChannelMask(numChannels));
  }
  return MakeChannelConfig(numChannels, k_channelConfigAnonymous, 0);
}

bool IsKnownSubFormat(const SonvoAuthoringAPI::QoGuid& subFormat) {
  return subFormat == ks_dataformat_pcm || subFormat == ks_dataformat_ieee_float ||
         subFormat == ks_dataformat_alaw || subFormat == ks_dataformat_mulaw ||
         subFormat == s_ambisonic;
}

QoChannelConfig SetChannelConfigFromWAVEFORMATEXTENSIBLE(const WAVEFORMATEXTENSIBLE& format) {
  const uint32_t n = format.nChannels;
  if (format.wFormatTag != k_waveFormatExtensible) return GetDefaultChannelConfig(n);

  if (format.dwChannelMask != 0) {
    if (CountBits(format.dwChannelMask & k_countedSpeakerBits) != n)
      return GetDefaultChannelConfig(n);
    uint32_t mask = format.dwChannelMask;
    // Front left alone is a mono file: put it in the centre.
    if ((mask & 0x7) == k_speakerFrontLeft) mask = (mask & ~0x5u) | k_speakerFrontCenter;
    // A rear pair without side speakers plays on the sides.
    if ((mask & k_speakerBackLeft) && !(mask & k_speakerSideLeft)) {
      mask = (mask &
              ~(k_speakerBackLeft | k_speakerBackRight | k_speakerSideLeft | k_speakerSideRight)) |
             k_speakerSideLeft | k_speakerSideRight;
    }
    return MakeChannelConfig(CountBits(mask), k_channelConfigStandard, mask);
  }

  if (format.SubFormat != s_ambisonic) return GetDefaultChannelConfig(n);
  if (n == 10 || (n >= 12 && n <= 15) || n > 16)
    return MakeChannelConfig(n, k_channelConfigAnonymous, 0);
  return MakeChannelConfig(n, k_channelConfigAmbisonic, 0);
}

}  // namespace QO
