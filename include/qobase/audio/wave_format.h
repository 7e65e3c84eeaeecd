// Byte-exact records of RIFF/WAVE files ("RIFF" little-endian, "RIFX" big-endian), the chunk
// codes, the in-memory marker, and the packed channel configuration derived from a format record.
// Every record here has the exact size and field offsets it has on disk, so a chunk body can be
// read or written as one block; in a "RIFX" file the numeric fields are byte-swapped with
// WavByteSwapHelpers (wav_byte_swap.h). Four-character codes and GUIDs are never swapped.
#pragma once

#include <qobase/streams/guid.h>

#include <cstddef>
#include <cstdint>

// Chunk and list codes as the unsigned 32-bit value their four bytes give when loaded
// little-endian; compare a chunk ID loaded from memory (in any file byte order) against these.
namespace QO {
constexpr uint32_t k_fccRIFF = 0x46464952;  // "RIFF"
constexpr uint32_t k_fccRIFX = 0x58464952;  // "RIFX"
constexpr uint32_t k_fccWAVE = 0x45564157;  // "WAVE"
constexpr uint32_t k_fccFmt = 0x20746D66;   // "fmt "
constexpr uint32_t k_fccData = 0x61746164;  // "data"
constexpr uint32_t k_fccCue = 0x20657563;   // "cue "
constexpr uint32_t k_fccSmpl = 0x6C706D73;  // "smpl"
constexpr uint32_t k_fccLIST = 0x5453494C;  // "LIST"
constexpr uint32_t k_fccAdtl = 0x6C746461;  // "adtl"
constexpr uint32_t k_fccLabl = 0x6C62616C;  // "labl"
constexpr uint32_t k_fccJUNK = 0x4B4E554A;  // "JUNK"

// Format tags of the format chunk.
constexpr uint16_t k_waveFormatPcm = 1;
constexpr uint16_t k_waveFormatIeeeFloat = 3;
constexpr uint16_t k_waveFormatExtensible = 0xFFFE;
}  // namespace QO

// The 8-byte head of every chunk. size counts the body only; an odd body is followed by one
// pad byte that size does not count.
struct RIFFHEADER {
  uint32_t chunkID;  // four characters in file order
  uint32_t size;
};

// The basic 18-byte format record.
#pragma pack(push, 1)
struct tWAVEFORMATEX {
  uint16_t wFormatTag;
  uint16_t nChannels;
  uint32_t nSamplesPerSec;
  uint32_t nAvgBytesPerSec;
  uint16_t nBlockAlign;  // bytes per sample frame
  uint16_t wBitsPerSample;
  uint16_t cbSize;
};
#pragma pack(pop)

// The 44-byte extensible format record, as held in memory and as the body of the 44-byte
// "fmt " chunk the writer produces. A "fmt " body that is read is copied byte for byte over a
// zeroed record of this layout, whatever its own layout was.
struct WAVEFORMATEXTENSIBLE {
  uint16_t wFormatTag;  // 1 integer PCM, 3 IEEE float, 0xFFFE extensible
  uint16_t nChannels;
  uint32_t nSamplesPerSec;
  uint32_t nAvgBytesPerSec;
  uint16_t nBlockAlign;
  uint16_t wBitsPerSample;
  uint16_t cbSize;
  uint16_t wPadding1;  // bytes 18-19
  uint16_t wValidBitsPerSample;
  uint16_t wPadding2;  // bytes 22-23
  uint32_t dwChannelMask;
  QO::SonvoAuthoringAPI::QoGuid SubFormat;
};

// The published 40-byte extensible format body (tag 0xFFFE, cbSize 22 or more): the basic record,
// then valid bits, channel mask and sub-format packed straight after cbSize. Readers take it
// only when asked to (the default reads copy any body over WAVEFORMATEXTENSIBLE).
#pragma pack(push, 1)
struct StandardWaveFormatExtensible {
  tWAVEFORMATEX Format;
  uint16_t wValidBitsPerSample;
  uint32_t dwChannelMask;
  QO::SonvoAuthoringAPI::QoGuid SubFormat;
};
#pragma pack(pop)

// The 24-byte compact format the readers hand out and the chunk editor stores: the basic
// fields, cbSize (always 4), two bytes carried through unchanged, and a packed QoChannelConfig.
// A "fmt " body of exactly 24 bytes with tag 0xFFFE holds this form.
struct WaveFormatExtensible {
  uint16_t wFormatTag;  // 0xFFFE
  uint16_t nChannels;
  uint32_t nSamplesPerSec;
  uint32_t nAvgBytesPerSec;
  uint16_t nBlockAlign;
  uint16_t wBitsPerSample;
  uint16_t cbSize;
  uint16_t wReserved;      // bytes 18-19 of the format chunk body it was read from (0 if none)
  uint32_t channelConfig;  // packed QoChannelConfig
};

// One record of the "cue " chunk, whose body is a u32 count followed by count records.
struct WAV_CUE {
  uint32_t dwName;      // cue point ID
  uint32_t dwPosition;  // sample frames
  uint32_t fccChunk;    // "data" when written by this library
  uint32_t dwChunkStart;
  uint32_t dwBlockStart;
  uint32_t dwSampleOffset;
};

// The head of the "smpl" chunk; cSampleLoops SAMPLER_LOOP records follow.
struct SAMPLER {
  uint32_t dwManufacturer;
  uint32_t dwProduct;
  uint32_t dwSamplePeriod;
  uint32_t dwMIDIUnityNote;
  uint32_t dwMIDIPitchFraction;
  uint32_t dwSMPTEFormat;
  uint32_t dwSMPTEOffset;
  uint32_t cSampleLoops;
  uint32_t cbSamplerData;
};

struct SAMPLER_LOOP {
  uint32_t dwIdentifier;
  uint32_t dwType;
  uint32_t dwStart;  // sample frames
  uint32_t dwEnd;    // sample frames
  uint32_t dwFraction;
  uint32_t dwPlayCount;
};

// A marker as the reader returns it and the writer takes it. The label is malloc'd and owned
// by the list that holds the marker, which releases it with free.
struct QO_WAVE_MARKER {
  uint32_t ID;         // cue point ID, unique in a marker list
  uint32_t position;   // sample frames
  uint32_t labelSize;  // label bytes, terminating NUL included when present; 0: no label
  char* label;
};

// A label as the chunk editor keeps it; the text is malloc'd and owned by the list chunk.
struct LABEL {
  uint32_t cueID;
  uint32_t size;
  char* text;
};

namespace QO {
namespace internal {
// The leading fields every format record shares, at the offsets of the basic format record.
template <typename Format>
constexpr bool HasWaveFormatHead() {
  return offsetof(Format, nChannels) == 2 && offsetof(Format, nSamplesPerSec) == 4 &&
         offsetof(Format, nAvgBytesPerSec) == 8 && offsetof(Format, nBlockAlign) == 12 &&
         offsetof(Format, wBitsPerSample) == 14 && offsetof(Format, cbSize) == 16;
}
}  // namespace internal
}  // namespace QO

static_assert(sizeof(RIFFHEADER) == 8 && offsetof(RIFFHEADER, size) == 4, "RIFFHEADER layout");
static_assert(sizeof(tWAVEFORMATEX) == 18 && QO::internal::HasWaveFormatHead<tWAVEFORMATEX>(),
              "tWAVEFORMATEX layout");
static_assert(sizeof(WAVEFORMATEXTENSIBLE) == 44 &&
                  QO::internal::HasWaveFormatHead<WAVEFORMATEXTENSIBLE>() &&
                  offsetof(WAVEFORMATEXTENSIBLE, wValidBitsPerSample) == 20 &&
                  offsetof(WAVEFORMATEXTENSIBLE, dwChannelMask) == 24 &&
                  offsetof(WAVEFORMATEXTENSIBLE, SubFormat) == 28,
              "WAVEFORMATEXTENSIBLE layout");
static_assert(sizeof(StandardWaveFormatExtensible) == 40 &&
                  offsetof(StandardWaveFormatExtensible, wValidBitsPerSample) == 18 &&
                  offsetof(StandardWaveFormatExtensible, dwChannelMask) == 20 &&
                  offsetof(StandardWaveFormatExtensible, SubFormat) == 24,
              "StandardWaveFormatExtensible layout");
static_assert(sizeof(WaveFormatExtensible) == 24 &&
                  QO::internal::HasWaveFormatHead<WaveFormatExtensible>() &&
                  offsetof(WaveFormatExtensible, wReserved) == 18 &&
                  offsetof(WaveFormatExtensible, channelConfig) == 20,
              "WaveFormatExtensible layout");
static_assert(sizeof(WAV_CUE) == 24 && offsetof(WAV_CUE, fccChunk) == 8 &&
                  offsetof(WAV_CUE, dwSampleOffset) == 20,
              "WAV_CUE layout");
static_assert(sizeof(SAMPLER) == 36 && offsetof(SAMPLER, cSampleLoops) == 28, "SAMPLER layout");
static_assert(sizeof(SAMPLER_LOOP) == 24 && offsetof(SAMPLER_LOOP, dwStart) == 8 &&
                  offsetof(SAMPLER_LOOP, dwEnd) == 12,
              "SAMPLER_LOOP layout");

// A channel configuration packed into 32 bits: bits 0-7 number of channels (0 means invalid),
// bits 8-11 configuration type, bits 12-31 speaker mask (meaningful for the standard type).
typedef uint32_t QoChannelConfig;

namespace QO {

// Configuration types of QoChannelConfig.
enum ChannelConfigType : uint32_t {
  k_channelConfigAnonymous = 0,  // channels without positions
  k_channelConfigStandard = 1,   // speaker layout given by the mask
  k_channelConfigAmbisonic = 2,
};

// Speaker bits of the WAVE channel mask.
enum SpeakerBit : uint32_t {
  k_speakerFrontLeft = 0x1,
  k_speakerFrontRight = 0x2,
  k_speakerFrontCenter = 0x4,
  k_speakerLowFrequency = 0x8,
  k_speakerBackLeft = 0x10,
  k_speakerBackRight = 0x20,
  k_speakerFrontLeftOfCenter = 0x40,
  k_speakerFrontRightOfCenter = 0x80,
  k_speakerBackCenter = 0x100,
  k_speakerSideLeft = 0x200,
  k_speakerSideRight = 0x400,
  k_speakerTopCenter = 0x800,
  k_speakerTopFrontLeft = 0x1000,
  k_speakerTopFrontCenter = 0x2000,
  k_speakerTopFrontRight = 0x4000,
  k_speakerTopBackLeft = 0x8000,
  k_speakerTopBackCenter = 0x10000,
  k_speakerTopBackRight = 0x20000,
};

// Packs the three fields; each is cut to its width. MakeChannelConfig(2, 1, 0x3) == 0x3102.
constexpr QoChannelConfig MakeChannelConfig(uint32_t numChannels, uint32_t type, uint32_t mask) {
  return (numChannels & 0xFFu) | ((type & 0xFu) << 8) | ((mask & 0xFFFFFu) << 12);
}
constexpr uint32_t GetChannelConfigNumChannels(QoChannelConfig config) { return config & 0xFFu; }
constexpr uint32_t GetChannelConfigType(QoChannelConfig config) { return (config >> 8) & 0xFu; }
constexpr uint32_t GetChannelConfigMask(QoChannelConfig config) { return config >> 12; }

// The speaker mask used for a channel count when a file gives no usable mask: 0x4 for mono,
// 0x3 for stereo ... 0x63F for 8 channels; 0 outside 1 to 8.
uint32_t GetDefaultChannelMask(uint32_t numChannels);

// The default configuration for a channel count: standard with the default mask for 1 to 8
// channels, otherwise anonymous with the count's low 8 bits (0 channels: invalid).
QoChannelConfig GetDefaultChannelConfig(uint32_t numChannels);

// Derives the channel configuration of a format record: a usable extensible channel mask gives
// a standard layout (front-left mono becomes centre, a rear pair moves to the sides), the
// ambisonic sub-format with no mask gives an ambisonic configuration for the counts it allows,
// anything else the default for the channel count. Zero channels give 0 channels (invalid).
QoChannelConfig SetChannelConfigFromWAVEFORMATEXTENSIBLE(const WAVEFORMATEXTENSIBLE& format);

}  // namespace QO

// Sub-format GUIDs: integer PCM, IEEE float, and the ambisonic B-format.
extern const QO::SonvoAuthoringAPI::QoGuid ks_dataformat_pcm;
extern const QO::SonvoAuthoringAPI::QoGuid ks_dataformat_ieee_float;
extern const QO::SonvoAuthoringAPI::QoGuid s_ambisonic;
// The published A-law and mu-law sub-formats (format tags 6 and 7 as GUIDs).
extern const QO::SonvoAuthoringAPI::QoGuid ks_dataformat_alaw;
extern const QO::SonvoAuthoringAPI::QoGuid ks_dataformat_mulaw;

// The format chunk as the file stores it, before any conversion to the compact form, so a caller
// can name the format exactly and refuse what it cannot keep. Numbers are in host order.
struct QoWaveFormatFacts {
  uint32_t bodySize;       // "fmt " body size as stored; 0 when no format chunk was read
  uint16_t formatTag;      // as stored: 1 PCM, 3 IEEE float, 6 A-law, 7 mu-law, 0xFFFE, others
  uint16_t numChannels;    // as stored
  uint32_t sampleRate;     // as stored
  uint16_t blockAlign;     // as stored
  uint16_t bitsPerSample;  // as stored (the container width in an extensible format)
  // True when the body is long enough for the published extensible fields: tag 0xFFFE and 40
  // bytes or more. The next three fields are the values at their published offsets only then,
  // else 0 and the null GUID. They describe the format only when standardLayoutUsed: the 44-byte
  // record this library writes also has tag 0xFFFE, with its mask at 24 and sub-format at 28.
  bool hasExtensibleFields;
  uint16_t validBitsPerSample;  // body offset 18
  uint32_t channelMask;         // body offset 20, the speaker bits as stored
  // Body offset 24. In a "RIFX" file a known GUID whose leading format tag was stored
  // big-endian (as sox writes it) is given as that GUID, not as its stored bytes.
  QO::SonvoAuthoringAPI::QoGuid subFormat;
  // The format was read by the published extensible layout (the opt-in was on and the
  // sub-format is one the library knows); false when it went the default way.
  bool standardLayoutUsed;
};

namespace QO {
// The sub-formats whose published extensible layout the readers can take when asked to:
// integer PCM, IEEE float, A-law, mu-law and the ambisonic B-format.
bool IsKnownSubFormat(const SonvoAuthoringAPI::QoGuid& subFormat);
}  // namespace QO
