// The audio section of `qobase demo`: writes a short WAV file with a loop and labelled markers
// into a temporary directory, reads it back and prints what the reader found.
#include <internal/scratch_folder.h>
#include <qobase/audio/wav_file_reader.h>
#include <qobase/audio/wav_file_writer.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <ostream>
#include <string>
#include <vector>

#include "audio_summary.h"
#include "command.h"

namespace qobase_tool {
namespace {

bool WriteDemoFile(const std::string& path) {
  WAVEFORMATEXTENSIBLE format;
  std::memset(&format, 0, sizeof(format));
  format.wFormatTag = QO::k_waveFormatPcm;
  format.nChannels = 2;
  format.nSamplesPerSec = 48000;
  format.wBitsPerSample = 24;
  format.nBlockAlign = 6;
  format.nAvgBytesPerSec = 48000 * 6;
  const unsigned int frames = 24000;  // half a second of a 440 Hz tone, louder on the left
  std::vector<float> samples(frames * 2);
  for (unsigned int i = 0; i < frames; ++i) {
    const float s = std::sin(2.0f * 3.14159265f * 440.0f * static_cast<float>(i) / 48000.0f);
    samples[2 * i] = 0.5f * s;
    samples[2 * i + 1] = 0.25f * s;
  }
  char intro[] = "intro", hit[] = "hit";
  std::vector<QO_WAVE_MARKER> markers = {
      {1, 0, sizeof(intro), intro}, {2, 12000, sizeof(hit), hit}, {3, 18000, 0, nullptr}};
  QoWavFileWriter writer;
  if (!writer.Open(zu::Path(path), false)) return false;
  writer.SetFormat(format);
  writer.SetLoopPoints(6000, 18000);
  writer.SetMarkers(markers);
  return writer.WriteChunks(QO::k_chunkSmpl | QO::k_chunkCue | QO::k_chunkLIST) &&
         writer.WriteReal32AsPCMData(frames, samples.data()) && writer.Close();
}

bool AudioDemo(std::ostream& out) {
  const qobase_internal::ScratchFolder scratch(qobase_internal::ScratchFolder::SystemTempFolder(),
                                               "qobase-demo");
  if (!scratch.IsValid()) return false;
  const std::string path = scratch.File("tone.wav");

  bool ok = WriteDemoFile(path);
  if (ok) {
    out << "   wrote tone.wav: 24-bit stereo, loop 6000-18000, markers \"intro\", \"hit\" and one "
           "unlabelled\n";
    QoWavFileReader reader;
    ok = reader.Open(zu::Path(path)) && reader.ReadChunks(QO::k_chunksAll);
    if (ok) {
      out << "   read it back:\n";
      PrintWavSummary(reader, out);
      std::vector<float> block(2 * 4);
      reader.SeekToAudioFrame(12000);
      ok = reader.ReadPCMDataAsFloat32(4, block.data()) == 4;
      char line[128];
      std::snprintf(line, sizeof(line),
                    "   samples at the \"hit\" marker (left): %.4f %.4f %.4f %.4f\n", block[0],
                    block[2], block[4], block[6]);
      out << line;
    }
  }
  return ok;
}

const DemoRegistration s_section({30, "audio: WAV writer and reader", AudioDemo});

}  // namespace
}  // namespace qobase_tool
