// Edits a fuzzed WAVE file through the chunk editor as callers do: open (with and without the
// published extensible layout), load every chunk, add a marker, a label and a loop, and write a
// new file twice: once in the editor's own layout and once keeping everything it does not
// change. Beyond the sanitizers it checks that the source file is never changed and that an
// edit that keeps everything gives a file that opens again with the same stored format and the
// data bytes the source holds.
#include <qobase/audio/wav_file.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "fuzz_support.h"

namespace {

bool WriteEdit(QoWavFile& wav, const std::string& path, bool keep) {
  zu::File out;
  if (out.Open(zu::Path(path.c_str()), k_openModeWrite, 0) != QO::k_resultSuccess) std::abort();
  const bool swap = wav.m_riffChunk.NeedSwapRead();
  const bool written =
      wav.WriteRiffChunk(out, swap) &&
      (keep ? wav.WriteFormatChunkAsStored(out, swap) && wav.WriteCarriedChunksBeforeData(out, swap)
            : wav.WriteFormatChunk(out, swap)) &&
      wav.WriteCueChunk(out, swap) && wav.WriteListChunk(out, swap) &&
      wav.WriteSmplChunk(out, swap) && wav.WriteJunkChunk(out, swap) &&
      wav.WriteDataChunk(out, swap) && (!keep || wav.WriteCarriedChunksAfterData(out, swap)) &&
      wav.UpdateRiffChunkSize(out, swap);
  out.Close();
  return written;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  const qofuzz::ScratchFolder& scratch = qofuzz::ScratchFolder::Get();
  const std::string source = scratch.File("source.wav");
  const std::string edited = scratch.File("edited.wav");
  const std::string kept = scratch.File("kept.wav");
  qofuzz::ScratchFolder::Write(source, data, size);

  QoWavFile wav;
  wav.SetStandardExtensibleLayout(data[0] & 1);
  if (wav.Open(zu::Path(source.c_str()), false)) {
    const unsigned int dropped = wav.GetDroppedOnLoad();
    const QoWaveFormatFacts facts = wav.GetStoredFormat();
    // A data chunk that claims more than the file holds is written with what could be copied.
    const uint64_t available = size - std::min<uint64_t>(size, wav.m_dataChunk.GetDataOffset());
    const uint64_t dataSize = std::min<uint64_t>(wav.m_dataChunk.GetSize(), available);
    WaveFormatExtensible format;
    if (!wav.GetFormat(&format)) std::abort();
    (void)wav.GetFileHeaderSize();
    (void)wav.GetFileDuration();
    const unsigned int id = wav.m_cueChunk.AddCue(data[0]);
    wav.m_listChunk.AddLabel(id, "Onset");
    wav.m_smplChunk.ForceInitLoop(wav.m_file, &wav.m_riffChunk, 0, data[0]);
    wav.SortCueChunk();
    WriteEdit(wav, edited, false);
    const bool keptAll = WriteEdit(wav, kept, true);
    wav.Close();

    if (keptAll && dropped == 0) {
      QoWavFile again;
      again.SetStandardExtensibleLayout(data[0] & 1);
      if (!again.Open(zu::Path(kept.c_str()), false)) std::abort();
      const QoWaveFormatFacts keptFacts = again.GetStoredFormat();
      if (keptFacts.bodySize != facts.bodySize || keptFacts.formatTag != facts.formatTag ||
          keptFacts.channelMask != facts.channelMask || again.m_dataChunk.GetSize() != dataSize) {
        std::abort();
      }
    }
  }
  // The source is only ever read.
  const std::vector<uint8_t> after = qofuzz::ReadFileBytes(source);
  if (after.size() != size || (size > 0 && std::memcmp(after.data(), data, size) != 0)) {
    std::abort();
  }
  return 0;
}
