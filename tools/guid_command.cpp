// qobase guid [TEXT]: checks and normalises a GUID text, or makes a new random GUID.
#include <qobase/streams/guid.h>

#include <cstring>
#include <iostream>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "command.h"

namespace qobase_tool {
namespace {

// A version-4 (random) GUID in the RFC 4122 sense.
QoGuid RandomGuid() {
  std::random_device device;
  std::uniform_int_distribution<unsigned int> byte(0, 255);
  unsigned char bytes[16];
  for (unsigned char& b : bytes) b = static_cast<unsigned char>(byte(device));
  QoGuid guid;
  std::memcpy(&guid, bytes, sizeof guid);
  guid.Data3 = static_cast<uint16_t>((guid.Data3 & 0x0FFF) | 0x4000);
  guid.Data4[0] = static_cast<uint8_t>((guid.Data4[0] & 0x3F) | 0x80);
  return guid;
}

int RunGuid(const std::string& text, bool given) {
  if (!given) {
    std::cout << StringHelp::ConvertQoGuidToString(RandomGuid()) << "\n";
    return k_exitSuccess;
  }
  // The wide parser reports whether the text was valid; the 8-bit one cannot tell a bad text
  // from the all-zero GUID. Every valid character is ASCII, so widening byte by byte is exact.
  const std::wstring wide(text.begin(), text.end());
  QoGuid guid = QoGuidNull;
  if (!WStrToQoGuid(wide, guid)) {
    return Fail(text, "not a GUID of the form {XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}");
  }
  std::cout << StringHelp::ConvertQoGuidToString(guid) << "\n";
  return k_exitSuccess;
}

void AddGuid(CLI::App& parent) {
  CLI::App& command =
      *parent.add_subcommand("guid", "print a GUID in canonical form, or a new random one");
  command.footer(
      "With TEXT, checks that it is a braced GUID such as\n"
      "{03020100-0504-0706-0809-0a0b0c0d0e0f} (hex digits of either case) and prints it in\n"
      "canonical upper-case form; exit code 1 when it is not one.\n"
      "Without TEXT, prints a new random GUID.");
  auto text = std::make_shared<std::string>();
  CLI::Option* option = command.add_option("TEXT", *text, "the GUID text to check");
  SetRunner(command, "qobase guid [TEXT]",
            [text, option] { return RunGuid(*text, option->count() != 0); });
}

const CommandRegistration s_guid("guid", AddGuid);

}  // namespace
}  // namespace qobase_tool
