// The WAVE format records and the packed channel configuration.
#include <gtest/gtest.h>
#include <qobase/audio/wav_byte_swap.h>
#include <qobase/audio/wave_format.h>

#include <cstring>
#include <string>

namespace {

WAVEFORMATEXTENSIBLE Record(
    uint16_t tag, uint16_t channels, uint32_t mask = 0,
    const QO::SonvoAuthoringAPI::QoGuid& sub = QO::SonvoAuthoringAPI::QoGuidNull) {
  WAVEFORMATEXTENSIBLE f;
  std::memset(&f, 0, sizeof(f));
  f.wFormatTag = tag;
  f.nChannels = channels;
  f.dwChannelMask = mask;
  f.SubFormat = sub;
  return f;
}

std::string BytesOf(const void* p, size_t n) { return std::string(static_cast<const char*>(p), n); }

uint32_t Config(uint16_t tag, uint16_t channels, uint32_t mask = 0,
                const QO::SonvoAuthoringAPI::QoGuid& sub = QO::SonvoAuthoringAPI::QoGuidNull) {
  return QO::SetChannelConfigFromWAVEFORMATEXTENSIBLE(Record(tag, channels, mask, sub));
}

TEST(WaveFormat, ChannelConfigFromFormatRecords) {
  // Plain tags: the default for the channel count; 300 channels keep the low 8 bits.
  EXPECT_EQ(0x3102u, Config(1, 2));
  EXPECT_EQ(0x09u, Config(1, 9));
  EXPECT_EQ(0x4101u, Config(3, 1));
  EXPECT_EQ(0x63F108u, Config(1, 8));
  EXPECT_EQ(0u, Config(1, 0));
  EXPECT_EQ(300u & 0xFF, Config(1, 300));
  // Extensible masks: one bit for two channels gives the default; front-left mono becomes
  // centre; the quad rear pair moves to the sides; a usable mask is kept.
  EXPECT_EQ(0x3102u, Config(0xFFFE, 2, 0x1));
  EXPECT_EQ(0x4101u, Config(0xFFFE, 1, 0x1));
  EXPECT_EQ(0x603104u, Config(0xFFFE, 4, 0x33));
  EXPECT_EQ(0x60F106u, Config(0xFFFE, 6, 0x60F));
  // Front-of-centre bits do not count but stay; front left alone moves to the centre and the
  // back pair stays beside side left; the rear-pair move can drop a channel.
  EXPECT_EQ(0xC3104u, Config(0xFFFE, 2, 0xC3));
  EXPECT_EQ(0x234104u, Config(0xFFFE, 4, 0x231));
  EXPECT_EQ(0x600102u, Config(0xFFFE, 3, 0x430));
  // No mask: the ambisonic sub-format by channel count; without it, the default.
  const uint16_t counts[] = {4, 9, 10, 16, 14, 17, 0};
  const uint32_t ambisonic[] = {0x204, 0x209, 0x0A, 0x210, 0x0E, 0x11, 0x200};
  for (int i = 0; i < 7; ++i) EXPECT_EQ(ambisonic[i], Config(0xFFFE, counts[i], 0, s_ambisonic));
  EXPECT_EQ(0x3102u, Config(0xFFFE, 2, 0, ks_dataformat_pcm));
  const uint32_t defaults[10] = {0, 0x4, 0x3, 0xB, 0x603, 0x607, 0x60F, 0x637, 0x63F, 0};
  for (uint32_t n = 0; n <= 9; ++n) EXPECT_EQ(defaults[n], QO::GetDefaultChannelMask(n)) << n;
}

TEST(WaveFormat, GuidConstantsHaveTheirByteLayout) {
  const std::string tail("\x00\x00\x10\x00\x80\x00\x00\xaa\x00\x38\x9b\x71", 12);
  EXPECT_EQ(std::string("\x01\x00\x00\x00", 4) + tail, BytesOf(&ks_dataformat_pcm, 16));
  EXPECT_EQ(std::string("\x03\x00\x00\x00", 4) + tail, BytesOf(&ks_dataformat_ieee_float, 16));
  EXPECT_EQ(std::string("\x01\x00\x00\x00\x21\x07\xD3\x11\x86\x44\xC8\xC1\xCA\x00\x00\x00", 16),
            BytesOf(&s_ambisonic, 16));
}

TEST(WavByteSwap, RecordsSwapTheirNumbersOnly) {
  RIFFHEADER h;
  std::memcpy(&h.chunkID, "fmt ", 4);
  h.size = 16;
  WavByteSwapHelpers::Convert(h);
  EXPECT_EQ(QO::k_fccFmt, h.chunkID);
  EXPECT_EQ(0x10000000u, h.size);

  WAVEFORMATEXTENSIBLE f = Record(0xFFFE, 2, 0x3, ks_dataformat_pcm);
  f.nSamplesPerSec = 44100;
  f.wPadding1 = 0x1234;
  f.wValidBitsPerSample = 24;
  WavByteSwapHelpers::Convert(f);
  EXPECT_EQ(0xFEFFu, f.wFormatTag);
  EXPECT_EQ(0x0200u, f.nChannels);
  EXPECT_EQ(0x44AC0000u, f.nSamplesPerSec);
  EXPECT_EQ(0x1234u, f.wPadding1);
  EXPECT_EQ(0x1800u, f.wValidBitsPerSample);
  EXPECT_EQ(0x03000000u, f.dwChannelMask);
  EXPECT_TRUE(f.SubFormat == ks_dataformat_pcm);

  tWAVEFORMATEX basic = {1, 2, 48000, 192000, 4, 16, 0};
  WavByteSwapHelpers::Convert(basic);
  EXPECT_EQ(0x0100u, basic.wFormatTag);
  EXPECT_EQ(0x80BB0000u, basic.nSamplesPerSec);
  EXPECT_EQ(0x1000u, basic.wBitsPerSample);

  // The cue, sampler and compact-format overloads are pinned by the big-endian writer output.
}

TEST(WavByteSwap, ConvertDataByWidth) {
  WaveFormatExtensible f = {};
  unsigned char data[6] = {0x01, 0x02, 0x03, 0x04, 0x05, 0x06};
  f.wBitsPerSample = 16;
  WavByteSwapHelpers::ConvertData(data, 5, f, false);  // the partial word at 4 stays
  EXPECT_EQ(std::string("\x02\x01\x04\x03\x05\x06", 6), BytesOf(data, 6));
  f.wBitsPerSample = 32;
  WavByteSwapHelpers::ConvertData(data, 6, f, false);
  EXPECT_EQ(std::string("\x03\x04\x01\x02\x05\x06", 6), BytesOf(data, 6));
  f.wBitsPerSample = 24;
  WavByteSwapHelpers::ConvertData(data, 6, f, false);
  EXPECT_EQ(std::string("\x03\x04\x01\x02\x05\x06", 6), BytesOf(data, 6));

  WAVEFORMATEXTENSIBLE e = Record(1, 1);
  e.wBitsPerSample = 8;
  unsigned char bytes[2] = {0x00, 0xFF};
  WavByteSwapHelpers::ConvertData(bytes, 2, e, true);
  EXPECT_EQ(std::string("\x00\xFF", 2), BytesOf(bytes, 2));
  WavByteSwapHelpers::ConvertData(bytes, 2, e, false);
  EXPECT_EQ(std::string("\x80\x7F", 2), BytesOf(bytes, 2));
}

}  // namespace
