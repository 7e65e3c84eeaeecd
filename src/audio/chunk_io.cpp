// Walk limits and byte-for-byte chunk copies.
#include "audio/chunk_io.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <memory>

namespace qobase_audio {
namespace {

constexpr uint32_t k_copyBufferSize = 64 * 1024;

unsigned int WriteOut(const zu::File& out, const void* bytes, unsigned int size) {
  errno = 0;
  return out.WriteExact(bytes, size) ? QO::k_chunkSuccess : WriteFailureResult();
}

}  // namespace

QO::ChunkResult WriteFailureResult() {
  return zu::File::GetLastError() == zu::k_fileErrorOutOfSpace ? QO::k_chunkOutOfSpace
                                                               : QO::k_chunkFailure;
}

uint64_t GetWalkLimit(const zu::File& file) {
  FILE* stream = file.GetStream();
  const int descriptor = stream ? fileno(stream) : -1;
  if (descriptor < 0) return 0;
  // Bytes a writable stream still buffers are part of the file as its reads see it.
  const int flags = fcntl(descriptor, F_GETFL);
  if (flags >= 0 && (flags & O_ACCMODE) != O_RDONLY) std::fflush(stream);
  struct stat info;
  if (fstat(descriptor, &info) != 0 || !S_ISREG(info.st_mode)) return 0;
  return info.st_size > 0 ? static_cast<uint64_t>(info.st_size) : 0;
}

unsigned int CopyStoredChunk(const zu::File& source, uint64_t headOffset, uint32_t bodySize,
                             const zu::File& out) {
  const uint64_t total = 8ull + bodySize;
  std::unique_ptr<unsigned char[]> buffer(
      new unsigned char[std::min<uint64_t>(total, k_copyBufferSize)]);
  for (uint64_t copied = 0; copied < total;) {
    const unsigned int wanted =
        static_cast<unsigned int>(std::min<uint64_t>(total - copied, k_copyBufferSize));
    // Every read names its offset: the source's stream is shared with the chunk objects.
    if (source.SetFilePointer(static_cast<long long>(headOffset + copied), zu::k_fileBegin) < 0 ||
        !source.ReadExact(buffer.get(), wanted)) {
      return QO::k_chunkFailure;
    }
    const unsigned int result = WriteOut(out, buffer.get(), wanted);
    if (result != QO::k_chunkSuccess) return result;
    copied += wanted;
  }
  if ((bodySize & 1) == 0) return QO::k_chunkSuccess;
  const unsigned char pad = 0;
  return WriteOut(out, &pad, 1);
}

}  // namespace qobase_audio
