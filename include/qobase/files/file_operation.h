// zu::FileOperation: small whole-file operations: reading text files, touching, unique
// temporary names and writability tests.
#pragma once

#include <qobase/files/path.h>

#include <cstdio>
#include <fstream>
#include <string>

namespace zu {

class FileOperation {
 public:
  // The file's bytes up to its first NUL byte; empty when it cannot be opened.
  static CStdStr ReadTextFile(const Path& path);
  // The file's bytes followed by one NUL character, without a leading UTF-8 byte-order mark;
  // empty when it cannot be opened. An empty file gives one NUL character.
  static std::string ReadUtf8FileRaw(const Path& path);
  static CStdStr ReadUtf8File(const Path& path);
  // Opens `stream` on `path` for reading unless it is open already; true when a first character
  // can be read (an empty file gives false).
  static bool OpenTextStream(std::ifstream& stream, const Path& path);

  // Same size and same text up to the first NUL byte, and both exist.
  static bool AreFilesIdentical(const Path& first, const Path& second);

  // Creates `path` empty when missing; an existing file is left as it is. True on success.
  static bool Touch(const Path& path);

  // Creates a new empty file in `dir` named by four lower-case hexadecimal digits (never "0000")
  // with `extension` ("tmp" in the form without it), starting at a random number and taking the
  // next free name. The file is created exclusively, so no two threads or processes get the
  // same name. Returns the number used and stores the path in `created`; returns 0 and leaves
  // `created` untouched when `dir` is not a directory, the file cannot be created, or all 65535
  // names are taken.
  static unsigned int TouchTempFileName(const Path& dir, Path& created);
  static unsigned int TouchTempFileName(const Path& dir, const CStdStr& extension, Path& created);
  // The same search starting after `startNumber` (1..65535; 65535 is followed by 1), giving up
  // with 0 after `attempts` names (at most, and by default, one full cycle of 65535).
  static unsigned int TouchTempFileNameFrom(const Path& dir, const CStdStr& extension,
                                            unsigned int startNumber, Path& created,
                                            unsigned int attempts = 0xFFFF);

  // A directory: a file can be created in it. Anything else: it can be opened for appending
  // (a file created by the test is removed again).
  static bool IsWritable(const Path& path);

  // The C library's fopen of `path` with `mode`.
  static FILE* OpenFile(const CStdStr& path, const CStdStr& mode);
  // Stores the opened stream in `out`; false when `out` is null or the open failed.
  static bool WithOpenFile(FILE** out, const CStdStr& path, const CStdStr& mode);
  // A stream is the handle on this platform.
  static FILE* ConvertFILEToHandle(FILE* stream) { return stream; }
};

}  // namespace zu
