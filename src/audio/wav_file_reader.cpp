// QoWavFileReader: the chunk walk of a WAVE file, its format, loop and markers, and sample reads.
#include <qobase/audio/wav_byte_swap.h>
#include <qobase/audio/wav_file_reader.h>
#include <qobase/result_code.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "audio/chunk_io.h"
#include "audio/format_layout.h"
#include "audio/riff_records.h"
#include "audio/sample_conversion.h"

QoWavFileReader::QoWavFileReader()
    : m_format(),
      m_channelOrdering(0),
      m_isFloat(false),
      m_loopStart(0),
      m_loopEnd(0),
      m_riffEnd(0),
      m_chunksFound(0),
      m_dataSize(0),
      m_dataOffset(0),
      m_dataPosition(0),
      m_byteSwapped(false),
      m_readBuffer(nullptr),
      m_readBufferCapacity(0),
      m_standardLayout(false),
      m_storedFormat() {}

QoWavFileReader::~QoWavFileReader() {
  Close();
  std::free(m_readBuffer);
}

bool QoWavFileReader::Skip(long long bytes) {
  return bytes == 0 || m_file.SetFilePointer(bytes, zu::k_fileCurrent) >= 0;
}

void QoWavFileReader::FreeMarkers() {
  for (QO_WAVE_MARKER& marker : m_markers) std::free(marker.label);
  m_markers.clear();
  m_markerIndex.clear();
}

bool QoWavFileReader::Open(const zu::Path& path) {
  if (m_file.IsOpen()) Close();
  if (m_file.Open(path, k_openModeRead, 0) != QO::k_resultSuccess) return false;
  // Only a regular file can be walked (see GetWalkLimit): refuse anything else before reading
  // its head, which a pipe whose writer never writes would wait for without end.
  if (qobase_audio::GetWalkLimit(m_file) < 12) {
    m_file.Close();
    return false;
  }
  unsigned char head[12];
  unsigned int got = 0;
  if (!m_file.Read(head, sizeof(head), got) || got != sizeof(head)) {
    m_file.Close();
    return false;
  }
  uint32_t id, riffSize, form;
  std::memcpy(&id, head, 4);
  std::memcpy(&riffSize, head + 4, 4);
  std::memcpy(&form, head + 8, 4);
  if ((id != QO::k_fccRIFF && id != QO::k_fccRIFX) || form != QO::k_fccWAVE) {
    m_file.Close();
    return false;
  }
  m_byteSwapped = (id == QO::k_fccRIFX);
  const unsigned long long declaredEnd =
      static_cast<unsigned long long>(qobase_audio::FileOrder32(riffSize, m_byteSwapped)) + 8;
  // A stream that is no regular file has no end to walk to: its walk ends at once.
  const unsigned long long end =
      std::min<unsigned long long>(declaredEnd, qobase_audio::GetWalkLimit(m_file));
  m_riffEnd = static_cast<uint32_t>(std::min<unsigned long long>(end, 0xFFFFFFFFull));
  return true;
}

bool QoWavFileReader::ReadChunks(unsigned int flags) {
  if (!m_file.IsOpen()) return false;
  // Walk position counted from file offset 8, so p + 8 is the offset of the next chunk head.
  unsigned long long p = 4;
  bool previousOdd = false;
  for (;;) {
    if (p + 8 > m_riffEnd) break;
    RIFFHEADER header;
    unsigned int got = 0;
    if (!m_file.Read(&header, sizeof(header), got)) return false;
    if (got < sizeof(header)) break;
    if (previousOdd && (header.chunkID & 0xFF) == 0) {
      // The byte read first was the pad byte after an odd chunk: the head starts one later.
      if (m_file.SetFilePointer(-7, zu::k_fileCurrent) < 0) return false;
      ++p;
      if (p + 8 > m_riffEnd) break;
      if (!m_file.Read(&header, sizeof(header), got)) return false;
      if (got < sizeof(header)) break;
    }
    header = qobase_audio::DecodeChunkHead(&header, m_byteSwapped);
    const uint32_t size = header.size;
    switch (header.chunkID) {
      case QO::k_fccFmt:
        if (!ReadFormatChunk(size)) return false;
        m_chunksFound |= QO::k_chunkFmt;
        break;
      case QO::k_fccData: {
        const long long offset = m_file.SetFilePointer(0, zu::k_fileCurrent);
        if (offset < 0) return false;
        m_dataSize = size;
        m_dataOffset = static_cast<uint32_t>(offset);
        const unsigned long long claimedEnd =
            static_cast<unsigned long long>(m_dataOffset) + m_dataSize;
        if (m_dataOffset <= m_riffEnd && m_riffEnd < claimedEnd)
          m_dataSize = m_riffEnd - m_dataOffset;
        // A head read right at the RIFF end claims data outside the body: cut it to the file
        // all the same, so the frames counted are frames a read can deliver.
        const unsigned long long fileSize = m_file.GetFileSize();
        if (static_cast<unsigned long long>(m_dataOffset) + m_dataSize > fileSize)
          m_dataSize = m_dataOffset < fileSize ? static_cast<uint32_t>(fileSize - m_dataOffset) : 0;
        m_dataPosition = 0;
        m_chunksFound |= QO::k_chunkData;
        if (!Skip(m_dataSize)) return false;
        break;
      }
      case QO::k_fccSmpl:
        if (!ReadSamplerChunk(size)) return false;
        m_chunksFound |= QO::k_chunkSmpl;
        break;
      case QO::k_fccCue:
        if (!ReadCueChunk(size)) return false;
        m_chunksFound |= QO::k_chunkCue;
        break;
      case QO::k_fccLIST:
        if (!ReadListChunk(size)) return false;
        m_chunksFound |= QO::k_chunkLIST;
        break;
      default:
        if (!Skip(size)) return false;
        break;
    }
    p += 8ull + size;
    previousOdd = (size & 1) != 0;
    if ((m_chunksFound & flags) == flags) break;
  }
  const unsigned int required = flags & (QO::k_chunkFmt | QO::k_chunkData);
  return (m_chunksFound & required) == required;
}

bool QoWavFileReader::ReadFormatChunk(uint32_t size) {
  WAVEFORMATEXTENSIBLE record;
  std::memset(&record, 0, sizeof(record));
  const unsigned int wanted = std::min<uint32_t>(size, sizeof(record));
  unsigned int got = 0;
  if (!m_file.Read(&record, wanted, got) || got != wanted) return false;
  if (size > sizeof(record) &&
      !Skip(static_cast<long long>(size) - static_cast<long long>(sizeof(record)))) {
    return false;
  }
  m_storedFormat = qobase_audio::ReadFormatFacts(record, size, m_byteSwapped);
  if (m_standardLayout && qobase_audio::HasKnownStandardLayout(m_storedFormat)) {
    m_storedFormat.standardLayoutUsed = true;
    record = qobase_audio::StandardLayoutRecord(record, m_byteSwapped);
    m_isFloat = (record.SubFormat == ks_dataformat_ieee_float);
    return TakeFormatRecord(record);
  }
  if (wanted == sizeof(WaveFormatExtensible)) {
    WaveFormatExtensible compact;
    std::memcpy(&compact, &record, sizeof(compact));
    if (m_byteSwapped) WavByteSwapHelpers::Convert(compact);
    if (compact.wFormatTag == QO::k_waveFormatExtensible) {
      // The compact form, taken as it is. It is swapped with its own overload so that the
      // channel configuration, one u32, survives a big-endian file.
      m_format = compact;
      m_format.cbSize = 4;
      m_isFloat = (m_format.wBitsPerSample == 32);
      return true;
    }
  }
  if (m_byteSwapped) WavByteSwapHelpers::Convert(record);

  if (record.wFormatTag == QO::k_waveFormatPcm || record.wFormatTag == QO::k_waveFormatIeeeFloat) {
    record.SubFormat =
        record.wFormatTag == QO::k_waveFormatPcm ? ks_dataformat_pcm : ks_dataformat_ieee_float;
    record.dwChannelMask = QO::GetDefaultChannelMask(record.nChannels);
    record.wFormatTag = QO::k_waveFormatExtensible;
    record.wValidBitsPerSample = 0;
  }
  m_isFloat = (record.SubFormat != ks_dataformat_pcm);
  return TakeFormatRecord(record);
}

bool QoWavFileReader::TakeFormatRecord(WAVEFORMATEXTENSIBLE& record) {
  const QoChannelConfig config = QO::SetChannelConfigFromWAVEFORMATEXTENSIBLE(record);
  if (QO::GetChannelConfigNumChannels(config) == 0) return false;
  record.nChannels = static_cast<uint16_t>(QO::GetChannelConfigNumChannels(config));
  const uint16_t minimumAlign =
      static_cast<uint16_t>(static_cast<uint16_t>(record.wBitsPerSample * record.nChannels) / 8);
  record.nBlockAlign = std::max(record.nBlockAlign, minimumAlign);

  std::memcpy(&m_format, &record, 20);
  m_format.cbSize = 4;
  m_format.channelConfig = config;
  m_channelOrdering = QO::GetChannelConfigType(config) == QO::k_channelConfigAmbisonic ? 2 : 0;
  return true;
}

bool QoWavFileReader::ReadSamplerChunk(uint32_t size) {
  constexpr uint32_t k_oneLoop = qobase_audio::k_samplerHeadSize + qobase_audio::k_samplerLoopSize;
  if (size < k_oneLoop) return Skip(size);
  unsigned char body[k_oneLoop];
  unsigned int got = 0;
  if (!m_file.Read(body, k_oneLoop, got) || got != k_oneLoop) return false;
  const SAMPLER_LOOP loop =
      qobase_audio::DecodeSamplerLoop(body + qobase_audio::k_samplerHeadSize, m_byteSwapped);
  m_loopStart = loop.dwStart;
  m_loopEnd = loop.dwEnd;
  return Skip(size - k_oneLoop);
}

bool QoWavFileReader::ReadCueChunk(uint32_t size) {
  uint32_t count = 0;
  unsigned int got = 0;
  if (!m_file.Read(&count, 4, got) || got != 4) return false;
  count = qobase_audio::FileOrder32(count, m_byteSwapped);
  for (uint32_t i = 0; i < count; ++i) {
    unsigned char stored[qobase_audio::k_cueRecordSize];
    if (!m_file.Read(stored, sizeof(stored), got) || got != sizeof(stored)) return false;
    const WAV_CUE cue = qobase_audio::DecodeCue(stored, m_byteSwapped);
    GetWavMarker(cue.dwName).position = cue.dwPosition;
  }
  const unsigned long long used =
      4ull + static_cast<unsigned long long>(qobase_audio::k_cueRecordSize) * count;
  if (used < size) return Skip(static_cast<long long>(size - used));
  return true;
}

bool QoWavFileReader::ReadListChunk(uint32_t size) {
  uint32_t listType = 0;
  unsigned int got = 0;
  if (!m_file.Read(&listType, 4, got) || got != 4) return false;
  if (listType != QO::k_fccAdtl) return Skip(static_cast<long long>(size) - 4);
  if (size < 5) return true;
  const long long fileSize = m_file.GetFileSize();
  unsigned long long q = 4;
  while (q < size) {
    unsigned char head[qobase_audio::k_chunkHeadSize];
    if (!m_file.Read(head, sizeof(head), got) || got != sizeof(head)) return false;
    const RIFFHEADER sub = qobase_audio::DecodeChunkHead(head, m_byteSwapped);
    const uint32_t z = sub.size;
    if (sub.chunkID == QO::k_fccLabl && z >= 4) {
      uint32_t id = 0;
      if (!m_file.Read(&id, 4, got) || got != 4) return false;
      id = qobase_audio::FileOrder32(id, m_byteSwapped);
      // The text, and its pad byte when the size is odd.
      const uint32_t toRead = static_cast<uint32_t>(qobase_audio::PaddedSize(z - 4));
      // A label that claims more than the file holds would be a short read: refuse it before
      // allocating anything.
      const long long here = m_file.SetFilePointer(0, zu::k_fileCurrent);
      if (here < 0 || fileSize < 0 || static_cast<unsigned long long>(fileSize - here) < toRead)
        return false;
      char* text = static_cast<char*>(std::malloc(static_cast<size_t>(toRead) + 1));
      if (text == nullptr) return false;
      if (!m_file.Read(text, toRead, got) || got != toRead) {
        std::free(text);
        return false;
      }
      // Not counted in the label size: a terminator so that the text is always a C string.
      text[toRead] = '\0';
      QO_WAVE_MARKER& marker = GetWavMarker(id);
      std::free(marker.label);
      marker.label = text;
      marker.labelSize = z - 4;
      q += 8ull + 4 + toRead;
    } else {
      if (!Skip(z)) return false;
      q += 8ull + z;
    }
    if (z & 1) {
      unsigned char pad = 0;
      if (!m_file.Read(&pad, 1, got) || got != 1) return true;
      if (pad == 0) {
        ++q;
      } else if (m_file.SetFilePointer(-1, zu::k_fileCurrent) < 0) {
        return false;
      }
    }
  }
  return true;
}

QO_WAVE_MARKER& QoWavFileReader::GetWavMarker(unsigned int id) {
  const auto found = m_markerIndex.find(id);
  if (found != m_markerIndex.end()) return m_markers[found->second];
  QO_WAVE_MARKER marker = {id, 0, 0, nullptr};
  m_markers.push_back(marker);
  m_markerIndex.emplace(id, m_markers.size() - 1);
  return m_markers.back();
}

void QoWavFileReader::Close() {
  if (m_file.IsOpen()) m_file.Close();
  m_chunksFound = 0;
  m_dataSize = 0;
  m_dataOffset = 0;
  FreeMarkers();
}

unsigned int QoWavFileReader::GetNumFrames() const {
  return m_format.nBlockAlign == 0 ? 0 : m_dataSize / m_format.nBlockAlign;
}

double QoWavFileReader::GetDuration() const {
  if (m_format.nSamplesPerSec == 0) return 0.0;
  return static_cast<double>(GetNumFrames()) / m_format.nSamplesPerSec;
}

double QoWavFileReader::GetLoopStart() const {
  if (m_format.nSamplesPerSec == 0) return 0.0;
  return static_cast<double>(m_loopStart) / m_format.nSamplesPerSec;
}

double QoWavFileReader::GetLoopEnd() const {
  if (m_format.nSamplesPerSec == 0) return 0.0;
  return static_cast<double>(m_loopEnd) / m_format.nSamplesPerSec;
}

long long QoWavFileReader::SeekToAudioFrame(unsigned int frame) {
  m_dataPosition = frame * static_cast<uint32_t>(m_format.nBlockAlign);
  return m_file.SetFilePointer(static_cast<long long>(m_dataOffset) + m_dataPosition,
                               zu::k_fileBegin);
}

unsigned int QoWavFileReader::ReadFrames(unsigned int n) {
  const unsigned int bytes = n * m_format.nBlockAlign;  // never more than the data size
  if (m_readBufferCapacity < bytes) {
    unsigned char* grown = static_cast<unsigned char*>(std::realloc(m_readBuffer, bytes));
    if (grown == nullptr) return 0;
    m_readBuffer = grown;
    m_readBufferCapacity = bytes;
  }
  unsigned int got = 0;
  if (!m_file.Read(m_readBuffer, bytes, got)) return 0;
  return got;
}

unsigned int QoWavFileReader::ReadPCMDataAsFloat32(unsigned int frames, float* out) {
  const unsigned int blockAlign = m_format.nBlockAlign;
  const unsigned int channels = m_format.nChannels;
  if (blockAlign == 0 || channels == 0 || m_dataPosition >= m_dataSize) return 0;
  const unsigned int n = std::min((m_dataSize - m_dataPosition) / blockAlign, frames);
  if (n == 0) return 0;
  const unsigned int got = ReadFrames(n);
  const unsigned int framesRead = got / blockAlign;
  ConvertToFloat32(m_readBuffer, out, (blockAlign / channels) * 8, channels, m_isFloat ? 1 : 0,
                   framesRead, m_byteSwapped);
  m_dataPosition += got;
  return framesRead;
}

unsigned int QoWavFileReader::ReadPCMDataAsInt16(unsigned int frames, short* out) {
  const unsigned int blockAlign = m_format.nBlockAlign;
  const unsigned int channels = m_format.nChannels;
  if (blockAlign == 0 || channels == 0 || m_dataPosition >= m_dataSize) return 0;
  const unsigned int k = blockAlign / channels;
  if (k < 2 || k > 4) return 0;
  const unsigned int n = std::min((m_dataSize - m_dataPosition) / blockAlign, frames);
  if (n == 0) return 0;
  const unsigned int got = ReadFrames(n);
  const unsigned int framesRead = got / blockAlign;
  // Samples are taken frame by frame at the block alignment's stride, so a block alignment
  // wider than the samples never makes a read run past the buffer.
  for (unsigned int f = 0; f < framesRead; ++f) {
    const unsigned char* frame = m_readBuffer + static_cast<size_t>(f) * blockAlign;
    short* dst = out + static_cast<size_t>(f) * channels;
    for (unsigned int c = 0; c < channels; ++c) {
      const unsigned char* s = frame + c * k;
      if (k == 2) {
        uint16_t u = qobase_audio::Load16(s);
        if (m_byteSwapped) u = WavByteSwapHelpers::Swap16(u);
        dst[c] = static_cast<short>(u);
      } else if (k == 3) {
        const unsigned int hi = m_byteSwapped ? s[0] : s[2];
        const unsigned int mid = s[1];
        dst[c] = static_cast<short>(static_cast<uint16_t>((hi << 8) | mid));
      } else {
        uint32_t u = qobase_audio::Load32(s);
        if (m_byteSwapped) u = WavByteSwapHelpers::Swap32(u);
        float x;
        std::memcpy(&x, &u, 4);
        x = (x > -1.0f) ? x : -1.0f;
        x = (x < 1.0f) ? x : 1.0f;
        dst[c] = static_cast<short>(static_cast<int>(x * 32767.0));
      }
    }
  }
  m_dataPosition += got;
  return framesRead;
}
