// The byte sources and sinks, the hashing sink and the simple read stream.
#include <gtest/gtest.h>
#include <qobase/result_code.h>
#include <qobase/streams/byte_streams.h>
#include <qobase/streams/plugin_mem_alloc.h>
#include <qobase/streams/simple_stream.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "support/temp_dir.h"

namespace {

TEST(ReadBytesMem, ReadsWhatIsThereAndRunsOnByTheCountAsked) {
  const char data[] = "0123456789";
  ReadBytesMem reader(data, 10);
  char out[8];
  int read = -1;
  const char* expected[] = {"0123", "4567", "89", ""};
  for (const char* e : expected) {
    EXPECT_EQ(std::strlen(e) == 4, reader.ReadBytes(out, 4, read)) << e;
    EXPECT_EQ(e, std::string(out, static_cast<size_t>(read)));
  }
  ReadBytesMem empty;
  read = 77;
  EXPECT_FALSE(empty.ReadBytes(out, 1, read));
  EXPECT_EQ(77, read);  // left alone without a block
  empty.Attach(data + 5, 3);
  EXPECT_TRUE(empty.ReadBytes(out, 3, read));
  EXPECT_EQ("567", std::string(out, 3));
}

TEST(WriteBytesMem, GrowsInStepsOf1024AndDetaches) {
  WriteBytesMem sink;
  int written = 0;
  EXPECT_TRUE(sink.WriteBytes("a", 1, written));
  EXPECT_EQ(1024, sink.Capacity());
  const std::string block(1024, 'b');
  EXPECT_TRUE(sink.WriteBytes(block.data(), 1024, written));
  EXPECT_EQ(1024, written);
  EXPECT_EQ(2048, sink.Capacity());
  EXPECT_EQ(1025, sink.Count());
  EXPECT_EQ("ab", std::string(reinterpret_cast<char*>(sink.Bytes()), 2));
  // The count stays within the block, so a write after a wild SetCount lands inside it.
  for (int count : {-5, 5000}) {
    sink.SetCount(count);
    EXPECT_EQ(count < 0 ? 0 : std::min(count, 2048), sink.Count());
  }
  sink.Clear();
  EXPECT_EQ(0, sink.Count());
  EXPECT_EQ(2048, sink.Capacity());
  EXPECT_TRUE(sink.WriteBytes("xyz", 3, written));
  unsigned char* detached = sink.Detach();
  ASSERT_NE(nullptr, detached);
  EXPECT_EQ("xyz", std::string(reinterpret_cast<char*>(detached), 3));
  std::free(detached);
  EXPECT_EQ(0, sink.Count() + sink.Capacity());
  EXPECT_EQ(nullptr, sink.Bytes());
  QO::IWriteBuffer& buffer = sink;  // a new block after the detach, through the interface
  EXPECT_TRUE(buffer.WriteBytes("q", 1, written));
  EXPECT_EQ('q', buffer.Bytes()[0]);
}

TEST(HashBytes, HashesFnv1AlikeWholeOrInPiecesFromTheGivenSeed) {
  int written = 0;
  HashBytes a(2166136261u), whole(2166136261u), parts(2166136261u), seeded(0);
  EXPECT_TRUE(a.WriteBytes("a", 1, written));
  EXPECT_EQ(1, written);
  EXPECT_EQ(0x050C5D7Eu, a.GetHash());
  whole.WriteBytes("foobar", 6, written);
  parts.WriteBytes("foo", 3, written);
  parts.WriteBytes("bar", 3, written);
  EXPECT_EQ(0x31F0B262u, whole.GetHash());  // FNV-1 of "foobar"
  EXPECT_EQ(whole.GetHash(), parts.GetHash());
  seeded.WriteBytes("\x05", 1, written);
  EXPECT_EQ(5u, seeded.GetHash());
}

TEST(StreamsOnFILE, ReadAndWriteWithoutClosing) {
  qotest::TempDir dir;
  FILE* out = std::fopen(dir.File("f.bin").c_str(), "wb");
  ASSERT_NE(nullptr, out);
  int count = 0;
  EXPECT_TRUE(WriteBytesOnFILE(out).WriteBytes("hello", 5, count));
  EXPECT_EQ(5, count);
  EXPECT_EQ(0, std::fclose(out));  // still open after the writer is gone
  FILE* in = std::fopen(dir.File("f.bin").c_str(), "rb");
  ASSERT_NE(nullptr, in);
  ReadBytesOnFILE reader(in);
  char buffer[8];
  EXPECT_TRUE(reader.ReadBytes(buffer, 3, count));
  EXPECT_EQ("hel", std::string(buffer, 3));
  EXPECT_FALSE(reader.ReadBytes(buffer, 8, count));
  EXPECT_EQ(2, count);
  EXPECT_EQ(0, std::fclose(in));
}

TEST(QoSimpleStreamStdio, ReadsPositionsAndSizes) {
  qotest::TempDir dir;
  std::string content(130, '\0');
  for (size_t i = 0; i < content.size(); ++i) content[i] = static_cast<char>(i);
  ASSERT_TRUE(qotest::WriteFileBytes(dir.File("s.bin"), content));
  QoSimpleStreamStdio stream;
  void* data = nullptr;
  unsigned int read = 9;
  EXPECT_EQ(QO::k_resultFailure, stream.Read(4, data, read));  // nothing open
  EXPECT_FALSE(stream.Open(dir.File("missing.bin")));
  ASSERT_TRUE(stream.Open(dir.File("s.bin")));
  EXPECT_EQ(QO::k_resultAllDataDelivered, stream.Read(10, data, read));
  EXPECT_EQ(10u, read);
  EXPECT_EQ(9, static_cast<const char*>(data)[9]);
  EXPECT_EQ(QO::k_resultSuccess, stream.SetPosition(100));
  EXPECT_EQ(QO::k_resultFailure, stream.Read(100, data, read));
  EXPECT_EQ(30u, read);
  EXPECT_EQ(100, static_cast<const unsigned char*>(data)[0]);
  unsigned long long size = 0;
  EXPECT_EQ(QO::k_resultSuccess, stream.GetFileSize(size));
  EXPECT_EQ(130u, size);
  EXPECT_EQ(130, stream.GetPosition());  // the size query puts the position back
}

TEST(ZuFXMemAlloc, SixteenByteAlignedBlocks) {
  QO::IQoPluginMemAlloc& alloc = zuFXMemAlloc::m_instance;
  for (size_t size : {1u, 3u, 17u, 4096u}) {
    void* p = alloc.Malloc(size);
    ASSERT_NE(nullptr, p);
    EXPECT_EQ(0u, reinterpret_cast<uintptr_t>(p) % 16);
    std::memset(p, 0xAB, size);
    alloc.Free(p);
  }
}

}  // namespace
