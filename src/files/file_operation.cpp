// FileOperation's whole-file reads, touching and writability tests; its temporary names are in
// temp_file_names.cpp.
#include <qobase/files/file.h>
#include <qobase/files/file_operation.h>
#include <qobase/result_code.h>

#include <cstdio>
#include <new>
#include <stdexcept>
#include <string>

namespace zu {
namespace {

// Reads all of an open file into `buffer`, growing it as needed; false on allocation failure.
bool ReadWhole(const File& file, std::string& buffer) {
  const long long size = file.GetFileSize();
  if (size < 0) return false;
  try {
    buffer.assign(static_cast<size_t>(size) + 1, '\0');
  } catch (const std::bad_alloc&) {
    return false;
  } catch (const std::length_error&) {
    return false;
  }
  size_t done = 0;
  const size_t total = static_cast<size_t>(size);
  while (done < total) {
    const size_t chunk = total - done > 0x40000000u ? 0x40000000u : total - done;
    unsigned int got = 0;
    if (!file.Read(&buffer[done], static_cast<unsigned int>(chunk), got) || got == 0) break;
    done += got;
  }
  return true;
}

}  // namespace

CStdStr FileOperation::ReadTextFile(const Path& path) {
  File file;
  if (file.Open(path, k_openModeRead, 0) != QO::k_resultSuccess) return CStdStr();
  std::string buffer;
  if (!ReadWhole(file, buffer)) return CStdStr();
  return CStdStr(buffer.c_str());
}

std::string FileOperation::ReadUtf8FileRaw(const Path& path) {
  File file;
  if (file.Open(path, k_openModeRead, 0) != QO::k_resultSuccess) return std::string();
  std::string text;
  if (!ReadWhole(file, text)) return std::string();
  text.back() = '\0';
  if (text.size() >= 3 && static_cast<unsigned char>(text[0]) == 0xEF &&
      static_cast<unsigned char>(text[1]) == 0xBB && static_cast<unsigned char>(text[2]) == 0xBF) {
    text.erase(0, 3);
  }
  return text;
}

CStdStr FileOperation::ReadUtf8File(const Path& path) { return ReadUtf8FileRaw(path); }

bool FileOperation::OpenTextStream(std::ifstream& stream, const Path& path) {
  if (!stream.is_open()) {
    stream.open(path.GetText(), std::ios::in);
    if (!stream.is_open()) stream.setstate(std::ios::failbit);
  }
  stream.peek();
  return stream.good();
}

bool FileOperation::AreFilesIdentical(const Path& first, const Path& second) {
  if (first.GetFileSize() != second.GetFileSize()) return false;
  if (ReadTextFile(first) != ReadTextFile(second)) return false;
  if (!first.Exists()) return false;
  return second.Exists();
}

bool FileOperation::Touch(const Path& path) {
  std::ofstream out(path.GetText(), std::ios::out | std::ios::app);
  if (!out.is_open()) return false;
  out.close();
  return !out.fail();
}

bool FileOperation::IsWritable(const Path& path) {
  if (path.IsDirectory()) {
    Path probe;
    if (TouchTempFileName(path, probe) == 0) return false;
    probe.Remove(false);
    return true;
  }
  const bool existed = path.Exists();
  File file;
  const unsigned int code =
      file.Open(path, k_openModeReadAppend, existed ? 0 : File::k_flagDeleteOnClose);
  file.Close();
  return code == QO::k_resultSuccess;
}

FILE* FileOperation::OpenFile(const CStdStr& path, const CStdStr& mode) {
  return fopen(path.c_str(), mode.c_str());
}

bool FileOperation::WithOpenFile(FILE** out, const CStdStr& path, const CStdStr& mode) {
  if (!out) return false;
  *out = OpenFile(path, mode);
  return *out != nullptr;
}

}  // namespace zu
