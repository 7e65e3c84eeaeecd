// Reads Core Audio Format (CAF) files holding linear PCM: QoCAFReader walks the chunks through
// an IQoSimpleStream ("desc", "chan", a channel-conversion matrix in a "uuid" chunk, "data");
// QoCAFFileReader presents a CAF file through the QoAudioFileReader interface. Numbers in a CAF
// file are big-endian; samples are in the byte order the description gives.
#pragma once

#include <qobase/audio/audio_file_reader.h>
#include <qobase/result_code.h>
#include <qobase/streams/plugin_mem_alloc.h>
#include <qobase/streams/simple_stream.h>

#include <cstdint>
#include <vector>

class QoCAFReader {
 public:
  // allocator allocates the channel matrix; it must outlive the reader.
  explicit QoCAFReader(QO::IQoPluginMemAlloc* allocator);
  // Frees the matrix through the allocator.
  virtual ~QoCAFReader();
  QoCAFReader(const QoCAFReader&) = delete;
  QoCAFReader& operator=(const QoCAFReader&) = delete;

  // Reads from stream (not owned). Returns QO::k_resultSuccess.
  QO::ResultCode Init(IQoSimpleStream* stream);

  // Runs the chunk walk up to the "data" chunk and leaves the stream at the first sample.
  // QO::k_resultSuccess on success (also when called again), k_resultFailure for a malformed
  // file, one that ends early or a chunk head read past the stream's size (a pipe, a device:
  // their walk ends at once), k_resultInvalidFile for a matrix that does not fit the channels or
  // a second matrix, k_resultOutOfMemory when the matrix cannot be allocated, or a code returned
  // by the stream or by OnUnknownChunk.
  unsigned int ReadChunks();

  // Called with the body of every chunk the reader does not know and the number of body bytes
  // read (the low 32 bits of the size the file claims); anything but QO::k_resultSuccess stops
  // the walk with
  // that result.
  virtual unsigned int OnUnknownChunk(void* body, long long size);

  unsigned int GetSampleRate() const { return m_sampleRate; }
  QoChannelConfig GetChannelConfig() const { return m_channelConfig; }
  unsigned int GetBitsPerSample() const { return m_sampleFormat & 0x3F; }
  unsigned int GetBytesPerFrame() const { return (m_sampleFormat >> 6) & 0x3FF; }
  // 1 for IEEE float samples, 0 for integers.
  unsigned int GetSampleType() const { return (m_sampleFormat >> 16) & 0x3; }
  unsigned long long GetDataOffset() const { return m_dataOffset; }
  unsigned long long GetDataSize() const { return m_dataSize; }
  // True when the samples are big-endian.
  bool IsByteSwapped() const { return m_byteSwap; }
  // R x N coefficients (input-major) in native floats, or null without a matrix.
  const float* GetMatrix() const { return m_matrix; }
  unsigned int GetMatrixOutputs() const { return m_matrixOutputs; }
  unsigned int GetMatrixInputs() const { return m_matrixInputs; }

 private:
  unsigned int ReadChunkBody();
  unsigned int ReadDescription(const unsigned char* body, uint32_t size);
  void ReadChannelLayout(const unsigned char* body, uint32_t size);
  unsigned int ReadMatrix(const unsigned char* body, uint32_t size);

  uint32_t m_chunkType;
  unsigned long long m_chunkSize;
  QO::IQoPluginMemAlloc* m_allocator;
  IQoSimpleStream* m_stream;
  unsigned int m_matrixOutputs;
  unsigned int m_matrixInputs;
  float* m_matrix;
  unsigned int m_state;
  unsigned int m_sampleRate;
  QoChannelConfig m_channelConfig;
  unsigned int m_sampleFormat;
  unsigned long long m_dataOffset;
  unsigned long long m_dataSize;
  bool m_byteSwap;
};

class QoCAFFileReader : public QoAudioFileReader {
 public:
  QoCAFFileReader();
  ~QoCAFFileReader() override;

  // Opens the file for reading; false when it cannot be opened or is no regular file (a pipe,
  // a device), which is refused before it is opened.
  bool Open(const char* path);
  // Does nothing: the file is closed by the destructor.
  void Close() {}

  // Walks the file (flags ignored) and fills the format; false when the walk fails or the
  // description cannot be read as samples.
  bool ReadChunks(unsigned int flags) override;
  unsigned int ChunksRead() const override { return 0x3; }
  const WaveFormatExtensible* GetFormat() const override { return &m_format; }
  unsigned int GetChannelOrdering() const override { return 0; }
  double GetDuration() const override;
  double GetLoopStart() const override { return 0.0; }
  double GetLoopEnd() const override { return 0.0; }
  unsigned int GetDataSize() const override {
    return static_cast<unsigned int>(m_reader.GetDataSize());
  }
  // Always empty: CAF files carry no markers here.
  const std::vector<QO_WAVE_MARKER>& GetMarkers() const override;
  unsigned int GetLoopStartFrame() const override { return 0; }
  unsigned int GetLoopEndFrame() const override { return 0; }
  unsigned int GetNumFrames() const override;
  // Positions the stream at frame; QO::k_resultSuccess, or k_resultFailure without a file.
  long long SeekToAudioFrame(unsigned int frame) override;
  // Reads frames as float; with a matrix, the stored channels are mixed to the matrix outputs.
  unsigned int ReadPCMDataAsFloat32(unsigned int frames, float* out) override;

 private:
  bool HasMatrixMix() const;

  QoSimpleStreamStdio m_stream;
  QoCAFReader m_reader;
  WaveFormatExtensible m_format;
  unsigned int m_readFrameSize;
  std::vector<float> m_mixBuffer;
};
