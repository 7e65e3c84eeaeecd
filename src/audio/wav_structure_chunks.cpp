// The container head, format and filler chunks of the chunk editor.
#include <qobase/audio/wav_byte_swap.h>
#include <qobase/audio/wav_structure_chunks.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <vector>

#include "audio/chunk_io.h"
#include "audio/format_layout.h"
#include "audio/riff_records.h"

// ---- QoRiffChunk ----

QoRiffChunk::QoRiffChunk() : m_formType(0) {}

bool QoRiffChunk::Init(const zu::File& file, QoFormatChunkBase* /*parent*/) {
  m_formType = 0;
  m_valid = false;
  m_sizeInFile = 0;
  m_droppedOnLoad = 0;
  m_needSwap = false;
  AttachFile(file);
  // The container is the chunk at offset 0: a file that starts otherwise is no RIFF file, so
  // nothing after that offset is searched.
  RIFFHEADER header;
  if (qobase_audio::GetWalkLimit(*m_file) < 12 ||
      ReadAt(&header, sizeof(header), 0) != sizeof(header) ||
      (header.chunkID != QO::k_fccRIFF && header.chunkID != QO::k_fccRIFX)) {
    return false;
  }
  m_needSwap = header.chunkID == QO::k_fccRIFX;
  if (m_needSwap) WavByteSwapHelpers::Convert(header);
  m_header = header;
  m_dataOffset = 8;
  m_sizeInFile = header.size;
  if (ReadData(&m_formType, 4, 0) != 4) {
    m_formType = 0;
    return false;
  }
  m_valid = true;
  return true;
}

unsigned int QoRiffChunk::GetFileChunkSize() const { return 12; }

unsigned int QoRiffChunk::GetChunkID() { return m_needSwap ? QO::k_fccRIFX : QO::k_fccRIFF; }

unsigned int QoRiffChunk::WriteToFile(const zu::File& out, bool swap) {
  if (!m_valid) return QO::k_chunkFailure;
  // Writing big-endian makes the container "RIFX"; otherwise it keeps the ID it was read with.
  if (swap) m_header.chunkID = QO::k_fccRIFX;
  uint32_t head[3] = {m_header.chunkID, qobase_audio::FileOrder32(m_header.size, swap), m_formType};
  return WriteBytes(out, head, sizeof(head));
}

unsigned int QoRiffChunk::UpdateRiffChunkSize(const zu::File& out, bool swap) {
  if (!m_valid || !CanRewrite(out)) return QO::k_chunkFailure;
  // Positioning writes out what is buffered, so the size below counts everything written.
  const long long previous = out.SetFilePointer(0, zu::k_fileCurrent);
  if (previous < 0 || std::fflush(out.GetStream()) != 0) return QO::k_chunkFailure;
  const long long fileSize = out.GetFileSize();
  if (fileSize < 8 || fileSize - 8 > 0xFFFFFFFFll) return QO::k_chunkFailure;
  const uint32_t size = static_cast<uint32_t>(fileSize - 8);
  uint32_t head[2] = {m_header.chunkID, qobase_audio::FileOrder32(size, swap)};
  if (out.SetFilePointer(0, zu::k_fileBegin) != 0) return QO::k_chunkFailure;
  const bool written = out.WriteExact(head, sizeof(head));
  if (out.SetFilePointer(previous, zu::k_fileBegin) < 0 || !written) return QO::k_chunkFailure;
  return QO::k_chunkSuccess;
}

// ---- QoFmtChunk ----

QoFmtChunk::QoFmtChunk()
    : m_format(), m_unspecifiedChannelMask(false), m_standardLayout(false), m_storedFormat() {}

bool QoFmtChunk::Init(const zu::File& file, QoFormatChunkBase* parent) {
  m_unspecifiedChannelMask = false;
  m_format = WaveFormatExtensible();
  m_storedFormat = QoWaveFormatFacts();
  if (!QoFormatChunkBase::Init(file, parent)) return false;
  m_valid = false;
  if (m_header.size < 16) return false;

  WAVEFORMATEXTENSIBLE record;
  std::memset(&record, 0, sizeof(record));
  record.wFormatTag = QO::k_waveFormatPcm;
  const unsigned int wanted = std::min<uint32_t>(m_header.size, sizeof(record));
  const unsigned int got = ReadData(&record, wanted, 0);
  if (got != wanted) return false;
  m_storedFormat = qobase_audio::ReadFormatFacts(record, m_header.size, m_needSwap);
  if (m_standardLayout && qobase_audio::HasKnownStandardLayout(m_storedFormat)) {
    m_storedFormat.standardLayoutUsed = true;
    record = qobase_audio::StandardLayoutRecord(record, m_needSwap);
    return TakeFormatRecord(record);
  }

  const uint16_t tag =
      m_needSwap ? WavByteSwapHelpers::Swap16(record.wFormatTag) : record.wFormatTag;
  if (got == sizeof(WaveFormatExtensible) && tag == QO::k_waveFormatExtensible) {
    // Already the compact form: take it as it is if its configuration agrees with the count.
    WaveFormatExtensible compact;
    std::memcpy(&compact, &record, sizeof(compact));
    if (m_needSwap) WavByteSwapHelpers::Convert(compact);
    compact.cbSize = 4;
    const uint32_t channels = QO::GetChannelConfigNumChannels(compact.channelConfig);
    if (channels == 0 || channels != compact.nChannels) return false;
    m_format = compact;
    m_valid = true;
    return true;
  }

  if (m_needSwap) WavByteSwapHelpers::Convert(record);
  if (record.wFormatTag == QO::k_waveFormatPcm || record.wFormatTag == QO::k_waveFormatIeeeFloat) {
    record.dwChannelMask = QO::GetDefaultChannelMask(record.nChannels);
    record.wFormatTag = QO::k_waveFormatExtensible;
    record.wValidBitsPerSample = 0;
    record.SubFormat = ks_dataformat_pcm;
  }
  return TakeFormatRecord(record);
}

bool QoFmtChunk::TakeFormatRecord(WAVEFORMATEXTENSIBLE& record) {
  const QoChannelConfig config = QO::SetChannelConfigFromWAVEFORMATEXTENSIBLE(record);
  const uint32_t channels = QO::GetChannelConfigNumChannels(config);
  if (channels == 0) return false;
  if (record.nChannels >= 3 && QO::GetChannelConfigMask(config) != 0 && record.dwChannelMask == 0) {
    m_unspecifiedChannelMask = true;
  }
  record.nChannels = static_cast<uint16_t>(channels);
  record.nBlockAlign = static_cast<uint16_t>(
      std::max<unsigned int>(record.nBlockAlign, record.wBitsPerSample * channels / 8));
  std::memcpy(&m_format, &record, 20);
  m_format.cbSize = 4;
  m_format.channelConfig = config;
  m_valid = true;
  return true;
}

unsigned int QoFmtChunk::GetChunkID() { return QO::k_fccFmt; }

unsigned int QoFmtChunk::WriteToFile(const zu::File& out, bool swap) {
  if (!m_valid) return QO::k_chunkFailure;
  unsigned char bytes[8 + sizeof(WaveFormatExtensible)];
  const uint32_t head[2] = {QO::k_fccFmt, qobase_audio::FileOrder32(24, swap)};
  WaveFormatExtensible format = m_format;
  if (swap) WavByteSwapHelpers::Convert(format);
  std::memcpy(bytes, head, 8);
  std::memcpy(bytes + 8, &format, sizeof(format));
  return WriteBytes(out, bytes, sizeof(bytes));
}

unsigned int QoFmtChunk::WriteToFileNotExtensible(const zu::File& out, bool swap) {
  if (!m_valid) return QO::k_chunkFailure;
  unsigned char bytes[8 + 20];
  const uint32_t head[2] = {QO::k_fccFmt, qobase_audio::FileOrder32(20, swap)};
  tWAVEFORMATEX format;
  std::memcpy(&format, &m_format, sizeof(format));
  format.wFormatTag = QO::k_waveFormatPcm;
  if (swap) WavByteSwapHelpers::Convert(format);
  std::memcpy(bytes, head, 8);
  std::memcpy(bytes + 8, &format, sizeof(format));
  std::memcpy(bytes + 8 + sizeof(format), &m_format.wReserved, 2);
  return WriteBytes(out, bytes, sizeof(bytes));
}

unsigned int QoFmtChunk::UpdateFormatInfo(WaveFormatExtensible& format, bool swap) {
  if (!m_valid || m_sizeInFile != sizeof(WaveFormatExtensible)) return QO::k_chunkFailure;
  m_format = format;
  // The compact form is what the file holds, so the stored size is rewritten as it is.
  m_header.size = sizeof(WaveFormatExtensible);
  return RewriteInPlace(swap);
}

bool QoFmtChunk::GetFormatInfo(WaveFormatExtensible* format) const {
  if (!m_valid || !format) return false;
  *format = m_format;
  return true;
}

void QoFmtChunk::SetFormatInfo(WaveFormatExtensible* format) {
  if (format) m_format = *format;
}

bool QoFmtChunk::HasUnspecifiedChannelMask() const { return m_unspecifiedChannelMask; }

void QoFmtChunk::Reset() {
  QoFormatChunkBase::Reset();
  m_storedFormat = QoWaveFormatFacts();
}

unsigned int QoFmtChunk::WriteToFileAsStored(const zu::File& out, bool swap) {
  if (!m_valid || !m_file || m_dataOffset < 8 || swap != m_needSwap) return QO::k_chunkFailure;
  return qobase_audio::CopyStoredChunk(*m_file, m_dataOffset - 8, m_sizeInFile, out);
}

// ---- QoJunkChunk ----

QoJunkChunk::QoJunkChunk(unsigned int alignment) : m_alignment(alignment) {}

bool QoJunkChunk::Init(const zu::File& file, QoFormatChunkBase* parent) {
  QoFormatChunkBase::Init(file, parent);
  m_header.chunkID = QO::k_fccJUNK;
  m_header.size = 0;
  m_sizeInFile = 0;
  m_valid = true;
  return true;
}

unsigned int QoJunkChunk::GetChunkID() { return QO::k_fccJUNK; }

bool QoJunkChunk::ComputeJunkSize(long long position) {
  m_header.size = 0;
  if (m_alignment == 0) return false;
  const long long alignment = m_alignment;
  if ((position + 8) % alignment == 0) return false;
  const long long r = (position + 16) % alignment;
  m_header.size = r == 0 ? 0 : static_cast<uint32_t>(alignment - r);
  return true;
}

unsigned int QoJunkChunk::WriteToFile(const zu::File& out, bool swap) {
  if (!m_valid) return QO::k_chunkFailure;
  const long long position = out.SetFilePointer(0, zu::k_fileCurrent);
  if (position < 0) return QO::k_chunkFailure;
  if (!ComputeJunkSize(position)) return QO::k_chunkSuccess;
  std::vector<unsigned char> bytes(8 + m_header.size, 0);
  const uint32_t head[2] = {QO::k_fccJUNK, qobase_audio::FileOrder32(m_header.size, swap)};
  std::memcpy(bytes.data(), head, 8);
  return out.WriteExact(bytes.data(), static_cast<unsigned int>(bytes.size())) ? QO::k_chunkSuccess
                                                                               : QO::k_chunkFailure;
}
