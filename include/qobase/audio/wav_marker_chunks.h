// The chunks that carry a WAVE file's markers: "cue " points, the "LIST" of type "adtl" with
// their "labl" labels, and the "smpl" sampler chunk with its loop. Each can be loaded from a
// file, changed, created from nothing by its add operation, and written out again.
//
//   QoCueChunk cues;   cues.Init(source, &riff);
//   QoListChunk labels; labels.Init(source, &riff);
//   unsigned int id = cues.AddCue(44100);
//   labels.AddLabel(id, "Chorus");
#pragma once

#include <qobase/audio/wav_chunk_base.h>
#include <qobase/strings/std_str.h>

#include <functional>
#include <vector>

// Cue points: a u32 count, then 24-byte WAV_CUE records.
class QoCueChunk : public QoFormatChunkBase {
 public:
  QoCueChunk();

  // Loads the cue records that lie inside the chunk body (a count larger than the body holds
  // reads only those); valid when the count is not 0, else the size is 0. A count that does not
  // match the size is reported as QO::k_droppedCueRecords by GetDroppedOnLoad.
  bool Init(const zu::File& file, QoFormatChunkBase* parent) override;
  void Reset() override;
  unsigned int GetChunkID() override;
  // The head, the count and the records, swapped when `swap`. A chunk result code.
  unsigned int WriteToFile(const zu::File& out, bool swap) override;

  // Shifts every cue by `offset` and rounds it to the nearest multiple of `alignment` (an
  // exact half rounds down), a rounded-up position limited to `maxPosition`. Alignment 0 only
  // shifts. (0, 512, 100000): 1280 -> 1024, 1300 -> 1536.
  virtual void AdjustCuesPosition(unsigned int offset, unsigned int alignment,
                                  unsigned int maxPosition);
  virtual void GetCuesVector(std::vector<WAV_CUE>& cues) const;
  // Appends a cue at frame `position` with the next free ID (one above the highest so far) and
  // returns that ID; an invalid chunk becomes a valid one. On an empty chunk: ID 1, size 28.
  virtual unsigned int AddCue(unsigned int position);
  // Multiplies every position by `ratio` (rounded to nearest, halves away from zero), limits it
  // to numFrames - 1, and rewrites the chunk in place. QO::k_chunkFailure when not valid, when the
  // chunk no longer has its size in the file, or when the file was not opened for writing.
  virtual unsigned int UpdateCueInfo(double ratio, unsigned int numFrames, bool swap);

  // Keeps the cues with start <= position <= start + length, moved back by start; removes the
  // others, calling `onRemoved` with each removed ID (std::bad_function_call if it is empty).
  void TrimCues(unsigned int start, unsigned int length,
                const std::function<void(unsigned int)>& onRemoved);
  // Stable sort by position.
  void SortCues();

 private:
  uint32_t m_highestCueID;
  std::vector<WAV_CUE> m_cues;
};

// Labels: a "LIST" of type "adtl" holding "labl" sub-chunks (cue ID and NUL-terminated text).
class QoListChunk : public QoFormatChunkBase {
 public:
  QoListChunk();
  ~QoListChunk() override;

  // Loads the labels of the first "LIST" of type "adtl"; other sub-chunks are dropped. The walk
  // ends at a sub-chunk that runs past the list or past the end of the file, keeping the labels
  // before it. Valid when at least one label was read, else the size is 0. Anything dropped is
  // reported as QO::k_droppedListSubChunks by GetDroppedOnLoad.
  bool Init(const zu::File& file, QoFormatChunkBase* parent) override;
  // Also frees every label.
  void Reset() override;
  unsigned int GetChunkID() override;
  // The head, "adtl", then one "labl" per label with its pad byte. A chunk result code.
  unsigned int WriteToFile(const zu::File& out, bool swap) override;
  // A "LIST" whose body starts with "adtl".
  bool IsValidChunk(const RIFFHEADER& header, unsigned int dataOffset) override;
  // Appends a label (the text and its NUL); an invalid chunk becomes a valid one.
  // QO::k_chunkSuccess, or k_chunkFailure when memory runs out.
  // AddLabel(3, "ab") on an empty list gives size 20.
  virtual unsigned int AddLabel(unsigned int id, CStdStr text);

  // Removes every label of cue `id`; QO::k_chunkSuccess when at least one was removed, else
  // k_chunkFailure. The chunk stays
  // valid without labels (it then writes a "LIST" holding only "adtl").
  QO::ChunkResult RemoveLabel(unsigned int id);
  // The labels; their texts stay owned by the chunk.
  const std::vector<LABEL>& GetLabels() const { return m_labels; }

 private:
  void FreeLabels();

  std::vector<LABEL> m_labels;
};

// The sampler chunk, reduced to its head and its first loop.
class QoSmplChunk : public QoFormatChunkBase {
 public:
  QoSmplChunk();

  // Valid only when the sampler chunk has at least one loop; the first is kept (size 60). Further
  // loops and sampler-specific data are reported by GetDroppedOnLoad (QO::k_droppedSamplerLoops,
  // QO::k_droppedSamplerData).
  bool Init(const zu::File& file, QoFormatChunkBase* parent) override;
  void Reset() override;
  unsigned int GetChunkID() override;
  // The head, the SAMPLER record and the loop, swapped when `swap`. QO::k_chunkSuccess or
  // k_chunkFailure (a full device included).
  unsigned int WriteToFile(const zu::File& out, bool swap) override;

  // The loop; returns IsValid().
  bool GetLoopPosition(unsigned int& start, unsigned int& end) const;
  // Ignored when not valid.
  void SetLoopPosition(unsigned int start, unsigned int end);
  void GetSamplerInfo(SAMPLER& sampler) const;
  void GetLoopInfo(SAMPLER_LOOP& loop) const;
  // Scales the loop by `ratio` (rounded to nearest, halves away from zero), the end limited to
  // numFrames - 1 and the start set to 0 when it passes the end, and rewrites the chunk in
  // place. QO::k_chunkFailure when not valid, when the chunk in the file is not the 60-byte
  // one-loop form, or when the file was not opened for writing.
  unsigned int UpdateLoopInfo(double ratio, unsigned int numFrames, bool swap);
  // Loads the loop of the file's sampler chunk; without one, creates a chunk with the loop
  // [start, end]. Always true.
  bool ForceInitLoop(const zu::File& file, QoFormatChunkBase* parent, unsigned int start,
                     unsigned int end);
  // The 36-byte SAMPLER record and the 24-byte loop record, plain or swapped; false on a short
  // write.
  bool WriteSampleInfo(const zu::File& out);
  bool WriteLoopInfo(const zu::File& out);
  bool WriteSampleInfoSwapped(const zu::File& out);
  bool WriteLoopInfoSwapped(const zu::File& out);

 private:
  // The SAMPLER record, the loop record or both, in that order, in one write.
  bool WriteSamplerRecords(const zu::File& out, bool head, bool loop, bool swap);

  SAMPLER m_sampler;
  SAMPLER_LOOP m_loop;
};
