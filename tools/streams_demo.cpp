// The Base64 and GUID text section of `qobase demo`.
#include <qobase/streams/base64.h>
#include <qobase/streams/guid.h>

#include <ostream>
#include <string>
#include <vector>

#include "command.h"

namespace qobase_tool {
namespace {

bool StreamsDemo(std::ostream& out) {
  const std::string message = "QOBase: audio authoring base services";
  std::vector<char> text;
  QoBase64::Encode(message.data(), message.size(), text);
  const std::string encoded(text.begin(), text.end());
  out << "   Base64 of \"" << message << "\":\n      " << encoded << "\n";

  // Decoding skips the line breaks another encoder may have put in.
  const std::string wrapped = encoded.substr(0, 20) + "\r\n" + encoded.substr(20);
  std::vector<char> bytes;
  QoBase64::Decode(wrapped.data(), wrapped.size(), bytes);
  const std::string decoded(bytes.begin(), bytes.end());
  out << "   decoded again (with a line break inside): \"" << decoded << "\"\n";

  const char* const subFormat = "{00000003-0000-0010-8000-00aa00389b71}";
  const QoGuid guid = StringHelp::ConvertStringToQoGuid(subFormat);
  out << "   GUID " << subFormat << "\n      canonical: " << StringHelp::ConvertQoGuidToString(guid)
      << "\n      bytes in memory:";
  const auto* raw = reinterpret_cast<const unsigned char*>(&guid);
  static const char k_hex[] = "0123456789ABCDEF";
  for (int i = 0; i < 16; ++i) out << ' ' << k_hex[raw[i] >> 4] << k_hex[raw[i] & 0xF];
  out << "\n";
  const bool rejected =
      StringHelp::ConvertStringToQoGuid("00000003-0000-0010-8000-00aa00389b71") == QoGuidNull;
  out << "   without braces the text is rejected: " << (rejected ? "yes" : "no") << "\n";
  return decoded == message && guid.Data1 == 3 && rejected;
}

const DemoRegistration s_section({20, "Base64 and GUID text", StreamsDemo});

}  // namespace
}  // namespace qobase_tool
