// The strings section of `qobase demo`.
#include <qobase/strings/number_conversions.h>
#include <qobase/strings/std_str.h>
#include <qobase/strings/string_help.h>

#include <ostream>
#include <vector>

#include "command.h"

namespace qobase_tool {
namespace {

bool StringsDemo(std::ostream& out) {
  CStdStr text;
  text.Fmt("%s has %d channels at %.1f kHz", "take_01.wav", 2, 48.0);
  out << "   Fmt:      " << text << "\n";
  const int replaced = text.Replace("channels", "tracks");
  out << "   Replace:  " << text << " (" << replaced << " replaced)\n";
  CStdStr path("/music//takes/take_01.wav");
  out << "   Tokenize:";
  int position = 0;
  for (CStdStr token = path.Tokenize("/", position); position != -1;
       token = path.Tokenize("/", position)) {
    out << " [" << token << "]";
  }
  out << "\n";
  return replaced == 1;
}

bool NumbersDemo(std::ostream& out) {
  const CStdStr number("-1234567.891");
  const CStdStr two = StringHelp::FormatNumberString(number, 2);
  out << "   FormatNumberString(" << number << ", 2): " << two << "\n";
  out << "   FormatNumberString(" << number << ", 0): " << StringHelp::FormatNumberString(number, 0)
      << "\n";
  CStdStr compact("48.000");
  StringHelp::CompactNumberString(compact);
  out << "   CompactNumberString(48.000): " << compact << "\n";
  for (long long bytes : {512LL, 1536LL, 44100LL * 2 * 3 * 60, 5368709120LL}) {
    out << "   GetSizeString(" << bytes << "): " << StringHelp::GetSizeString(bytes, false, 2)
        << "\n";
  }
  out << "   transfer rate: " << StringHelp::GetSizeString(196608, true, 1) << "\n";
  std::vector<CStdStr> words;
  StringHelp::SplitWords("leadVocalTake 02", words, true);
  CStdStr joined;
  StringHelp::VectorToString(words, joined, " | ");
  out << "   SplitWords(leadVocalTake 02): " << joined << "\n";
  out << "   WildcardTextCompare(Take_01.WAV, *.wav): "
      << StringHelp::Bool2String(StringHelp::WildcardTextCompare("Take_01.WAV", "*.wav", false))
      << "\n";
  return two == "-1 234 567.89" && compact == "48";
}

const DemoRegistration s_section({10, "strings", StringsDemo});
const DemoRegistration s_numbers({11, "numbers and sizes", NumbersDemo});

}  // namespace
}  // namespace qobase_tool
