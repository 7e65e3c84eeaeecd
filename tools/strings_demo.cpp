// The strings section of `qobase demo`.
#include <qobase/strings/std_str.h>

#include <ostream>

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

const DemoRegistration s_section({10, "strings", StringsDemo});

}  // namespace
}  // namespace qobase_tool
