// Prints what an audio reader found: container, format named as users know it, channels with
// their speakers, length, loop and markers. Shared by `qobase info` and the demo.
#pragma once

#include <iosfwd>

class QoAudioFileReader;
class QoCAFFileReader;
class QoWavFileReader;

namespace qobase_tool {

void PrintWavSummary(const QoWavFileReader& reader, std::ostream& out);
// `isFloat` from the file's description: the reader does not tell.
void PrintCafSummary(const QoCAFFileReader& reader, bool isFloat, std::ostream& out);

// The largest absolute sample value, read through the reader's float conversion from the first
// frame; false when the samples cannot be read.
bool MeasurePeak(QoAudioFileReader& reader, double& peak);

}  // namespace qobase_tool
