// QoMidiFile: loading, validating and converting a Standard MIDI File on disk.
#include <qobase/files/directory_operations.h>
#include <qobase/midi/midi_file.h>
#include <qobase/result_code.h>

#include <cstdlib>
#include <new>

namespace {

constexpr uint64_t k_maxFileSize = 0xFFFFFFFFu;

}  // namespace

QoMidiFile::QoMidiFile() = default;

QoMidiFile::~QoMidiFile() {
  m_file.Close();
  std::free(m_fileData);
  std::free(m_convertedData);
}

// The parser keeps a pointer to the file bytes, so it forgets them whenever they go.
void QoMidiFile::FreeFileData() {
  m_parser.SetBuffer(nullptr, 0);
  std::free(m_fileData);
  m_fileData = nullptr;
}

// Allocates a buffer of the file's size and reads the whole file into it from the current
// position. False (no buffer) when the size cannot be held or the read fails.
bool QoMidiFile::LoadFileData() {
  FreeFileData();
  if (!m_file.IsOpen() || m_fileSize > k_maxFileSize) return false;
  m_fileData = static_cast<unsigned char*>(std::malloc(m_fileSize ? m_fileSize : 1));
  if (!m_fileData) return false;
  if (!m_file.ReadExact(m_fileData, static_cast<unsigned int>(m_fileSize))) {
    FreeFileData();
    return false;
  }
  return true;
}

QO::ResultCode QoMidiFile::Open(const zu::Path& path) {
  m_file.Close();
  FreeFileData();
  std::free(m_convertedData);
  m_convertedData = nullptr;
  m_fileSize = 0;
  m_validated = false;
  m_info = QoMidiInfo{};
  m_validateResult = 0;
  m_parser.Reset();
  if (m_file.Open(path, k_openModeRead, 0) != QO::k_resultSuccess) return QO::k_resultFileNotFound;
  const long long size = m_file.GetFileSize();
  if (size < 0) {
    m_file.Close();
    return QO::k_resultFileNotFound;
  }
  m_fileSize = static_cast<uint64_t>(size);
  return QO::k_resultSuccess;
}

QO::ResultCode QoMidiFile::Validate() {
  m_validated = false;
  m_validateResult = 1;
  if (!m_file.IsOpen()) return QO::k_resultInvalidFile;
  if (!LoadFileData()) return QO::k_resultInvalidFile;
  m_parser.SetBuffer(m_fileData, static_cast<unsigned int>(m_fileSize));
  m_validateResult = m_parser.Validate();
  if (m_validateResult != QoMidiParseAt::k_validateOk) return QO::k_resultInvalidFile;
  if (!m_parser.GetMidiInfo(m_info)) return QO::k_resultInvalidFile;
  m_validated = true;
  return QO::k_resultSuccess;
}

QO::ResultCode QoMidiFile::Read() {
  FreeFileData();
  if (m_fileSize > k_maxFileSize) return QO::k_resultOutOfMemory;
  m_fileData = static_cast<unsigned char*>(std::malloc(m_fileSize ? m_fileSize : 1));
  if (!m_fileData) return QO::k_resultOutOfMemory;
  if (!m_file.IsOpen() || !m_file.ReadExact(m_fileData, static_cast<unsigned int>(m_fileSize))) {
    FreeFileData();
    return QO::k_resultFileNotFound;
  }
  return QO::k_resultSuccess;
}

bool QoMidiFile::GetMidiInfo(QoMidiInfo& info) const {
  if (!m_validated) return false;
  info = m_info;
  return true;
}

QO::ResultCode QoMidiFile::GetEvents(std::vector<QoMidiFileEvent>& events) {
  if (!m_validated || !m_parser.ResetNextEvent()) return QO::k_resultFailure;
  events.clear();
  if (m_info.numEvents == 0) return QO::k_resultSuccess;
  try {
    events.reserve(m_info.numEvents);
    QoMidiFileEvent entry{};
    unsigned int delta = 0;
    while (m_parser.GetNextEvent(entry.event, delta)) {
      entry.deltaTicks = delta;
      events.push_back(entry);
    }
  } catch (const std::bad_alloc&) {
    return QO::k_resultOutOfMemory;
  }
  return QO::k_resultSuccess;
}

QO::ResultCode QoMidiFile::Convert(const zu::Path& destination) {
  if (m_fileSize == 0 || m_fileSize > k_maxFileSize) return QO::k_resultFailure;
  if (!m_fileData) {
    if (!LoadFileData()) return QO::k_resultFailure;
    m_parser.SetBuffer(m_fileData, static_cast<unsigned int>(m_fileSize));
  }
  const uint64_t wanted = 2 * m_fileSize + 1024;
  unsigned int capacity = wanted > 0xFFFFFFFFu ? 0xFFFFFFFFu : static_cast<unsigned int>(wanted);
  std::free(m_convertedData);
  m_convertedData = static_cast<unsigned char*>(std::malloc(capacity));
  if (!m_convertedData) return QO::k_resultFailure;
  // The parser converts into its own buffer, then copies: the stream it walks later must not
  // live in m_convertedData, which the next Convert or Release frees.
  if (!(m_parser.GetFlags() & QoMidiParseAt::k_flagConverted) && !m_parser._Convert()) {
    return QO::k_resultFailure;
  }
  if (!m_parser.Convert(m_convertedData, capacity)) return QO::k_resultFailure;

  zu::EnsureDirectoryExists(destination.GetParent());
  zu::File output;
  if (output.Open(destination, k_openModeWrite, 0) != QO::k_resultSuccess) {
    return QO::k_resultFailure;
  }
  return output.WriteExact(m_convertedData, capacity) ? QO::k_resultSuccess : QO::k_resultFailure;
}

void QoMidiFile::Close() { m_file.Close(); }

void QoMidiFile::Release() {
  FreeFileData();
  std::free(m_convertedData);
  m_convertedData = nullptr;
  m_fileSize = 0;
  m_validated = false;
}
