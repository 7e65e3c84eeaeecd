#include <qobase/files/file.h>
#include <qobase/files/file_operation.h>
#include <qobase/result_code.h>
#include <qobase/system/critical_section.h>

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdint>
#include <mutex>
#include <new>
#include <random>
#include <vector>

namespace zu {
namespace {

const unsigned int k_tempNameCount = 0xFFFF;

// Serialises the choice and creation of temporary names within the process.
CriticalSection s_tempNameLock;

// Seeded once from the system's random device; without one, from the clock and the process id,
// which still differ between processes started together.
std::mt19937& TempNameGenerator() {
  static std::mt19937 s_generator([]() -> std::uint32_t {
    try {
      std::random_device device("/dev/urandom");
      return device();
    } catch (const std::exception&) {
      const auto ticks = std::chrono::steady_clock::now().time_since_epoch().count();
      return static_cast<std::uint32_t>(ticks) ^ (static_cast<std::uint32_t>(getpid()) << 16);
    }
  }());
  return s_generator;
}

unsigned int DrawStartNumber() {
  static std::mutex s_generatorLock;
  std::lock_guard<std::mutex> hold(s_generatorLock);
  std::uniform_int_distribution<unsigned int> distribution(1, k_tempNameCount);
  return distribution(TempNameGenerator());
}

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

unsigned int FileOperation::TouchTempFileName(const Path& dir, Path& created) {
  return TouchTempFileName(dir, "tmp", created);
}

unsigned int FileOperation::TouchTempFileName(const Path& dir, const CStdStr& extension,
                                              Path& created) {
  if (!dir.IsDirectory()) return 0;
  return TouchTempFileNameFrom(dir, extension, DrawStartNumber(), created);
}

unsigned int FileOperation::TouchTempFileNameFrom(const Path& dir, const CStdStr& extension,
                                                  unsigned int startNumber, Path& created,
                                                  unsigned int attempts) {
  if (!dir.IsDirectory()) return 0;
  CriticalSectionLock hold(s_tempNameLock);
  unsigned int number = startNumber & 0xFFFF;
  // At most one full cycle of the 65535 names, then give up.
  if (attempts > k_tempNameCount) attempts = k_tempNameCount;
  for (unsigned int tried = 0; tried < attempts; ++tried) {
    number = (number + 1) & 0xFFFF;
    if (number == 0) number = 1;
    char name[8];
    if (snprintf(name, sizeof(name), "%04x", number) != 4) return 0;
    Path candidate = Path::Join({dir.GetFullPath(), name});
    candidate.ReplaceExtension(extension);
    if (candidate.Exists()) continue;
    // Exclusive creation: a name taken meanwhile by another process moves the search on.
    const int descriptor =
        ::open(candidate.GetText().c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (descriptor < 0) {
      if (errno == EEXIST) continue;
      return 0;
    }
    ::close(descriptor);
    created = std::move(candidate);
    return number;
  }
  return 0;
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
