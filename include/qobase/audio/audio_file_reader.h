// The interface through which the tool reads an audio file: format, length, loop points,
// markers, and samples converted to 32-bit float. Readers are made by Create (or constructed
// directly) and destroyed through the virtual destructor.
#pragma once

#include <qobase/audio/wave_format.h>

#include <vector>

// Chunk flags, the argument and result of ReadChunks / ChunksRead.
namespace QO {
constexpr unsigned int k_chunkFmt = 0x1;
constexpr unsigned int k_chunkData = 0x2;
constexpr unsigned int k_chunkSmpl = 0x4;
constexpr unsigned int k_chunkCue = 0x8;
constexpr unsigned int k_chunkLIST = 0x10;
// The two chunks every reader needs, the three that carry markers, and all five.
constexpr unsigned int k_chunksFormatAndData = k_chunkFmt | k_chunkData;
constexpr unsigned int k_chunksMarkers = k_chunkSmpl | k_chunkCue | k_chunkLIST;
constexpr unsigned int k_chunksAll = k_chunksFormatAndData | k_chunksMarkers;
}  // namespace QO

class QoAudioFileReader {
 public:
  virtual ~QoAudioFileReader() {}

  // Walks the file's chunks until every flag asked for is found or the file ends. True when
  // the format and data chunks, as far as they were asked for, were found.
  virtual bool ReadChunks(unsigned int flags) = 0;
  // The chunk flags found so far.
  virtual unsigned int ChunksRead() const = 0;
  // The compact format; valid while the reader lives.
  virtual const WaveFormatExtensible* GetFormat() const = 0;
  // 2 for an ambisonic configuration, else 0.
  virtual unsigned int GetChannelOrdering() const = 0;
  // Seconds.
  virtual double GetDuration() const = 0;
  virtual double GetLoopStart() const = 0;
  virtual double GetLoopEnd() const = 0;
  // Bytes of sample data.
  virtual unsigned int GetDataSize() const = 0;
  virtual const std::vector<QO_WAVE_MARKER>& GetMarkers() const = 0;
  virtual unsigned int GetLoopStartFrame() const = 0;
  virtual unsigned int GetLoopEndFrame() const = 0;
  virtual unsigned int GetNumFrames() const = 0;
  // Positions the next read at frame; required before the first read.
  virtual long long SeekToAudioFrame(unsigned int frame) = 0;
  // Reads up to frames frames as interleaved floats into out (frames x channels floats) and
  // returns the frames read; 0 at the end of the data.
  virtual unsigned int ReadPCMDataAsFloat32(unsigned int frames, float* out) = 0;

  // Opens path with the reader its extension names (".wav", ".amb", ".zem", any ASCII case);
  // chunks are not read yet. Null for any other extension or a file that does not open as
  // RIFF/RIFX WAVE. The caller owns the reader.
  static QoAudioFileReader* Create(const char* path);

  // Converts numChannels x numFrames samples of the given container width to float: 16 bits
  // scaled by 2^-15, 24 bits (3 bytes) by 2^-23, 32 bits copied when isFloat is 1, else scaled
  // by 2^-31; byteSwap reads big-endian samples. Any other width: false, nothing written.
  static bool ConvertToFloat32(void* in, float* out, unsigned int bitsPerSample,
                               unsigned int numChannels, unsigned int isFloat,
                               unsigned int numFrames, bool byteSwap);
};
