// QoWavFileWriter: one-pass writing of a WAVE file, its marker chunks and its samples.
#include <qobase/audio/wav_byte_swap.h>
#include <qobase/audio/wav_file_writer.h>
#include <qobase/files/directory_operations.h>
#include <qobase/result_code.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

#include "audio/riff_records.h"
#include "audio/sample_conversion.h"

namespace {

// The writer reads only the fields the two format records share at the same offsets.
template <typename T>
T FieldAt(const void* record, size_t offset) {
  T v;
  std::memcpy(&v, static_cast<const unsigned char*>(record) + offset, sizeof(T));
  return v;
}

constexpr size_t k_streamBufferSize = 1024 * 1024;

struct FreeDeleter {
  void operator()(void* p) const { std::free(p); }
};

}  // namespace

QoWavFileWriter::QoWavFileWriter()
    : m_chunksWritten(0),
      m_dataStart(0),
      m_dataBytes(0),
      m_loopStart(0),
      m_loopEnd(0),
      m_bigEndian(false),
      m_formatEx(nullptr),
      m_format(nullptr) {}

QoWavFileWriter::~QoWavFileWriter() {
  delete m_formatEx;
  delete m_format;
  m_formatEx = nullptr;
  m_format = nullptr;
  Close();
  FreeMarkers();
}

void QoWavFileWriter::FreeMarkers() {
  for (QO_WAVE_MARKER& marker : m_markers) std::free(marker.label);
  m_markers.clear();
}

const void* QoWavFileWriter::GetFmtEx() const {
  if (m_formatEx != nullptr) return m_formatEx;
  return m_format;
}

unsigned int QoWavFileWriter::Channels() const {
  const void* format = GetFmtEx();
  return format ? FieldAt<uint16_t>(format, 2) : 0;
}

unsigned int QoWavFileWriter::SampleRate() const {
  const void* format = GetFmtEx();
  return format ? FieldAt<uint32_t>(format, 4) : 0;
}

unsigned int QoWavFileWriter::BlockAlign() const {
  const void* format = GetFmtEx();
  return format ? FieldAt<uint16_t>(format, 12) : 0;
}

bool QoWavFileWriter::Open(const zu::Path& path, bool bigEndian) {
  if (m_file.IsOpen()) return false;
  const CStdStr parent = path.GetParent();
  if (!parent.empty()) zu::EnsureDirectoryExists(parent);
  if (m_file.Open(path, k_openModeWrite, 0) != QO::k_resultSuccess) return false;
  // Samples arrive in blocks of a few thousand frames: a large stream buffer turns them into
  // few large writes.
  if (!m_streamBuffer) m_streamBuffer.reset(new (std::nothrow) char[k_streamBufferSize]);
  if (m_streamBuffer && m_file.GetStream() != nullptr) {
    setvbuf(m_file.GetStream(), m_streamBuffer.get(), _IOFBF, k_streamBufferSize);
  }
  m_bigEndian = bigEndian;
  m_chunksWritten = 0;
  m_dataStart = 0;
  m_dataBytes = 0;
  uint32_t head[3] = {bigEndian ? QO::k_fccRIFX : QO::k_fccRIFF, 0, QO::k_fccWAVE};
  return m_file.Write(head, sizeof(head));
}

void QoWavFileWriter::SetFormat(const WAVEFORMATEXTENSIBLE& format) {
  if (m_formatEx == nullptr) m_formatEx = new WAVEFORMATEXTENSIBLE;
  *m_formatEx = format;
}

void QoWavFileWriter::SetFormat(const WaveFormatExtensible& format) {
  if (m_format == nullptr) m_format = new WaveFormatExtensible;
  *m_format = format;
}

void QoWavFileWriter::SetLoopPoints(unsigned int start, unsigned int end) {
  m_loopStart = start;
  m_loopEnd = end;
}

void QoWavFileWriter::SetMarkers(const std::vector<QO_WAVE_MARKER>& markers) {
  m_markers.reserve(m_markers.size() + markers.size());
  for (const QO_WAVE_MARKER& marker : markers) {
    QO_WAVE_MARKER copy = {marker.ID, marker.position, 0, nullptr};
    if (marker.labelSize != 0 && marker.label != nullptr) {
      copy.label = static_cast<char*>(std::malloc(marker.labelSize));
      if (copy.label != nullptr) {
        std::memcpy(copy.label, marker.label, marker.labelSize);
        copy.labelSize = marker.labelSize;
      }
    }
    m_markers.push_back(copy);
  }
}

bool QoWavFileWriter::WriteRIFFHeader(unsigned int id, unsigned int size) {
  std::vector<unsigned char> head;
  qobase_audio::AppendChunkHead(head, id, size, m_bigEndian);
  return m_file.Write(head.data(), static_cast<unsigned int>(head.size()));
}

bool QoWavFileWriter::WriteChunk_FMT() {
  if (m_formatEx != nullptr) {
    WAVEFORMATEXTENSIBLE record = *m_formatEx;
    if (m_bigEndian) WavByteSwapHelpers::Convert(record);
    if (!WriteRIFFHeader(QO::k_fccFmt, sizeof(record)) || !m_file.Write(&record, sizeof(record)))
      return false;
  } else if (m_format != nullptr) {
    WaveFormatExtensible record = *m_format;
    if (m_bigEndian) WavByteSwapHelpers::Convert(record);
    if (!WriteRIFFHeader(QO::k_fccFmt, sizeof(record)) || !m_file.Write(&record, sizeof(record)))
      return false;
  } else {
    return false;
  }
  m_chunksWritten |= QO::k_chunkFmt;
  return true;
}

bool QoWavFileWriter::WriteChunk_SMPL() {
  SAMPLER sampler;
  std::memset(&sampler, 0, sizeof(sampler));
  sampler.dwSamplePeriod = SampleRate();
  sampler.cSampleLoops = 1;
  SAMPLER_LOOP loop;
  std::memset(&loop, 0, sizeof(loop));
  loop.dwStart = m_loopStart;
  loop.dwEnd = m_loopEnd;
  std::vector<unsigned char> chunk;
  qobase_audio::AppendChunkHead(chunk, QO::k_fccSmpl,
                                qobase_audio::k_samplerHeadSize + qobase_audio::k_samplerLoopSize,
                                m_bigEndian);
  qobase_audio::AppendSamplerHead(chunk, sampler, m_bigEndian);
  qobase_audio::AppendSamplerLoop(chunk, loop, m_bigEndian);
  return m_file.Write(chunk.data(), static_cast<unsigned int>(chunk.size()));
}

bool QoWavFileWriter::WriteChunk_CUE() {
  std::vector<WAV_CUE> cues;
  cues.reserve(m_markers.size());
  for (const QO_WAVE_MARKER& marker : m_markers)
    cues.push_back(WAV_CUE{marker.ID, marker.position, QO::k_fccData, 0, 0, 0});
  const size_t bodySize = 4 + qobase_audio::k_cueRecordSize * cues.size();
  std::vector<unsigned char> chunk;
  chunk.reserve(qobase_audio::k_chunkHeadSize + bodySize);
  qobase_audio::AppendChunkHead(chunk, QO::k_fccCue, static_cast<uint32_t>(bodySize), m_bigEndian);
  qobase_audio::AppendCueBody(chunk, cues.data(), cues.size(), m_bigEndian);
  return m_file.Write(chunk.data(), static_cast<unsigned int>(chunk.size()));
}

bool QoWavFileWriter::WriteChunk_LIST() {
  unsigned long long listSize = 4;
  for (const QO_WAVE_MARKER& marker : m_markers) {
    if (marker.labelSize != 0) listSize += qobase_audio::LabelSubChunkSize(marker.labelSize);
  }
  if (listSize == 4) return true;  // no label to write
  if (listSize > 0xFFFFFFFFull) return false;
  std::vector<unsigned char> chunk;
  chunk.reserve(static_cast<size_t>(qobase_audio::k_chunkHeadSize + listSize));
  qobase_audio::AppendListHead(chunk, static_cast<uint32_t>(listSize), QO::k_fccAdtl, m_bigEndian);
  for (const QO_WAVE_MARKER& marker : m_markers) {
    if (marker.labelSize == 0) continue;
    qobase_audio::AppendLabel(chunk, marker.ID, marker.label, marker.labelSize, m_bigEndian);
  }
  return m_file.Write(chunk.data(), static_cast<unsigned int>(chunk.size()));
}

bool QoWavFileWriter::WriteChunk_DATA() {
  if (!WriteRIFFHeader(QO::k_fccData, 0)) return false;
  m_chunksWritten |= QO::k_chunkData;
  return true;
}

bool QoWavFileWriter::WriteChunks(unsigned int flags) {
  if (!m_file.IsOpen() || !WriteChunk_FMT()) return false;
  if ((flags & QO::k_chunkSmpl) && !WriteChunk_SMPL()) return false;
  if ((flags & QO::k_chunkCue) && !m_markers.empty() && !WriteChunk_CUE()) return false;
  if ((flags & QO::k_chunkLIST) && !m_markers.empty() && !WriteChunk_LIST()) return false;
  if (!WriteChunk_DATA()) return false;
  const long long position = m_file.SetFilePointer(0, zu::k_fileCurrent);
  if (position < 0) return false;
  m_dataStart = static_cast<uint32_t>(position);
  return true;
}

bool QoWavFileWriter::WriteSamples(const void* bytes, size_t size, unsigned int frames) {
  const unsigned long long expected = static_cast<unsigned long long>(BlockAlign()) * frames;
  if (size > 0xFFFFFFFFull) return false;
  unsigned int written = 0;
  m_file.Write(bytes, static_cast<unsigned int>(size), written);
  m_dataBytes += written;
  return written == expected;
}

bool QoWavFileWriter::WriteInt16AsPCMData(unsigned int frames, short* samples) {
  const unsigned int channels = Channels();
  if (channels == 0 || static_cast<uint16_t>(BlockAlign() / channels) != 2 || !m_file.IsOpen())
    return false;
  const size_t count = static_cast<size_t>(channels) * frames;
  if (!m_bigEndian) return WriteSamples(samples, count * 2, frames);
  std::unique_ptr<unsigned char, FreeDeleter> buffer(
      static_cast<unsigned char*>(std::malloc(count * 2 + 1)));
  if (!buffer) return false;
  qobase_audio::CopyInt16(samples, buffer.get(), count, true);
  return WriteSamples(buffer.get(), count * 2, frames);
}

bool QoWavFileWriter::WriteReal32AsPCMData(unsigned int frames, float* samples) {
  const unsigned int channels = Channels();
  if (channels == 0 || !m_file.IsOpen()) return false;
  const unsigned int k = BlockAlign() / channels;
  if (k < 2 || k > 4) return false;
  const size_t count = static_cast<size_t>(channels) * frames;
  if (k == 4 && !m_bigEndian) return WriteSamples(samples, count * 4, frames);
  std::unique_ptr<unsigned char, FreeDeleter> buffer(
      static_cast<unsigned char*>(std::malloc(count * k + 1)));
  if (!buffer) return false;
  if (k == 4) {
    qobase_audio::FloatToFloat32(samples, buffer.get(), count, true);
  } else if (k == 3) {
    qobase_audio::FloatToInt24(samples, buffer.get(), count, m_bigEndian);
  } else {
    qobase_audio::FloatToInt16(samples, buffer.get(), count, m_bigEndian);
  }
  return WriteSamples(buffer.get(), count * k, frames);
}

bool QoWavFileWriter::Close() {
  if (m_file.IsOpen()) {
    // Seeking to the end also flushes what is buffered, so the size is that of all bytes written.
    const long long size = m_file.SetFilePointer(0, zu::k_fileEnd);
    if (size < 8) return false;
    const uint32_t riffSize =
        qobase_audio::FileOrder32(static_cast<uint32_t>(size - 8), m_bigEndian);
    if (m_file.SetFilePointer(4, zu::k_fileBegin) < 0 || !m_file.Write(&riffSize, 4)) return false;
    if (m_dataStart != 0) {
      const uint32_t dataSize = qobase_audio::FileOrder32(m_dataBytes, m_bigEndian);
      if (m_file.SetFilePointer(static_cast<long long>(m_dataStart) - 4, zu::k_fileBegin) < 0 ||
          !m_file.Write(&dataSize, 4)) {
        return false;
      }
    }
    m_chunksWritten = 0;
    m_dataStart = 0;
    m_dataBytes = 0;
    m_file.Close();
  }
  m_loopStart = 0;
  m_loopEnd = 0;
  FreeMarkers();
  return true;
}
