// Buffer behaviour both writers share: blocks to the file, growth in memory, hashing, Append.
#include <qobase/algorithms/fnv_hash.h>
#include <qobase/text/json_text_writer.h>
#include <qobase/text/xml_text_writer_lite2.h>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>

#include "support/temp_dir.h"

namespace {

std::string Text(const QoTextWriterBuffer& writer) {
  return std::string(writer.GetBufferedText(), writer.GetBufferedSize());
}

long long FileSize(const std::string& path) {
  struct stat info {};
  return stat(path.c_str(), &info) == 0 ? static_cast<long long>(info.st_size) : -1;
}

// Raw pieces of 100 distinct bytes each, so any lost, doubled or reordered block shows.
std::string Piece(int i) {
  std::string piece = std::to_string(i) + ":";
  piece.resize(100, static_cast<char>('a' + i % 26));
  return piece;
}

template <class Writer>
class TextWriterBufferTest : public ::testing::Test {};

using Writers = ::testing::Types<XmlTextWriterLite2, JSONTextWriter>;
TYPED_TEST_SUITE(TextWriterBufferTest, Writers);

}  // namespace

TEST(FnvHashTest, ThirtyTwoBitFnv1) {
  QO::FNVHash<QO::Hash32> hash;
  EXPECT_EQ(hash.GetHash(), 2166136261u);
  hash.Add("a", 1);
  EXPECT_EQ(hash.GetHash(), 0x050C5D7Eu);
  hash.Reset();
  hash.Add("foobar", 6);
  EXPECT_EQ(hash.GetHash(), 0x31F0B262u);
  QO::FNVHash<QO::Hash32> seeded(0);
  seeded.Add("\x01", 1);
  EXPECT_EQ(seeded.GetHash(), 1u);
}

TYPED_TEST(TextWriterBufferTest, LargeFileArrivesInBlocksAndCompletelyWithTheHash) {
  qotest::TempDir dir;
  const std::string path = dir.File("big.out");
  QO::FNVHash<QO::Hash32> hash;
  std::string expected;
  {
    TypeParam writer{zu::Path(path)};
    ASSERT_TRUE(writer.IsReady());
    writer.SetHash(&hash);
    for (int i = 0; i < 200000; ++i) {  // 20 MB
      writer.WriteRaw(Piece(i));
      expected += Piece(i);
    }
    // Whole blocks are already in the file (but for what the C stream still holds), the rest
    // waits in the buffer.
    const long long total = static_cast<long long>(expected.size());
    const long long onDisk = FileSize(path);
    const long long held = static_cast<long long>(writer.GetBufferedSize());
    EXPECT_LT(held, static_cast<long long>(QoTextWriterBuffer::k_initialBufferSize));
    EXPECT_LE(onDisk + held, total);
    EXPECT_GT(onDisk + held, total - 65536);
  }
  const std::string written = qotest::ReadFileBytes(path);
  ASSERT_EQ(written.size(), expected.size());
  EXPECT_TRUE(written == expected);
  QO::FNVHash<QO::Hash32> check;
  check.Add(written.data(), written.size());
  EXPECT_EQ(hash.GetHash(), check.GetHash());
}

TYPED_TEST(TextWriterBufferTest, MemoryWriterKeepsEverythingAndNeverHashes) {
  QO::FNVHash<QO::Hash32> hash;
  TypeParam writer;
  writer.SetHash(&hash);
  std::string expected;
  for (int i = 0; i < 6000; ++i) {  // 600 KB, past the first block
    writer.WriteRaw(Piece(i));
    expected += Piece(i);
  }
  EXPECT_TRUE(Text(writer) == expected);
  EXPECT_EQ(hash.GetHash(), 2166136261u);
}

TYPED_TEST(TextWriterBufferTest, AppendOfALargeFragmentKeepsEverything) {
  TypeParam fragment;
  std::string fragmentText;
  for (int i = 0; i < 5000; ++i) {
    fragment.WriteRaw(Piece(i));
    fragmentText += Piece(i);
  }
  TypeParam memory;
  memory.WriteRaw("head|");
  ASSERT_TRUE(memory.Append(&fragment));  // nothing written before it but raw text: no separator
  memory.WriteRaw(fragmentText);
  EXPECT_TRUE(Text(memory) == "head|" + fragmentText + fragmentText);

  qotest::TempDir dir;
  QO::FNVHash<QO::Hash32> hash;
  {
    TypeParam file{zu::Path(dir.File("appended.out"))};
    file.SetHash(&hash);
    file.WriteRaw("head|");
    ASSERT_TRUE(file.Append(&memory));
    file.WriteRaw("|tail");
  }
  const std::string written = qotest::ReadFileBytes(dir.File("appended.out"));
  EXPECT_TRUE(written == "head|head|" + fragmentText + fragmentText + "|tail");
  QO::FNVHash<QO::Hash32> check;
  check.Add(written.data(), written.size());
  EXPECT_EQ(hash.GetHash(), check.GetHash());
}

TYPED_TEST(TextWriterBufferTest, WholeDocumentToFileEqualsTheMemoryText) {
  qotest::TempDir dir;
  TypeParam memory;
  {
    TypeParam file{zu::Path(dir.File("doc.out"))};
    for (QO::IXmlTextWriter* writer : {static_cast<QO::IXmlTextWriter*>(&memory),
                                      static_cast<QO::IXmlTextWriter*>(&file)}) {
      writer->WriteStartDocument();
      writer->WriteStartElement("doc", QO::XmlElementType::Object);
      for (int i = 0; i < 30000; ++i) {
        writer->WriteStartElement("entry", QO::XmlElementType::Object);
        writer->WriteAttributeString("id", std::to_string(i));
        writer->WriteString("a<b & \"c\"\n" + std::to_string(i));
        writer->WriteEndElement();
      }
      writer->WriteEndElement();
      writer->WriteEndDocument();
    }
  }
  ASSERT_GT(memory.GetBufferedSize(), 3 * QoTextWriterBuffer::k_initialBufferSize);
  EXPECT_TRUE(qotest::ReadFileBytes(dir.File("doc.out")) == Text(memory));
}

namespace {
void Alloc(XmlTextWriterLite2& writer, std::size_t size) { writer.AllocBuffer(size, true); }
void Alloc(JSONTextWriter& writer, std::size_t size) { writer.AllocBuffer(size); }
}  // namespace

TYPED_TEST(TextWriterBufferTest, BlockResizedBelowTheReserveStillGrowsBeforeWriting) {
  TypeParam fragment;
  fragment.WriteRaw(std::string(1000, 'f'));
  TypeParam writer;
  writer.WriteRaw(std::string(100, 'a'));
  Alloc(writer, 200);  // the write position now stands past the flush threshold
  ASSERT_TRUE(writer.Append(&fragment));
  writer.WriteRaw(std::string(70, 'r'));
  EXPECT_EQ(Text(writer), std::string(100, 'a') + std::string(1000, 'f') + std::string(70, 'r'));

  TypeParam empty;
  Alloc(empty, 0);
  empty.WriteRaw("xyz");
  EXPECT_EQ(Text(empty), "xyz");
}
