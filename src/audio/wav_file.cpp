// QoWavFile: loads a WAVE file's chunks and writes them into a new file one by one.
#include <qobase/audio/wav_file.h>
#include <qobase/result_code.h>

namespace {

constexpr unsigned int k_dataAlignment = 16;

// Writes an optional chunk: nothing to do for one that does not exist.
bool WriteIfValid(QoFormatChunkBase& chunk, const zu::File& out, bool swap) {
  return !chunk.IsValid() || chunk.WriteToFile(out, swap) == QO::k_chunkSuccess;
}

}  // namespace

QoWavFile::QoWavFile() : m_junkChunk(k_dataAlignment) {}

QoWavFile::~QoWavFile() { Close(); }

bool QoWavFile::Open(const zu::Path& path, bool formatOnly) {
  Close();
  if (m_file.Open(path, k_openModeRead, 0) != QO::k_resultSuccess) return false;
  if (!m_riffChunk.Init(m_file, nullptr)) return false;
  if (!m_fmtChunk.Init(m_file, &m_riffChunk)) return false;
  if (formatOnly) return true;
  if (!m_dataChunk.Init(m_file, &m_riffChunk)) return false;
  m_cueChunk.Init(m_file, &m_riffChunk);
  m_listChunk.Init(m_file, &m_riffChunk);
  m_smplChunk.Init(m_file, &m_riffChunk);
  m_junkChunk.Init(m_file, &m_riffChunk);
  RecordCarriedChunks();
  return true;
}

void QoWavFile::Close() {
  // The chunks borrow the source's stream: drop them before it is closed.
  m_riffChunk.Reset();
  m_fmtChunk.Reset();
  m_dataChunk.Reset();
  m_cueChunk.Reset();
  m_listChunk.Reset();
  m_smplChunk.Reset();
  m_junkChunk.Reset();
  m_carriedChunks.clear();
  m_walkDrops = QO::k_droppedNothing;
  if (m_file.IsOpen()) m_file.Close();
}

bool QoWavFile::GetFormat(WaveFormatExtensible* format) const {
  return m_fmtChunk.GetFormatInfo(format);
}

void QoWavFile::SetFormat(WaveFormatExtensible* format) { m_fmtChunk.SetFormatInfo(format); }

unsigned int QoWavFile::GetFileHeaderSize() const {
  return m_dataChunk.IsValid() ? m_dataChunk.GetDataOffset() : 0;
}

double QoWavFile::GetFileDuration() const {
  WaveFormatExtensible format;
  if (!m_fmtChunk.GetFormatInfo(&format) || format.nBlockAlign == 0 || format.nSamplesPerSec == 0)
    return 0.0;
  const unsigned int bytes = m_dataChunk.IsValid() ? m_dataChunk.GetSize() : 0;
  return static_cast<double>(bytes / format.nBlockAlign) / format.nSamplesPerSec;
}

bool QoWavFile::WriteRiffChunk(const zu::File& out, bool swap) {
  return m_riffChunk.WriteToFile(out, swap) == QO::k_chunkSuccess;
}

bool QoWavFile::WriteFormatChunk(const zu::File& out, bool swap) {
  return m_fmtChunk.WriteToFile(out, swap) == QO::k_chunkSuccess;
}

bool QoWavFile::WriteFormatChunkAsStored(const zu::File& out, bool swap) {
  return m_fmtChunk.WriteToFileAsStored(out, swap) == QO::k_chunkSuccess;
}

bool QoWavFile::WriteFormatChunkNotExtensible(const zu::File& out, bool swap) {
  return m_fmtChunk.WriteToFileNotExtensible(out, swap) == QO::k_chunkSuccess;
}

bool QoWavFile::WriteDataChunk(const zu::File& out, bool swap) {
  return m_dataChunk.WriteToFile(out, swap) == QO::k_chunkSuccess;
}

bool QoWavFile::WriteCueChunk(const zu::File& out, bool swap) {
  return WriteIfValid(m_cueChunk, out, swap);
}

bool QoWavFile::WriteListChunk(const zu::File& out, bool swap) {
  return WriteIfValid(m_listChunk, out, swap);
}

bool QoWavFile::WriteSmplChunk(const zu::File& out, bool swap) {
  return WriteIfValid(m_smplChunk, out, swap);
}

bool QoWavFile::WriteJunkChunk(const zu::File& out, bool swap) {
  return WriteIfValid(m_junkChunk, out, swap);
}

bool QoWavFile::UpdateRiffChunkSize(const zu::File& out, bool swap) {
  return m_riffChunk.UpdateRiffChunkSize(out, swap) == QO::k_chunkSuccess;
}

void QoWavFile::SortCueChunk() { m_cueChunk.SortCues(); }
