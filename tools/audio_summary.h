// Prints what an audio reader found: container, format named as users know it, channels with
// their speakers, length, loop and markers. Shared by `qobase info` and the demo.
#pragma once

#include <qobase/audio/wave_format.h>

#include <iosfwd>
#include <string>

class QoAudioFileReader;
class QoCAFFileReader;
class QoWavFileReader;

namespace qobase_tool {

void PrintWavSummary(const QoWavFileReader& reader, std::ostream& out);
// `isFloat` and `bits` from the file's description: the reader tells neither for every format
// (it gives 0 bits for 64-bit float).
void PrintCafSummary(const QoCAFFileReader& reader, bool isFloat, unsigned int bits,
                     std::ostream& out);

// The largest absolute sample value, read through the reader's float conversion from the first
// frame; false when the samples cannot be read.
bool MeasurePeak(QoAudioFileReader& reader, double& peak);

// A marker's label as text: up to the first NUL, other control bytes shown as '?'.
std::string LabelText(const QO_WAVE_MARKER& marker);

}  // namespace qobase_tool
