// A program outside the project that uses the installed library through its umbrella header.
#include <qobase/qobase.h>

#include <cstdio>

int main() {
  CStdStr text;
  text.Fmt("consumer %s", "ok");
  std::printf("%s (%s)\n", text.c_str(), QOBASE_VERSION_STRING);
  return text == "consumer ok" ? 0 : 1;
}
