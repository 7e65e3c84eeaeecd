// FileOperation's temporary names: a free four-digit hexadecimal name in a folder, taken by
// creating the file exclusively, from a random start drawn under a lock.
#include <qobase/files/file_operation.h>
#include <qobase/system/critical_section.h>

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <mutex>
#include <random>

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

}  // namespace

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

}  // namespace zu
