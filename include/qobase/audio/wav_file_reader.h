// Reads RIFF/WAVE files in either byte order ("RIFF" little-endian, "RIFX" big-endian): the
// format, the sampler loop, cue points with their labels, and the samples as float or 16-bit.
#pragma once

#include <qobase/audio/audio_file_reader.h>
#include <qobase/files/file.h>
#include <qobase/files/path.h>

#include <cstdint>
#include <unordered_map>
#include <vector>

class QoWavFileReader : public QoAudioFileReader {
 public:
  QoWavFileReader();
  ~QoWavFileReader() override;
  QoWavFileReader(const QoWavFileReader&) = delete;
  QoWavFileReader& operator=(const QoWavFileReader&) = delete;

  // Opens the file and checks its 12-byte container head ("RIFF" or "RIFX", then "WAVE").
  // False when the file cannot be read or is not a WAVE file; a stream that is no regular file
  // (a pipe, a device) is refused before anything is read from it.
  bool Open(const zu::Path& path);

  // Opt-in, off by default: a "fmt " body of 40 bytes or more with tag 0xFFFE whose sub-format
  // QO::IsKnownSubFormat accepts is read by the published extensible layout (valid bits at body
  // offset 18, channel mask at 20, sub-format at 24) instead of over the 44-byte record. The
  // channel configuration then comes from the stored mask, and IsFloat() is true only for the
  // IEEE float sub-format, so 32-bit integer PCM reads as integers. Every other body is read the
  // default way. Set it before ReadChunks; it stays set across Open and Close.
  void SetStandardExtensibleLayout(bool on) { m_standardLayout = on; }
  bool GetStandardExtensibleLayout() const { return m_standardLayout; }
  // The last format chunk read, as the file stores it (tag, body size, bits, valid bits, mask,
  // sub-format) and whether the published layout was used for it. All zero (bodySize 0) until a
  // format chunk is read; kept by Close like the format. 64-bit float (tag 3, 64 bits) and the
  // 8-bit A-law and mu-law formats have no float conversion: ReadPCMDataAsFloat32 leaves the
  // output untouched for them, and these facts say which format it is.
  const QoWaveFormatFacts& GetStoredFormat() const { return m_storedFormat; }

  // Walks the chunks from just after the container head, once, directly after Open. Stops
  // when every flag asked for is found or the RIFF body ends; false when a format, cue,
  // sampler or label chunk is cut short, or the format has no usable channel configuration.
  // Odd chunks with or without their pad byte, data claiming more than the file holds (cut
  // to the file) and a truncated chunk head (end of walk) are accepted. The walk never passes
  // the end of a regular file; in anything else (a pipe, a device) it ends at once.
  bool ReadChunks(unsigned int flags) override;
  unsigned int ChunksRead() const override { return m_chunksFound; }
  const WaveFormatExtensible* GetFormat() const override { return &m_format; }
  unsigned int GetChannelOrdering() const override { return m_channelOrdering; }
  // Whole frames over the sample rate; 0 without a rate.
  double GetDuration() const override;
  double GetLoopStart() const override;
  double GetLoopEnd() const override;
  unsigned int GetDataSize() const override { return m_dataSize; }
  const std::vector<QO_WAVE_MARKER>& GetMarkers() const override { return m_markers; }
  unsigned int GetLoopStartFrame() const override { return m_loopStart; }
  unsigned int GetLoopEndFrame() const override { return m_loopEnd; }
  // Data size over the block alignment; 0 without a block alignment.
  unsigned int GetNumFrames() const override;
  // Moves to frame (no bound check); the new file offset, or -1.
  long long SeekToAudioFrame(unsigned int frame) override;
  // Converts by the container width (block alignment / channels); data of another width
  // (8-bit) is consumed and counted but out is left as it was. 0 at the end of the data.
  unsigned int ReadPCMDataAsFloat32(unsigned int frames, float* out) override;

  // Reads frames as 16-bit: floats are clamped to [-1, 1] and scaled by 32767 (truncated),
  // 24-bit samples keep their two upper bytes. 0 for any other width.
  unsigned int ReadPCMDataAsInt16(unsigned int frames, short* out);

  // Closes the file and forgets the data chunk and markers; format and loop points stay.
  void Close();

  unsigned int GetNumMarkers() const { return static_cast<unsigned int>(m_markers.size()); }
  unsigned int GetCurrentDataPos() const { return m_dataPosition; }
  bool IsByteSwapped() const { return m_byteSwapped; }
  unsigned int GetDataOffset() const { return m_dataOffset; }
  // The marker with this ID; a new zeroed marker is appended when there is none. Markers keep
  // the order in which their IDs were first met. The reference is valid until the next call.
  QO_WAVE_MARKER& GetWavMarker(unsigned int id);
  bool IsFloat() const { return m_isFloat; }

 private:
  bool ReadFormatChunk(uint32_t size);
  // Takes a format record in the 44-byte layout, numbers in host order, as the reader's format.
  bool TakeFormatRecord(WAVEFORMATEXTENSIBLE& record);
  bool ReadSamplerChunk(uint32_t size);
  bool ReadCueChunk(uint32_t size);
  bool ReadListChunk(uint32_t size);
  bool Skip(long long bytes);
  void FreeMarkers();
  // Reads n frames of sample bytes into the read buffer; the bytes read.
  unsigned int ReadFrames(unsigned int n);

  WaveFormatExtensible m_format;
  unsigned int m_channelOrdering;
  bool m_isFloat;
  unsigned int m_loopStart;
  unsigned int m_loopEnd;
  std::vector<QO_WAVE_MARKER> m_markers;
  // Cue ID -> index in m_markers, so that files with many cue points read in linear time.
  std::unordered_map<uint32_t, size_t> m_markerIndex;
  zu::File m_file;
  uint32_t m_riffEnd;
  unsigned int m_chunksFound;
  uint32_t m_dataSize;
  uint32_t m_dataOffset;
  uint32_t m_dataPosition;
  bool m_byteSwapped;
  unsigned char* m_readBuffer;
  unsigned int m_readBufferCapacity;
  bool m_standardLayout;
  QoWaveFormatFacts m_storedFormat;
};
