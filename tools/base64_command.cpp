// qobase base64 encode|decode [FILE|-]: Base64 text of a file, or the bytes of a Base64 text.
// Both directions stream in blocks, so a file of any size is handled in constant memory.
#include <qobase/streams/base64.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "command.h"
#include "input_file.h"
#include "standard_output.h"

namespace qobase_tool {
namespace {

constexpr size_t k_blockSize = 3 * 21846;  // a multiple of 3: encoded blocks join without padding

struct Base64Options {
  std::string file = "-";
};

// The input stream: standard input for "-", else the checked file.
struct Input {
  FILE* stream = nullptr;
  std::string name;
  bool owned = false;
  ~Input() {
    if (owned && stream) std::fclose(stream);
  }
};

int OpenInput(const std::string& file, Input& input) {
  if (file == "-") {
    input.stream = stdin;
    input.name = "standard input";
    return k_exitSuccess;
  }
  input.name = file;
  std::string reason;
  if (!CheckInputFile(file, reason)) return Fail(file, reason);
  input.stream = std::fopen(file.c_str(), "rb");
  if (!input.stream) return FailErrno(file);
  input.owned = true;
  return k_exitSuccess;
}

bool WriteOut(const char* data, size_t size) {
  std::cout.write(data, static_cast<std::streamsize>(size));
  return StandardOutputOk();
}

int Encode(Input& input) {
  std::vector<char> block(k_blockSize), text;
  for (;;) {
    const size_t got = std::fread(block.data(), 1, block.size(), input.stream);
    if (got != 0) {
      QoBase64::Encode(block.data(), got, text);
      if (!WriteOut(text.data(), text.size())) return k_exitFailure;
    }
    if (got < block.size()) break;
  }
  if (std::ferror(input.stream)) return FailErrno(input.name);
  std::cout << "\n";
  return k_exitSuccess;
}

// Checks Base64 text strictly as it streams by: only the alphabet (blanks, tabs and line breaks
// skipped), groups of four, "=" only as the last one or two characters of the last group.
// Complete groups are handed on, whitespace removed, for the library to decode.
class StrictBase64Text {
 public:
  // Feeds more text; false with `error` set at the first fault.
  bool Feed(const char* text, size_t size, std::string& groups) {
    for (size_t i = 0; i < size; ++i, ++m_offset) {
      const char c = text[i];
      if (c == ' ' || c == '\t' || c == '\n' || c == '\r') continue;
      const unsigned char value = QoBase64::szTable[static_cast<unsigned char>(c)];
      if (m_finished) return Fault("text after the '=' padding", m_offset);
      if (value == QoBase64::k_invalid || static_cast<unsigned char>(c) >= 0x80) {
        return Fault("a character outside the Base64 alphabet", m_offset);
      }
      if (c == '=') {
        if (m_inGroup < 2) return Fault("'=' padding inside the text", m_offset);
        ++m_padding;
      } else if (m_padding != 0) {
        return Fault("'=' padding inside the text", m_offset);
      }
      m_group[m_inGroup++] = c;
      if (m_inGroup == 4) {
        groups.append(m_group, 4);
        m_inGroup = 0;
        m_finished = m_padding != 0;
      }
    }
    return true;
  }

  // At the end of the text: false when it stopped inside a group.
  bool Finish() {
    if (m_inGroup != 0)
      return Fault("the text ends inside a group of four (missing '=' padding?)", m_offset);
    return true;
  }

  const std::string& Error() const { return m_error; }

 private:
  bool Fault(const char* what, unsigned long long offset) {
    m_error = std::string("not Base64 text: ") + what + " at byte " + std::to_string(offset);
    return false;
  }

  char m_group[4] = {};
  unsigned int m_inGroup = 0;
  unsigned int m_padding = 0;
  bool m_finished = false;
  unsigned long long m_offset = 0;
  std::string m_error;
};

// One pass over the input: checks it and, when `write` is set, decodes it to standard output.
int DecodePass(Input& input, bool write) {
  StrictBase64Text checker;
  std::vector<char> block(1 << 16), bytes;
  std::string groups;
  for (;;) {
    const size_t got = std::fread(block.data(), 1, block.size(), input.stream);
    groups.clear();
    if (!checker.Feed(block.data(), got, groups)) return Fail(input.name, checker.Error());
    if (write && !groups.empty()) {
      QoBase64::Decode(groups.data(), groups.size(), bytes);
      if (!WriteOut(bytes.data(), bytes.size())) return k_exitFailure;
    }
    if (got < block.size()) break;
  }
  if (std::ferror(input.stream)) return FailErrno(input.name);
  if (!checker.Finish()) return Fail(input.name, checker.Error());
  return k_exitSuccess;
}

int Decode(Input& input) {
  // A file is checked whole before a byte is written; standard input cannot be read twice, so
  // what precedes a fault in it has been written when the fault is reported.
  if (input.owned) {
    if (const int code = DecodePass(input, false)) return code;
    if (std::fseek(input.stream, 0, SEEK_SET) != 0) return FailErrno(input.name);
  }
  return DecodePass(input, true);
}

void AddBase64(CLI::App& parent) {
  CLI::App& command =
      *parent.add_subcommand("base64", "encode a file as Base64 text or decode Base64 text");
  command.require_subcommand(1);
  command.footer(
      "FILE '-' or no FILE reads standard input. Exit code 0 on success, 1 when the input\n"
      "cannot be read, is not Base64 text or standard output cannot be written, 2 on bad usage.");
  auto options = std::make_shared<Base64Options>();

  CLI::App& encode = *command.add_subcommand(
      "encode", "write the Base64 text of FILE's bytes to standard output, on one line");
  encode.add_option("FILE", options->file, "the file to encode, or '-'");
  SetRunner(encode, "qobase base64 encode [FILE|-]", [options] {
    Input input;
    if (const int code = OpenInput(options->file, input)) return code;
    return Encode(input);
  });

  CLI::App& decode =
      *command.add_subcommand("decode", "write the bytes of the Base64 text in FILE");
  decode.footer(
      "Blanks, tabs and line breaks are skipped. The text must be whole groups of four\n"
      "characters of the Base64 alphabet, with '=' padding only at the very end; anything else\n"
      "is refused (exit code 1) before a byte is written (from standard input, the bytes before\n"
      "the fault have been written).");
  decode.add_option("FILE", options->file, "the file to decode, or '-'");
  SetRunner(decode, "qobase base64 decode [FILE|-]", [options] {
    Input input;
    if (const int code = OpenInput(options->file, input)) return code;
    return Decode(input);
  });
}

const CommandRegistration s_base64("base64", AddBase64);

}  // namespace
}  // namespace qobase_tool
