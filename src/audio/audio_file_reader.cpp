// The sample conversion every audio file reader shares: stored samples to 32-bit float.
#include <qobase/audio/audio_file_reader.h>

#include "audio/sample_conversion.h"

bool QoAudioFileReader::ConvertToFloat32(void* in, float* out, unsigned int bitsPerSample,
                                         unsigned int numChannels, unsigned int isFloat,
                                         unsigned int numFrames, bool byteSwap) {
  const size_t count = static_cast<size_t>(numChannels) * numFrames;
  const unsigned char* bytes = static_cast<const unsigned char*>(in);
  switch (bitsPerSample) {
    case 16:
      qobase_audio::Int16ToFloat(bytes, out, count, byteSwap);
      return true;
    case 24:
      qobase_audio::Int24ToFloat(bytes, out, count, byteSwap);
      return true;
    case 32:
      if (isFloat == 1) {
        qobase_audio::Float32ToFloat(bytes, out, count, byteSwap);
      } else {
        qobase_audio::Int32ToFloat(bytes, out, count, byteSwap);
      }
      return true;
    default:
      return false;
  }
}
