// zu::File (result codes, locking across processes, delete-on-close, counted I/O, error
// classification) and zu::MemoryMappedFile on top of it.
#include <qobase/files/file.h>
#include <qobase/files/memory_mapped_file.h>
#include <qobase/result_code.h>

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include "support/files_child.h"
#include "support/temp_dir.h"

namespace {

TEST(File, OpenResultCodes) {
  qotest::TempDir dir;
  zu::File file;
  const auto open = [&](const std::string& name, unsigned int mode) {
    return file.Open(zu::Path(name.empty() ? name : dir.File(name)), static_cast<QoOpenMode>(mode),
                     0);
  };
  EXPECT_EQ(QO::k_resultInvalidParameter, open("", k_openModeWrite));
  EXPECT_EQ(QO::k_resultInvalidParameter, open("x", 4));
  EXPECT_FALSE(zu::Path(dir.File("x")).Exists());
  EXPECT_EQ(QO::k_resultFileNotFound, open("missing", k_openModeRead));
  EXPECT_EQ(QO::k_resultFileNotFound, open("no/such/dir", k_openModeWrite));
  // Writing into a directory is neither "missing" nor "denied".
  EXPECT_EQ(QO::k_resultFailure, file.Open(zu::Path(dir.Path()), k_openModeWrite, 0));
  EXPECT_FALSE(file.IsOpen());
  EXPECT_EQ(QO::k_resultSuccess, open("new", k_openModeWrite));
  // A second Open on an open handle is refused rather than leaking the first stream.
  EXPECT_EQ(QO::k_resultFailure, open("other", k_openModeWrite));
  EXPECT_TRUE(file.Close() == QO::k_resultSuccess);
  EXPECT_TRUE(file.Close() == QO::k_resultFailure);
  EXPECT_TRUE(zu::Path(dir.File("new")).FileExists());
  EXPECT_TRUE(!zu::Path(dir.File("other")).Exists());
  zu::File borrowed(stdout);
  EXPECT_EQ(QO::k_resultFailure, borrowed.Open(zu::Path(dir.File("b")), k_openModeWrite, 0));
  EXPECT_EQ(QO::k_resultFailure, borrowed.Close());

  // A forbidden file gives 66; root ignores permissions, so check as an ordinary user.
  ASSERT_TRUE(qotest::WriteFileBytes(dir.File("secret"), "x"));
  ASSERT_EQ(0, chmod(dir.File("secret").c_str(), 0));
  ASSERT_EQ(0, chmod(dir.Path().c_str(), 0755));
  EXPECT_EQ(static_cast<int>(QO::k_resultFileNotFound),
            qotest::RunAsOrdinaryUser([&] { return open("secret", k_openModeRead); }));
}

TEST(File, WriterLockHoldsAcrossHandlesAndProcesses) {
  qotest::TempDir dir;
  const zu::Path path(dir.File("locked.bin"));
  zu::File first;
  ASSERT_EQ(QO::k_resultSuccess, first.Open(path, k_openModeWrite, 0));
  ASSERT_TRUE(first.WriteExact("keep", 4));
  ASSERT_EQ(0, fflush(first.GetStream()));
  zu::File second;
  for (QoOpenMode mode : {k_openModeWrite, k_openModeAppend, k_openModeReadAppend}) {
    EXPECT_EQ(QO::k_resultFailure, second.Open(path, mode, 0)) << mode;
  }
  // Readers take no lock.
  EXPECT_TRUE(second.Open(path, k_openModeRead, 0) == QO::k_resultSuccess);
  EXPECT_TRUE(second.Close() == QO::k_resultSuccess);
  const auto openInChild = [&](QoOpenMode mode) {
    return qotest::RunInChild([&] {
      zu::File other;
      return static_cast<int>(other.Open(path, mode, 0));
    });
  };
  EXPECT_EQ(static_cast<int>(QO::k_resultFailure), openInChild(k_openModeWrite));
  // The refused writer did not truncate the holder's data.
  EXPECT_EQ("keep", qotest::ReadFileBytes(path.GetFullPath()));
  EXPECT_EQ(QO::k_resultSuccess, first.Close());
  EXPECT_EQ(static_cast<int>(QO::k_resultSuccess), openInChild(k_openModeAppend));
  EXPECT_EQ(QO::k_resultSuccess, second.Open(path, k_openModeWrite, 0));
  EXPECT_EQ(0, second.GetFileSize());
}

TEST(File, DeleteOnCloseFollowsRenames) {
  qotest::TempDir dir;
  zu::File file;
  ASSERT_EQ(QO::k_resultSuccess,
            file.Open(zu::Path(dir.File("a.tmp")), k_openModeWrite, zu::File::k_flagDeleteOnClose));
  ASSERT_TRUE(file.WriteExact("data", 4));
  ASSERT_EQ(0, rename(dir.File("a.tmp").c_str(), dir.File("b.tmp").c_str()));
  EXPECT_EQ(dir.File("b.tmp"), zu::FileDescriptorToPath(fileno(file.GetStream())).GetFullPath());
  EXPECT_EQ(QO::k_resultSuccess, file.Close());
  EXPECT_FALSE(zu::Path(dir.File("a.tmp")).Exists() || zu::Path(dir.File("b.tmp")).Exists());
  {
    zu::File scoped;
    ASSERT_EQ(QO::k_resultSuccess, scoped.Open(zu::Path(dir.File("c.tmp")), k_openModeReadAppend,
                                               zu::File::k_flagDeleteOnClose));
    EXPECT_TRUE(zu::Path(dir.File("c.tmp")).Exists());
  }
  EXPECT_FALSE(zu::Path(dir.File("c.tmp")).Exists());
  // A file removed while open is not mistaken for another.
  ASSERT_EQ(QO::k_resultSuccess,
            file.Open(zu::Path(dir.File("e")), k_openModeWrite, zu::File::k_flagDeleteOnClose));
  ASSERT_EQ(0, unlink(dir.File("e").c_str()));
  EXPECT_TRUE(zu::FileDescriptorToPath(fileno(file.GetStream())).IsEmpty());
  EXPECT_EQ(QO::k_resultSuccess, file.Close());

  // A pipe names no path; neither does a closed descriptor.
  int ends[2];
  ASSERT_EQ(0, pipe(ends));
  EXPECT_TRUE(zu::FileDescriptorToPath(ends[0]).IsEmpty());
  close(ends[0]);
  close(ends[1]);
  EXPECT_TRUE(zu::FileDescriptorToPath(ends[0]).IsEmpty());
  EXPECT_TRUE(zu::FileDescriptorToPath(-1).IsEmpty());
}

TEST(File, ReadsAndWritesCountBytes) {
  qotest::TempDir dir;
  const zu::Path path(dir.File("io.bin"));
  zu::File file;
  char buffer[16] = {0};
  unsigned int count = 99;
  EXPECT_FALSE(file.Read(buffer, 4, count) || file.Write("x", 1) || file.SetEndOfFile() ||
               file.SetLastWriteTime(1000) || count != 0);
  EXPECT_EQ(-3,
            file.SetFilePointer(0, zu::k_fileBegin) + file.GetFileSize() + file.GetLastWriteTime());
  ASSERT_EQ(QO::k_resultSuccess, file.Open(path, k_openModeWrite, 0));
  EXPECT_TRUE(file.Write("0123456789abcdef", 16, count, 16));
  EXPECT_FALSE(file.Write("xy", 2, count, 3));
  EXPECT_EQ(2u, count);
  EXPECT_TRUE(file.WriteExact("z", 1, count));
  EXPECT_EQ(19, file.SetFilePointer(0, zu::k_fileEnd));
  EXPECT_EQ(-1, file.SetFilePointer(-1, zu::k_fileBegin));
  EXPECT_EQ(10, file.SetFilePointer(10, zu::k_fileBegin));
  EXPECT_TRUE(file.SetEndOfFile());
  EXPECT_TRUE(file.GetFileSize() == 10);
  EXPECT_TRUE(file.SetLastWriteTime(1234567890));
  EXPECT_TRUE(file.GetLastWriteTime() == 1234567890);
  ASSERT_EQ(QO::k_resultSuccess, file.Close());
  EXPECT_EQ("0123456789", qotest::ReadFileBytes(path.GetFullPath()));

  ASSERT_EQ(QO::k_resultSuccess, file.Open(path, k_openModeRead, 0));
  EXPECT_TRUE(file.Read(buffer, 4, count, 4));
  EXPECT_EQ(6, file.SetFilePointer(2, zu::k_fileCurrent));
  // Short at the end: ReadExact fails, Read succeeds, both count what they got.
  EXPECT_FALSE(file.ReadExact(buffer, 8, count));
  EXPECT_EQ("6789", std::string(buffer, count));
  EXPECT_TRUE(file.Read(buffer, 8, count));
  EXPECT_TRUE(count == 0);
  EXPECT_FALSE(file.Write("no", 2, count, 2));
  EXPECT_EQ(QO::k_resultSuccess, file.Close());

  // Append modes write at the end whatever the position; "a+" also reads.
  for (QoOpenMode mode : {k_openModeReadAppend, k_openModeAppend}) {
    ASSERT_EQ(QO::k_resultSuccess, file.Open(path, mode, 0));
    EXPECT_EQ(0, file.SetFilePointer(0, zu::k_fileBegin));
    EXPECT_EQ(mode == k_openModeReadAppend, file.ReadExact(buffer, 3));
    EXPECT_TRUE(
        file.WriteExact(mode == k_openModeAppend ? "C" : "AB", mode == k_openModeAppend ? 1 : 2));
    EXPECT_EQ(QO::k_resultSuccess, file.Close());
  }
  EXPECT_EQ("0123456789ABC", qotest::ReadFileBytes(path.GetFullPath()));
}

TEST(File, CopiesBorrowAndMovesTransferOwnership) {
  qotest::TempDir dir;
  const zu::Path path(dir.File("m"));
  zu::File owner;
  ASSERT_EQ(QO::k_resultSuccess, owner.Open(path, k_openModeWrite, zu::File::k_flagDeleteOnClose));
  {
    zu::File copy(owner);
    EXPECT_TRUE(owner.GetStream() == copy.GetStream());
    EXPECT_TRUE(copy.WriteExact("ab", 2));
    EXPECT_EQ(QO::k_resultFailure, copy.Close());
  }
  // Destroying the borrowed copy left the stream open.
  EXPECT_TRUE(owner.WriteExact("cd", 2));
  zu::File assigned, moved;
  assigned = owner;
  EXPECT_EQ(QO::k_resultFailure, assigned.Close());
  moved = std::move(owner);
  EXPECT_FALSE(owner.IsOpen() || owner.Close() == QO::k_resultSuccess);
  zu::File movedAgain(std::move(moved));
  EXPECT_FALSE(moved.IsOpen());
  // The flags came along: closing deletes.
  EXPECT_TRUE(path.Exists());
  EXPECT_TRUE(movedAgain.Close() == QO::k_resultSuccess);
  EXPECT_TRUE(!path.Exists());

  // A borrowed handle moved elsewhere stays borrowed: the stream is never closed by us.
  FILE* stream = fopen(dir.File("raw").c_str(), "w");
  ASSERT_NE(nullptr, stream);
  {
    zu::File borrowed(stream), target;
    target = std::move(borrowed);
    EXPECT_EQ(QO::k_resultFailure, target.Close());
  }
  EXPECT_EQ(1u, fwrite("r", 1, 1, stream));
  EXPECT_EQ(0, fclose(stream));
}

TEST(File, GetLastErrorClassifiesWriteFailures) {
  errno = EIO;
  EXPECT_EQ(zu::k_fileErrorNone, zu::File::GetLastError());
  // A full device.
  zu::File full;
  ASSERT_EQ(QO::k_resultSuccess, full.Open(zu::Path("/dev/full"), k_openModeWrite, 0));
  std::vector<char> block(1 << 16, 'x');
  EXPECT_FALSE(full.WriteExact(block.data(), static_cast<unsigned int>(block.size())));
  EXPECT_EQ(zu::k_fileErrorOutOfSpace, zu::File::GetLastError());

  // A file-size limit, in a child so the limit does not outlive the test.
  qotest::TempDir dir;
  const zu::Path path(dir.File("big"));
  const int code = qotest::RunInChild([&] {
    signal(SIGXFSZ, SIG_IGN);
    struct rlimit limit = {4096, 4096};
    zu::File file;
    const bool ready = setrlimit(RLIMIT_FSIZE, &limit) == 0 &&
                       file.Open(path, k_openModeWrite, 0) == QO::k_resultSuccess;
    const bool refused =
        ready && !file.WriteExact(block.data(), static_cast<unsigned int>(block.size()));
    return refused ? static_cast<int>(zu::File::GetLastError()) : 100;
  });
  EXPECT_EQ(static_cast<int>(zu::k_fileErrorTooLarge), code);
  EXPECT_EQ(4096u, path.GetFileSize());
}

// Counts the lines of /proc/self/maps that name `path`: the live mappings of that file.
int MappingsOf(const std::string& path) {
  std::ifstream maps("/proc/self/maps");
  int count = 0;
  for (std::string line; std::getline(maps, line);) {
    count +=
        line.size() >= path.size() && line.compare(line.size() - path.size(), path.npos, path) == 0;
  }
  return count;
}

TEST(MemoryMappedFile, MapsWholeFileReleasesItAndRefusesWhatCannotBeMapped) {
  qotest::TempDir dir;
  const std::string path = dir.File("mapped.bin");
  std::string bytes(10000, '\0');
  for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<char>(i * 7);
  ASSERT_TRUE(qotest::WriteFileBytes(path, bytes));
  ASSERT_TRUE(qotest::WriteFileBytes(dir.File("empty"), ""));
  zu::MemoryMappedFile mapped;
  for (const std::string& bad :
       {dir.File("missing"), dir.File("empty"), dir.Path(), std::string()}) {
    EXPECT_EQ(nullptr, mapped.Map(zu::Path(bad))) << bad;
  }
  EXPECT_FALSE(mapped.Unmap());
  const void* data = mapped.Map(zu::Path(path));
  ASSERT_NE(nullptr, data);
  EXPECT_TRUE(data == mapped.GetData());
  EXPECT_TRUE(bytes.size() == mapped.GetSize());
  EXPECT_EQ(0, std::memcmp(data, bytes.data(), bytes.size()));
  EXPECT_EQ(1, MappingsOf(path));
  // Mapped already: a second Map is refused and the first mapping stays.
  EXPECT_EQ(nullptr, mapped.Map(zu::Path(path)));
  EXPECT_EQ(data, mapped.GetData());
  // Unmap and destruction release the mapping.
  EXPECT_TRUE(mapped.Unmap());
  EXPECT_TRUE(mapped.GetData() == nullptr);
  EXPECT_TRUE(MappingsOf(path) == 0);
  EXPECT_TRUE(!mapped.Unmap());
  {
    zu::MemoryMappedFile scoped;
    ASSERT_NE(nullptr, scoped.Map(zu::Path(path)));
    EXPECT_EQ(1, MappingsOf(path));
  }
  EXPECT_EQ(0, MappingsOf(path));
}

}  // namespace
