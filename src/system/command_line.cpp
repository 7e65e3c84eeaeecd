// The command-line check. The program is found as the two patterns
//   quoted:   ^(?:["'])(.*?)(?:["'])
//   unquoted: ^(.*?/[^/]*?)(?:$|\s)
// find it in the ECMAScript grammar, scanned here directly: a regular-expression engine would
// recurse once per character and can exhaust the stack on a long command line.
#include <qobase/system/process.h>

#include <sys/stat.h>
#include <unistd.h>

namespace zu {
namespace {

// ECMAScript's "." matches anything but a line terminator.
bool IsLineTerminator(char c) { return c == '\n' || c == '\r'; }

// "\s" in the classic locale.
bool IsWhiteSpace(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}

bool IsQuote(char c) { return c == '"' || c == '\''; }

// The shortest run after an opening quote up to the next quote of either kind.
bool FindQuotedProgram(const CStdStr& commandLine, CStdStr& program) {
  if (commandLine.empty() || !IsQuote(commandLine[0])) return false;
  for (size_t i = 1; i < commandLine.size(); ++i) {
    if (IsQuote(commandLine[i])) {
      program = commandLine.substr(1, i - 1);
      return true;
    }
    if (IsLineTerminator(commandLine[i])) return false;
  }
  return false;
}

// The shortest prefix holding a slash that ends at the end of the line or at white space: the
// text up to the first white space after the first slash. The text before that slash must hold
// no line terminator; after it the first white space (line terminators included) ends the match.
bool FindUnquotedProgram(const CStdStr& commandLine, CStdStr& program) {
  const size_t slash = commandLine.find('/');
  if (slash == CStdStr::npos) return false;
  for (size_t i = 0; i < slash; ++i) {
    if (IsLineTerminator(commandLine[i])) return false;
  }
  size_t end = slash + 1;
  while (end < commandLine.size() && !IsWhiteSpace(commandLine[end])) ++end;
  program = commandLine.substr(0, end);
  return true;
}

}  // namespace

bool GetCommandLineProgram(const CStdStr& commandLine, CStdStr& program) {
  return FindQuotedProgram(commandLine, program) || FindUnquotedProgram(commandLine, program);
}

bool IsValidCommandLine(const CStdStr& commandLine) {
  if (commandLine.find('\0') != CStdStr::npos) return false;
  CStdStr program;
  if (!GetCommandLineProgram(commandLine, program)) return false;
  // A directory passes the execute test too, but it is no program.
  struct stat status;
  if (stat(program.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return false;
  return access(program.c_str(), X_OK) == 0;
}

}  // namespace zu
