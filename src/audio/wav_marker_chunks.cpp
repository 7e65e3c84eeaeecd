// The marker chunks of the chunk editor: cue points, labels and the sampler loop.
#include <qobase/audio/wav_marker_chunks.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "audio/riff_records.h"

namespace {

// Cue records read per step while loading, so a hostile count never sizes an allocation.
constexpr uint32_t k_cueBatch = 1024;

// position x ratio rounded to nearest (halves away from zero), as a frame in [0, limit]; a
// result that is not a number counts as 0.
uint32_t ScaleFrame(uint32_t position, double ratio, uint32_t limit) {
  const double p = std::round(static_cast<double>(position) * ratio);
  if (!(p > 0.0)) return 0;
  if (p >= static_cast<double>(limit)) return limit;
  return static_cast<uint32_t>(p);
}

// The last frame of a file of numFrames frames (0 for an empty one).
uint32_t LastFrame(uint32_t numFrames) { return numFrames == 0 ? 0 : numFrames - 1; }

using qobase_audio::k_cueRecordSize;
using qobase_audio::k_samplerHeadSize;
using qobase_audio::k_samplerLoopSize;

}  // namespace

// ---- QoCueChunk ----

QoCueChunk::QoCueChunk() : m_highestCueID(0) {}

bool QoCueChunk::Init(const zu::File& file, QoFormatChunkBase* parent) {
  m_cues.clear();
  m_highestCueID = 0;
  if (!QoFormatChunkBase::Init(file, parent)) return false;
  m_valid = false;
  uint32_t count = 0;
  if (ReadData(&count, 4, 0) != 4 || (count = qobase_audio::FileOrder32(count, m_needSwap)) == 0) {
    m_header.size = 0;
    return false;
  }
  const uint32_t fits = m_header.size >= 4 ? (m_header.size - 4) / k_cueRecordSize : 0;
  const uint32_t wanted = std::min(count, fits);
  std::vector<unsigned char> batch;
  while (m_cues.size() < wanted) {
    const uint32_t done = static_cast<uint32_t>(m_cues.size());
    batch.resize(static_cast<size_t>(std::min(k_cueBatch, wanted - done)) * k_cueRecordSize);
    const unsigned int bytes = static_cast<unsigned int>(batch.size());
    const unsigned int got = ReadData(batch.data(), bytes, 4 + done * k_cueRecordSize);
    const size_t records = got / k_cueRecordSize;
    for (size_t i = 0; i < records; ++i) {
      const WAV_CUE cue = qobase_audio::DecodeCue(&batch[i * k_cueRecordSize], m_needSwap);
      m_highestCueID = std::max(m_highestCueID, cue.dwName);
      m_cues.push_back(cue);
    }
    if (got < bytes) break;  // the file ends inside the chunk
  }
  m_header.size = static_cast<uint32_t>(4 + m_cues.size() * k_cueRecordSize);
  if (m_cues.size() != count || m_header.size != m_sizeInFile)
    m_droppedOnLoad |= QO::k_droppedCueRecords;
  m_valid = true;
  return true;
}

void QoCueChunk::Reset() {
  QoFormatChunkBase::Reset();
  m_cues.clear();
  m_highestCueID = 0;
}

unsigned int QoCueChunk::GetChunkID() { return QO::k_fccCue; }

unsigned int QoCueChunk::WriteToFile(const zu::File& out, bool swap) {
  if (!m_valid) return QO::k_chunkFailure;
  std::vector<unsigned char> bytes;
  bytes.reserve(12 + m_cues.size() * k_cueRecordSize);
  qobase_audio::AppendChunkHead(bytes, m_header.chunkID, m_header.size, swap);
  qobase_audio::AppendCueBody(bytes, m_cues.data(), m_cues.size(), swap);
  return WriteBytes(out, bytes.data(), static_cast<unsigned int>(bytes.size()));
}

void QoCueChunk::AdjustCuesPosition(unsigned int offset, unsigned int alignment,
                                    unsigned int maxPosition) {
  for (WAV_CUE& cue : m_cues) {
    uint32_t p = cue.dwPosition + offset;
    const uint32_t r = alignment == 0 ? 0 : p % alignment;
    if (r != 0) {
      p = r <= alignment / 2 ? p - r : p + (alignment - r);
      p = std::min(p, maxPosition);
    }
    cue.dwPosition = p;
    cue.dwSampleOffset = p;
  }
}

void QoCueChunk::GetCuesVector(std::vector<WAV_CUE>& cues) const { cues = m_cues; }

unsigned int QoCueChunk::AddCue(unsigned int position) {
  ++m_highestCueID;
  WAV_CUE cue;
  cue.dwName = m_highestCueID;
  cue.dwPosition = position;
  cue.fccChunk = QO::k_fccData;
  cue.dwChunkStart = 0;
  cue.dwBlockStart = 0;
  cue.dwSampleOffset = position;
  m_cues.push_back(cue);
  if (!m_valid) {
    m_header.chunkID = QO::k_fccCue;
    m_header.size = 4;
    m_valid = true;
  }
  m_header.size += k_cueRecordSize;
  return m_highestCueID;
}

unsigned int QoCueChunk::UpdateCueInfo(double ratio, unsigned int numFrames, bool swap) {
  if (!m_valid) return QO::k_chunkFailure;
  for (WAV_CUE& cue : m_cues) {
    const uint32_t p = ScaleFrame(cue.dwPosition, ratio, LastFrame(numFrames));
    cue.dwPosition = p;
    cue.dwSampleOffset = p;
  }
  return RewriteInPlace(swap);
}

void QoCueChunk::TrimCues(unsigned int start, unsigned int length,
                          const std::function<void(unsigned int)>& onRemoved) {
  const unsigned long long end = static_cast<unsigned long long>(start) + length;
  const auto inside = [start, end](const WAV_CUE& cue) {
    return start <= cue.dwPosition && cue.dwPosition <= end;
  };
  // Throw before anything changes when a removal has nobody to tell.
  if (!onRemoved && !std::all_of(m_cues.begin(), m_cues.end(), inside))
    throw std::bad_function_call();
  std::vector<WAV_CUE> kept;
  kept.reserve(m_cues.size());
  for (WAV_CUE cue : m_cues) {
    if (inside(cue)) {
      cue.dwPosition -= start;
      kept.push_back(cue);
    } else {
      m_header.size -= k_cueRecordSize;
      onRemoved(cue.dwName);
    }
  }
  m_cues.swap(kept);
}

void QoCueChunk::SortCues() {
  std::stable_sort(m_cues.begin(), m_cues.end(),
                   [](const WAV_CUE& a, const WAV_CUE& b) { return a.dwPosition < b.dwPosition; });
}

// ---- QoListChunk ----

QoListChunk::QoListChunk() {}

QoListChunk::~QoListChunk() { FreeLabels(); }

void QoListChunk::FreeLabels() {
  for (LABEL& label : m_labels) std::free(label.text);
  m_labels.clear();
}

bool QoListChunk::Init(const zu::File& file, QoFormatChunkBase* parent) {
  FreeLabels();
  if (!QoFormatChunkBase::Init(file, parent)) return false;
  m_valid = false;
  const unsigned long long listSize = m_header.size;
  // Where the file really ends: a label claimed to run past it is never allocated.
  const long long fileSize = m_file->GetFileSize();
  const unsigned long long fileEnd = fileSize < 0 ? 0 : static_cast<unsigned long long>(fileSize);
  uint32_t size = 4;
  unsigned long long offset = 4;
  bool skipped = false;
  while (listSize >= 5 && offset < listSize) {
    unsigned char stored[qobase_audio::k_chunkHeadSize];
    if (offset + 8 > listSize || ReadData(stored, 8, static_cast<uint32_t>(offset)) != 8) break;
    const RIFFHEADER head = qobase_audio::DecodeChunkHead(stored, m_needSwap);
    const uint32_t subSize = head.size;
    if (head.chunkID != QO::k_fccLabl) {
      skipped = true;
      offset += 8ull + subSize;
      continue;
    }
    // A label must hold its cue ID and lie inside the list.
    if (subSize < 4 || offset + 8 + subSize > listSize ||
        m_dataOffset + offset + 8 + subSize > fileEnd)
      break;
    const uint32_t textSize = subSize - 4;
    uint32_t id = 0;
    if (ReadData(&id, 4, static_cast<uint32_t>(offset + 8)) != 4) break;
    char* text = static_cast<char*>(std::calloc(textSize + 1, 1));
    if (!text) break;
    if (ReadData(text, textSize, static_cast<uint32_t>(offset + 12)) != textSize) {
      std::free(text);
      break;
    }
    m_labels.push_back(LABEL{qobase_audio::FileOrder32(id, m_needSwap), textSize, text});
    size += static_cast<uint32_t>(qobase_audio::LabelSubChunkSize(textSize));
    offset += qobase_audio::LabelSubChunkSize(textSize);
  }
  m_valid = !m_labels.empty();
  m_header.size = m_valid ? size : 0;
  // Every sub-chunk but a label is left out, and so is whatever follows a label that ended the
  // walk early.
  if (m_valid && (skipped || offset < listSize)) m_droppedOnLoad |= QO::k_droppedListSubChunks;
  return m_valid;
}

void QoListChunk::Reset() {
  QoFormatChunkBase::Reset();
  FreeLabels();
}

unsigned int QoListChunk::GetChunkID() { return QO::k_fccLIST; }

bool QoListChunk::IsValidChunk(const RIFFHEADER& header, unsigned int dataOffset) {
  uint32_t type = 0;
  return header.chunkID == QO::k_fccLIST && ReadAt(&type, 4, dataOffset) == 4 &&
         type == QO::k_fccAdtl;
}

unsigned int QoListChunk::WriteToFile(const zu::File& out, bool swap) {
  if (!m_valid) return QO::k_chunkFailure;
  std::vector<unsigned char> bytes;
  bytes.reserve(12 + m_header.size);
  qobase_audio::AppendListHead(bytes, m_header.size, QO::k_fccAdtl, swap);
  for (const LABEL& label : m_labels)
    qobase_audio::AppendLabel(bytes, label.cueID, label.text, label.size, swap);
  return WriteBytes(out, bytes.data(), static_cast<unsigned int>(bytes.size()));
}

unsigned int QoListChunk::AddLabel(unsigned int id, CStdStr text) {
  const uint32_t textSize = static_cast<uint32_t>(text.size() + 1);
  char* copy = static_cast<char*>(std::malloc(textSize));
  if (!copy) return QO::k_chunkFailure;
  std::memcpy(copy, text.c_str(), textSize);
  m_labels.push_back(LABEL{id, textSize, copy});
  if (!m_valid) {
    m_header.chunkID = QO::k_fccLIST;
    m_header.size = 4;
    m_valid = true;
  }
  m_header.size += static_cast<uint32_t>(qobase_audio::LabelSubChunkSize(textSize));
  return QO::k_chunkSuccess;
}

QO::ChunkResult QoListChunk::RemoveLabel(unsigned int id) {
  bool removed = false;
  for (auto it = m_labels.begin(); it != m_labels.end();) {
    if (it->cueID != id) {
      ++it;
      continue;
    }
    m_header.size -= static_cast<uint32_t>(qobase_audio::LabelSubChunkSize(it->size));
    std::free(it->text);
    it = m_labels.erase(it);
    removed = true;
  }
  return removed ? QO::k_chunkSuccess : QO::k_chunkFailure;
}

// ---- QoSmplChunk ----

QoSmplChunk::QoSmplChunk() : m_sampler(), m_loop() {}

bool QoSmplChunk::Init(const zu::File& file, QoFormatChunkBase* parent) {
  m_sampler = SAMPLER();
  m_loop = SAMPLER_LOOP();
  if (!QoFormatChunkBase::Init(file, parent)) return false;
  m_valid = false;
  unsigned char stored[k_samplerHeadSize];
  if (m_header.size < k_samplerHeadSize ||
      ReadData(stored, k_samplerHeadSize, 0) != k_samplerHeadSize) {
    return false;
  }
  m_sampler = qobase_audio::DecodeSamplerHead(stored, m_needSwap);
  if (m_sampler.cSampleLoops == 0) return false;
  if (m_header.size < k_samplerHeadSize + k_samplerLoopSize ||
      ReadData(stored, k_samplerLoopSize, k_samplerHeadSize) != k_samplerLoopSize) {
    return false;
  }
  m_loop = qobase_audio::DecodeSamplerLoop(stored, m_needSwap);
  // Only the first loop is kept: say what else the chunk held.
  const unsigned long long loopsEnd =
      k_samplerHeadSize +
      static_cast<unsigned long long>(k_samplerLoopSize) * m_sampler.cSampleLoops;
  if (m_sampler.cSampleLoops > 1) m_droppedOnLoad |= QO::k_droppedSamplerLoops;
  if (m_sampler.cbSamplerData != 0 || m_sizeInFile > loopsEnd)
    m_droppedOnLoad |= QO::k_droppedSamplerData;
  m_sampler.cSampleLoops = 1;
  m_sampler.cbSamplerData = 0;
  m_header.size = k_samplerHeadSize + k_samplerLoopSize;
  m_valid = true;
  return true;
}

void QoSmplChunk::Reset() {
  QoFormatChunkBase::Reset();
  m_sampler = SAMPLER();
  m_loop = SAMPLER_LOOP();
}

unsigned int QoSmplChunk::GetChunkID() { return QO::k_fccSmpl; }

unsigned int QoSmplChunk::WriteToFile(const zu::File& out, bool swap) {
  if (!m_valid || !WriteChunkHeader(out, swap)) return QO::k_chunkFailure;
  return WriteSamplerRecords(out, true, true, swap) ? QO::k_chunkSuccess : QO::k_chunkFailure;
}

bool QoSmplChunk::GetLoopPosition(unsigned int& start, unsigned int& end) const {
  start = m_loop.dwStart;
  end = m_loop.dwEnd;
  return m_valid;
}

void QoSmplChunk::SetLoopPosition(unsigned int start, unsigned int end) {
  if (!m_valid) return;
  m_loop.dwStart = start;
  m_loop.dwEnd = end;
}

void QoSmplChunk::GetSamplerInfo(SAMPLER& sampler) const { sampler = m_sampler; }

void QoSmplChunk::GetLoopInfo(SAMPLER_LOOP& loop) const { loop = m_loop; }

unsigned int QoSmplChunk::UpdateLoopInfo(double ratio, unsigned int numFrames, bool swap) {
  if (!m_valid) return QO::k_chunkFailure;
  if (m_sampler.cSampleLoops != 0) {
    const uint32_t end = ScaleFrame(m_loop.dwEnd, ratio, LastFrame(numFrames));
    uint32_t start = ScaleFrame(m_loop.dwStart, ratio, UINT32_MAX);
    if (end < start) start = 0;
    m_loop.dwStart = start;
    m_loop.dwEnd = end;
  }
  return RewriteInPlace(swap);
}

bool QoSmplChunk::ForceInitLoop(const zu::File& file, QoFormatChunkBase* parent, unsigned int start,
                                unsigned int end) {
  if (Init(file, parent)) return true;
  // No loop in the file: a sampler chunk of our own, which has no place in the source file.
  m_sampler.cSampleLoops = 1;
  m_sampler.cbSamplerData = 0;
  m_loop = SAMPLER_LOOP();
  m_loop.dwStart = start;
  m_loop.dwEnd = end;
  m_header.chunkID = QO::k_fccSmpl;
  m_header.size = k_samplerHeadSize + k_samplerLoopSize;
  m_dataOffset = 0;
  m_sizeInFile = 0;
  m_valid = true;
  return true;
}

bool QoSmplChunk::WriteSampleInfo(const zu::File& out) {
  return WriteSamplerRecords(out, true, false, false);
}

bool QoSmplChunk::WriteLoopInfo(const zu::File& out) {
  return WriteSamplerRecords(out, false, true, false);
}

bool QoSmplChunk::WriteSampleInfoSwapped(const zu::File& out) {
  return WriteSamplerRecords(out, true, false, true);
}

bool QoSmplChunk::WriteLoopInfoSwapped(const zu::File& out) {
  return WriteSamplerRecords(out, false, true, true);
}

bool QoSmplChunk::WriteSamplerRecords(const zu::File& out, bool head, bool loop, bool swap) {
  std::vector<unsigned char> bytes;
  bytes.reserve(k_samplerHeadSize + k_samplerLoopSize);
  if (head) qobase_audio::AppendSamplerHead(bytes, m_sampler, swap);
  if (loop) qobase_audio::AppendSamplerLoop(bytes, m_loop, swap);
  return out.WriteExact(bytes.data(), static_cast<unsigned int>(bytes.size()));
}
