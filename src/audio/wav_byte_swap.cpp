// Byte-order reversal of the WAVE records and sample buffers of big-endian ("RIFX") files.
#include <qobase/audio/wav_byte_swap.h>

#include <cstring>

namespace {

void Swap(uint16_t& v) { v = WavByteSwapHelpers::Swap16(v); }
void Swap(uint32_t& v) { v = WavByteSwapHelpers::Swap32(v); }

// The leading fields that both aligned format records share, cbSize included.
template <typename Format>
void SwapBasicFormatFields(Format& format) {
  Swap(format.wFormatTag);
  Swap(format.nChannels);
  Swap(format.nSamplesPerSec);
  Swap(format.nAvgBytesPerSec);
  Swap(format.nBlockAlign);
  Swap(format.wBitsPerSample);
  Swap(format.cbSize);
}

void ConvertSamples(unsigned char* data, unsigned int size, unsigned int bitsPerSample,
                    bool keep8Bit) {
  if (data == nullptr) return;
  if (bitsPerSample == 16) {
    // Only whole words are swapped: a trailing partial word stays, as nothing past size is touched.
    for (unsigned int i = 0; i + 1 < size; i += 2) {
      const unsigned char t = data[i];
      data[i] = data[i + 1];
      data[i + 1] = t;
    }
  } else if (bitsPerSample == 32) {
    for (unsigned int i = 0; i + 3 < size; i += 4) {
      uint32_t v;
      std::memcpy(&v, data + i, 4);
      v = WavByteSwapHelpers::Swap32(v);
      std::memcpy(data + i, &v, 4);
    }
  } else if (bitsPerSample == 8 && !keep8Bit) {
    for (unsigned int i = 0; i < size; ++i) data[i] ^= 0x80;
  }
}

}  // namespace

void WavByteSwapHelpers::Convert(RIFFHEADER& header) { Swap(header.size); }

void WavByteSwapHelpers::Convert(tWAVEFORMATEX& format) {
  // The record is packed: swap through aligned copies.
  uint16_t tag = format.wFormatTag, channels = format.nChannels, align = format.nBlockAlign,
           bits = format.wBitsPerSample, cb = format.cbSize;
  uint32_t rate = format.nSamplesPerSec, avg = format.nAvgBytesPerSec;
  Swap(tag);
  Swap(channels);
  Swap(rate);
  Swap(avg);
  Swap(align);
  Swap(bits);
  Swap(cb);
  format.wFormatTag = tag;
  format.nChannels = channels;
  format.nSamplesPerSec = rate;
  format.nAvgBytesPerSec = avg;
  format.nBlockAlign = align;
  format.wBitsPerSample = bits;
  format.cbSize = cb;
}

void WavByteSwapHelpers::Convert(WAVEFORMATEXTENSIBLE& format) {
  SwapBasicFormatFields(format);
  Swap(format.wValidBitsPerSample);
  Swap(format.dwChannelMask);
}

void WavByteSwapHelpers::Convert(StandardWaveFormatExtensible& format) {
  Convert(format.Format);
  // Packed fields: swapped through aligned copies.
  uint16_t valid = format.wValidBitsPerSample;
  uint32_t mask = format.dwChannelMask;
  Swap(valid);
  Swap(mask);
  format.wValidBitsPerSample = valid;
  format.dwChannelMask = mask;
}

void WavByteSwapHelpers::Convert(WaveFormatExtensible& format) {
  SwapBasicFormatFields(format);
  Swap(format.wReserved);
  Swap(format.channelConfig);
}

void WavByteSwapHelpers::Convert(SAMPLER& sampler) {
  Swap(sampler.dwManufacturer);
  Swap(sampler.dwProduct);
  Swap(sampler.dwSamplePeriod);
  Swap(sampler.dwMIDIUnityNote);
  Swap(sampler.dwMIDIPitchFraction);
  Swap(sampler.dwSMPTEFormat);
  Swap(sampler.dwSMPTEOffset);
  Swap(sampler.cSampleLoops);
  Swap(sampler.cbSamplerData);
}

void WavByteSwapHelpers::Convert(SAMPLER_LOOP& loop) {
  Swap(loop.dwIdentifier);
  Swap(loop.dwType);
  Swap(loop.dwStart);
  Swap(loop.dwEnd);
  Swap(loop.dwFraction);
  Swap(loop.dwPlayCount);
}

void WavByteSwapHelpers::Convert(WAV_CUE& cue) {
  Swap(cue.dwName);
  Swap(cue.dwPosition);
  Swap(cue.dwChunkStart);
  Swap(cue.dwBlockStart);
  Swap(cue.dwSampleOffset);
}

void WavByteSwapHelpers::ConvertData(unsigned char* data, unsigned int size,
                                     const WaveFormatExtensible& format, bool keep8Bit) {
  ConvertSamples(data, size, format.wBitsPerSample, keep8Bit);
}

void WavByteSwapHelpers::ConvertData(unsigned char* data, unsigned int size,
                                     const WAVEFORMATEXTENSIBLE& format, bool keep8Bit) {
  ConvertSamples(data, size, format.wBitsPerSample, keep8Bit);
}
