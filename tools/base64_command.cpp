// qobase base64 encode|decode [FILE|-]: Base64 text of a file, or the bytes of a Base64 text.
#include <qobase/streams/base64.h>

#include <iostream>
#include <string>
#include <vector>

#include "command.h"

namespace qobase_tool {
namespace {

// Decoding makes an empty output both for an invalid text and for one that holds no bytes; the
// program tells them apart so a bad file is reported instead of printing nothing.
bool HoldsOnlyBase64(const std::string& text) {
  for (char c : text) {
    if (c == ' ' || c == '\t' || c == '\n' || c == '\r') continue;
    if (QoBase64::szTable[static_cast<unsigned char>(c)] == QoBase64::k_invalid) return false;
  }
  return true;
}

int RunBase64(const std::vector<std::string>& args) {
  if (args.empty()) return UsageError("base64", "missing mode 'encode' or 'decode'");
  if (args.size() > 2) return UsageError("base64", "too many arguments");
  const std::string& mode = args[0];
  if (mode != "encode" && mode != "decode") {
    return UsageError("base64", "unknown mode '" + mode + "'");
  }
  const std::string file = args.size() == 2 ? args[1] : "-";
  const std::string name = file == "-" ? "standard input" : file;

  std::string input;
  if (!ReadInput(file, input)) return Fail(name, "cannot read the file");

  if (mode == "encode") {
    std::vector<char> text;
    QoBase64::Encode(input.data(), input.size(), text);
    std::cout.write(text.data(), static_cast<std::streamsize>(text.size()));
    std::cout << "\n";
  } else {
    if (!HoldsOnlyBase64(input)) return Fail(name, "not Base64 text");
    std::vector<char> bytes;
    QoBase64::Decode(input.data(), input.size(), bytes);
    std::cout.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  }
  std::cout.flush();
  if (!std::cout) return Fail("standard output", "write failed");
  return k_exitSuccess;
}

const CommandRegistration s_base64({
    "base64",
    "encode a file as Base64 text or decode Base64 text",
    "usage: qobase base64 encode [FILE|-]\n"
    "       qobase base64 decode [FILE|-]\n\n"
    "encode  writes the Base64 text of FILE's bytes to standard output, on one line\n"
    "        (no line breaks inside the text).\n"
    "decode  writes the bytes of the Base64 text in FILE to standard output; blanks, tabs and\n"
    "        line breaks in the text are skipped. Any other character outside the Base64\n"
    "        alphabet and '=' is an error (exit code 1).\n\n"
    "FILE '-' or no FILE reads standard input.\n",
    RunBase64,
});

}  // namespace
}  // namespace qobase_tool
