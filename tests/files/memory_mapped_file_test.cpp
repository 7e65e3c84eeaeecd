// zu::MemoryMappedFile: mapping, refusal cases, and release on Unmap and destruction.
#include <qobase/files/memory_mapped_file.h>

#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <string>

#include "support/temp_dir.h"

namespace {

// Counts the lines of /proc/self/maps that name `path`: the live mappings of that file.
int MappingsOf(const std::string& path) {
  std::ifstream maps("/proc/self/maps");
  int count = 0;
  for (std::string line; std::getline(maps, line);) {
    count += line.size() >= path.size() && line.compare(line.size() - path.size(), path.npos, path) == 0;
  }
  return count;
}

TEST(MemoryMappedFile, MapsWholeFileAndReleasesIt) {
  qotest::TempDir dir;
  const std::string path = dir.File("mapped.bin");
  std::string bytes(10000, '\0');
  for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<char>(i * 7);
  ASSERT_TRUE(qotest::WriteFileBytes(path, bytes));

  zu::MemoryMappedFile mapped;
  const void* data = mapped.Map(zu::Path(path));
  ASSERT_NE(nullptr, data);
  EXPECT_EQ(data, mapped.GetData());
  EXPECT_EQ(bytes.size(), mapped.GetSize());
  EXPECT_EQ(0, std::memcmp(data, bytes.data(), bytes.size()));
  EXPECT_EQ(1, MappingsOf(path));
  // Mapped already: a second Map is refused and the first mapping stays.
  EXPECT_EQ(nullptr, mapped.Map(zu::Path(path)));
  EXPECT_EQ(data, mapped.GetData());

  // Unmap and destruction release the mapping.
  EXPECT_TRUE(mapped.Unmap());
  EXPECT_EQ(nullptr, mapped.GetData());
  EXPECT_EQ(0, MappingsOf(path));
  EXPECT_FALSE(mapped.Unmap());

  {
    zu::MemoryMappedFile scoped;
    ASSERT_NE(nullptr, scoped.Map(zu::Path(path)));
    EXPECT_EQ(1, MappingsOf(path));
  }
  EXPECT_EQ(0, MappingsOf(path));
}

TEST(MemoryMappedFile, RefusesWhatCannotBeMapped) {
  qotest::TempDir dir;
  ASSERT_TRUE(qotest::WriteFileBytes(dir.File("empty"), ""));
  zu::MemoryMappedFile mapped;
  for (const std::string& path : {dir.File("missing"), dir.File("empty"), dir.Path(), std::string()}) {
    EXPECT_EQ(nullptr, mapped.Map(zu::Path(path))) << path;
  }
  EXPECT_FALSE(mapped.Unmap());
  // A refused Map leaves the object usable.
  ASSERT_TRUE(qotest::WriteFileBytes(dir.File("one"), "Z"));
  const void* data = mapped.Map(zu::Path(dir.File("one")));
  ASSERT_NE(nullptr, data);
  EXPECT_EQ('Z', *static_cast<const char*>(data));
}

}  // namespace
