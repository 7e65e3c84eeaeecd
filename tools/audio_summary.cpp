#include "audio_summary.h"

#include <qobase/audio/caf_reader.h>
#include <qobase/audio/wav_file_reader.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <ostream>
#include <string>
#include <vector>

#include "channel_layout_text.h"
#include "wave_format_text.h"

namespace qobase_tool {
namespace {

std::string Hex(unsigned int value) {
  char text[16];
  std::snprintf(text, sizeof text, "0x%X", value);
  return text;
}

// "6 channels, speakers FL FR FC LFE BL BR (mask 0x3F)", or the configuration type when the
// channels name no speakers.
std::string ChannelsText(QoChannelConfig config, unsigned int count) {
  std::string text = ChannelCount(count);
  switch (QO::GetChannelConfigType(config)) {
    case QO::k_channelConfigStandard: {
      const unsigned int mask = QO::GetChannelConfigMask(config);
      return text + ", speakers " + SpeakerNames(mask) + " (mask " + Hex(mask) + ")";
    }
    case QO::k_channelConfigAmbisonic:
      return text + ", ambisonic";
    default:
      return text + ", no speaker positions";
  }
}

// "   layout:    5.1 (L,R,C,LFE,SL,SR)": the configuration as the authoring tool names it.
void PrintLayout(const WaveFormatExtensible& format, std::ostream& out) {
  const ChannelLayoutText layout = DescribeChannelLayout(format.channelConfig);
  if (layout.name.empty()) return;
  out << "   layout:    " << layout.name
      << (layout.names.empty() ? "" : " (" + layout.JoinedNames() + ")") << "\n";
}

void PrintLength(const QoAudioFileReader& reader, std::ostream& out) {
  char seconds[32];
  std::snprintf(seconds, sizeof seconds, "%.3f", reader.GetDuration());
  out << "   frames:    " << reader.GetNumFrames() << " (" << seconds << " s, "
      << reader.GetDataSize() << " data bytes)\n";
}

}  // namespace

void PrintWavSummary(const QoWavFileReader& reader, std::ostream& out) {
  const WaveFormatExtensible& f = *reader.GetFormat();
  const QoWaveFormatFacts& facts = reader.GetStoredFormat();
  out << "   container: " << (reader.IsByteSwapped() ? "RIFX (big-endian)" : "RIFF (little-endian)")
      << " WAVE\n";
  out << "   format:    " << FormatName(facts, reader.IsFloat()) << ", "
      << SampleText(facts, reader.IsFloat()) << ", " << f.nSamplesPerSec << " Hz, block align "
      << f.nBlockAlign << "\n";
  if (facts.hasExtensibleFields && !IsLibraryRecord(facts)) {
    // The mask the file names (0, "none", included); the library's configuration moves some
    // speakers (a rear pair without sides plays on the sides, no mask plays the default ones),
    // which is said only when it differs. A format read the default way has a configuration
    // taken from other bytes, which says nothing about this.
    out << "   channels:  " << ChannelCount(facts.numChannels) << ", speakers "
        << SpeakerNames(facts.channelMask) << " (mask " << Hex(facts.channelMask) << ")";
    if (facts.standardLayoutUsed &&
        QO::GetChannelConfigType(f.channelConfig) == QO::k_channelConfigStandard &&
        QO::GetChannelConfigMask(f.channelConfig) != facts.channelMask) {
      out << ", played as " << SpeakerNames(QO::GetChannelConfigMask(f.channelConfig));
    }
    out << "\n";
  } else {
    // Plain PCM and float name no speakers; an extensible format or library record does.
    out << "   channels:  " << ChannelsText(f.channelConfig, f.nChannels)
        << (facts.formatTag == 0xFFFE ? "" : ", by default (the file stores no mask)") << "\n";
  }
  PrintLayout(f, out);
  PrintLength(reader, out);
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

void PrintCafSummary(const QoCAFFileReader& reader, bool isFloat, unsigned int bits,
                     std::ostream& out) {
  const WaveFormatExtensible& f = *reader.GetFormat();
  out << "   container: CAF (Core Audio Format)\n";
  out << "   format:    linear PCM, " << bits << "-bit " << (isFloat ? "float" : "integer") << ", "
      << f.nSamplesPerSec << " Hz, block align " << f.nBlockAlign << "\n";
  out << "   channels:  " << ChannelsText(f.channelConfig, f.nChannels) << "\n";
  PrintLayout(f, out);
  PrintLength(reader, out);
}

bool MeasurePeak(QoAudioFileReader& reader, double& peak) {
  const unsigned int channels = reader.GetFormat()->nChannels;
  if (channels == 0 || reader.SeekToAudioFrame(0) < 0) return false;
  // A block of at most 1 Mi samples, however many channels the format claims (up to 65,535).
  const unsigned int blockFrames = std::max(1u, std::min(4096u, (1u << 20) / channels));
  std::vector<float> block(static_cast<size_t>(blockFrames) * channels);
  peak = 0.0;
  for (unsigned int total = 0; total < reader.GetNumFrames();) {
    const unsigned int got = reader.ReadPCMDataAsFloat32(blockFrames, block.data());
    if (got == 0) break;
    for (size_t i = 0; i < static_cast<size_t>(got) * channels; ++i) {
      peak = std::fmax(peak, std::fabs(static_cast<double>(block[i])));
    }
    total += got;
  }
  return true;
}

std::string LabelText(const QO_WAVE_MARKER& marker) {
  std::string text;
  for (unsigned int i = 0; i < marker.labelSize && marker.label[i] != '\0'; ++i) {
    const unsigned char c = static_cast<unsigned char>(marker.label[i]);
    text += c < 0x20 || c == 0x7F ? '?' : static_cast<char>(c);
  }
  return text;
}

}  // namespace qobase_tool
