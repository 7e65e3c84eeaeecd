// Prints what a WAV reader found: format, channel configuration, length, loop and markers.
// Shared by `qobase wavinfo` and the audio section of `qobase demo`.
#pragma once

#include <iosfwd>

class QoWavFileReader;

namespace qobase_tool {

void PrintWavSummary(const QoWavFileReader& reader, std::ostream& out);

}  // namespace qobase_tool
