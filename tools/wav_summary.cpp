#include "wav_summary.h"

#include <qobase/audio/wav_file_reader.h>

#include <cstdio>
#include <ostream>
#include <string>

namespace qobase_tool {
namespace {

std::string Hex(unsigned int value) {
  char text[16];
  std::snprintf(text, sizeof(text), "0x%X", value);
  return text;
}

std::string ConfigText(QoChannelConfig config) {
  static const char* const sa_types[] = {"anonymous", "standard", "ambisonic"};
  const unsigned int type = QO::GetChannelConfigType(config);
  std::string text = Hex(config) + " (" + std::to_string(QO::GetChannelConfigNumChannels(config)) +
                     " channels, " + (type < 3 ? sa_types[type] : "unknown");
  if (type == QO::k_channelConfigStandard)
    text += ", mask " + Hex(QO::GetChannelConfigMask(config));
  return text + ")";
}

// Label bytes as text: up to the first NUL, other control bytes shown as '?'.
std::string LabelText(const QO_WAVE_MARKER& marker) {
  std::string text;
  for (unsigned int i = 0; i < marker.labelSize && marker.label[i] != '\0'; ++i) {
    const unsigned char c = static_cast<unsigned char>(marker.label[i]);
    text += c < 0x20 || c == 0x7F ? '?' : static_cast<char>(c);
  }
  return text;
}

}  // namespace

void PrintWavSummary(const QoWavFileReader& reader, std::ostream& out) {
  const WaveFormatExtensible& f = *reader.GetFormat();
  char seconds[32];
  std::snprintf(seconds, sizeof(seconds), "%.3f", reader.GetDuration());
  out << "   container: " << (reader.IsByteSwapped() ? "RIFX (big-endian)" : "RIFF (little-endian)")
      << "\n";
  out << "   format:    " << f.nChannels << " ch, " << f.nSamplesPerSec << " Hz, "
      << f.wBitsPerSample << "-bit "
      << (reader.IsFloat() && f.wBitsPerSample == 32 ? "float" : "integer") << ", block align "
      << f.nBlockAlign << "\n";
  out << "   channels:  " << ConfigText(f.channelConfig) << "\n";
  out << "   frames:    " << reader.GetNumFrames() << " (" << seconds << " s, "
      << reader.GetDataSize() << " data bytes)\n";
  if (reader.ChunksRead() & QO::k_chunkSmpl) {
    out << "   loop:      " << reader.GetLoopStartFrame() << " - " << reader.GetLoopEndFrame()
        << "\n";
  } else {
    out << "   loop:      none\n";
  }
  out << "   markers:   " << reader.GetMarkers().size() << "\n";
  for (const QO_WAVE_MARKER& marker : reader.GetMarkers()) {
    out << "     #" << marker.ID << " at frame " << marker.position;
    if (marker.labelSize != 0) out << " \"" << LabelText(marker) << "\"";
    out << "\n";
  }
}

}  // namespace qobase_tool
