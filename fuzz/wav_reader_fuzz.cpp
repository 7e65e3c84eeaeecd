// Reads a fuzzed file as WAVE, the way the analyses and the program do: the reader directly
// (with and without the published extensible layout) and through the reader factory under a
// ".wav" and a ".caf" name. It walks every chunk, takes the format, markers and loop, and reads
// every sample in blocks as float and as 16-bit. Beyond the sanitizers it checks what a caller
// relies on: the frame count matches the data size, the data lies inside the file, the blocks
// read add up to the frame count, and the factory never opens a ".caf" name.
#include <qobase/audio/audio_file_reader.h>
#include <qobase/audio/wav_file_reader.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <vector>

#include "fuzz_support.h"

namespace {

void CheckReader(QoWavFileReader& reader, uint64_t fileSize) {
  const WaveFormatExtensible& format = *reader.GetFormat();
  const uint64_t end = static_cast<uint64_t>(reader.GetDataOffset()) + reader.GetDataSize();
  if (reader.GetDataSize() > 0 && end > fileSize) std::abort();
  const unsigned int frames = reader.GetNumFrames();
  if (format.nBlockAlign != 0 && frames != reader.GetDataSize() / format.nBlockAlign) std::abort();
  (void)reader.GetDuration();
  (void)reader.GetLoopStart();
  (void)reader.GetLoopEnd();
  for (const QO_WAVE_MARKER& marker : reader.GetMarkers()) {
    if (marker.labelSize > 0 && marker.label == nullptr) std::abort();
  }
  if ((reader.ChunksRead() & QO::k_chunksFormatAndData) != QO::k_chunksFormatAndData) return;
  // A compact format is taken as stored, a channel count of 0 included: its frames are counted
  // by the block alignment, but with no channel to fill a read delivers none.
  const uint64_t readable = format.nChannels == 0 ? 0 : frames;
  if (qofuzz::ReadAllFloat(reader) != readable) std::abort();
  // Again as 16-bit: the same frames, or none for a width it does not take.
  const unsigned int channels = std::max<unsigned int>(1, format.nChannels);
  const unsigned int blockFrames = qofuzz::BlockFrames(channels);
  std::vector<short> block(static_cast<size_t>(blockFrames) * channels);
  reader.SeekToAudioFrame(0);
  unsigned long long total = 0;
  while (const unsigned int got = reader.ReadPCMDataAsInt16(blockFrames, block.data())) {
    if (got > blockFrames) std::abort();
    total += got;
  }
  if (total != 0 && total != readable) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const qofuzz::ScratchFolder& scratch = qofuzz::ScratchFolder::Get();
  const std::string wav = scratch.File("input.wav");
  const std::string caf = scratch.File("input.caf");
  qofuzz::ScratchFolder::Write(wav, data, size);
  qofuzz::ScratchFolder::Write(caf, data, size);

  for (const bool published : {false, true}) {
    QoWavFileReader reader;
    if (!reader.Open(zu::Path(wav.c_str()))) break;
    reader.SetStandardExtensibleLayout(published);
    reader.ReadChunks(QO::k_chunksAll);
    CheckReader(reader, size);
    (void)reader.GetStoredFormat();
    reader.Close();
  }

  std::unique_ptr<QoAudioFileReader> viaFactory(QoAudioFileReader::Create(wav.c_str()));
  if (viaFactory && viaFactory->ReadChunks(QO::k_chunksFormatAndData))
    (void)qofuzz::ReadAllFloat(*viaFactory);
  std::unique_ptr<QoAudioFileReader> cafName(QoAudioFileReader::Create(caf.c_str()));
  if (cafName) std::abort();  // the factory opens only WAVE names
  return 0;
}
