// The stored form of the marker records: exact bytes in both byte orders, and decoding as the
// inverse of encoding, so the reader, the writer and the chunk editor agree on every field.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "audio/riff_records.h"

namespace {

using Bytes = std::vector<unsigned char>;

// A u32 as stored: little-endian, or big-endian for a "RIFX" file.
void Put32(Bytes& out, uint32_t v, bool big) {
  for (int i = 0; i < 4; ++i) {
    const int shift = big ? 24 - 8 * i : 8 * i;
    out.push_back(static_cast<unsigned char>(v >> shift));
  }
}

void PutCode(Bytes& out, const char* code) { out.insert(out.end(), code, code + 4); }

class RiffRecordsTest : public ::testing::TestWithParam<bool> {};

TEST_P(RiffRecordsTest, CueBodyIsCountThenRecordsWithTheCodeLeftAsStored) {
  const bool big = GetParam();
  const WAV_CUE cues[2] = {{1, 0x01020304, QO::k_fccData, 5, 6, 0x01020304},
                           {9, 7, QO::k_fccData, 0, 0, 7}};
  Bytes encoded;
  qobase_audio::AppendCueBody(encoded, cues, 2, big);

  Bytes expected;
  Put32(expected, 2, big);
  for (const WAV_CUE& cue : cues) {
    Put32(expected, cue.dwName, big);
    Put32(expected, cue.dwPosition, big);
    PutCode(expected, "data");
    Put32(expected, cue.dwChunkStart, big);
    Put32(expected, cue.dwBlockStart, big);
    Put32(expected, cue.dwSampleOffset, big);
  }
  EXPECT_EQ(encoded, expected);

  const WAV_CUE decoded = qobase_audio::DecodeCue(&encoded[4 + 24], big);
  EXPECT_EQ(decoded.dwName, 9u);
  EXPECT_EQ(decoded.dwPosition, 7u);
  EXPECT_EQ(decoded.fccChunk, QO::k_fccData);
  EXPECT_EQ(decoded.dwSampleOffset, 7u);
}

TEST_P(RiffRecordsTest, LabelsArePaddedToEvenSizesAndListHeadCarriesItsType) {
  const bool big = GetParam();
  Bytes encoded;
  qobase_audio::AppendListHead(encoded, 0x1234, QO::k_fccAdtl, big);
  qobase_audio::AppendLabel(encoded, 3, "ab", 3, big);  // odd text: one pad byte
  qobase_audio::AppendLabel(encoded, 4, "xyz", 4, big);

  Bytes expected;
  PutCode(expected, "LIST");
  Put32(expected, 0x1234, big);
  PutCode(expected, "adtl");
  PutCode(expected, "labl");
  Put32(expected, 7, big);
  Put32(expected, 3, big);
  expected.insert(expected.end(), {'a', 'b', 0, 0});
  PutCode(expected, "labl");
  Put32(expected, 8, big);
  Put32(expected, 4, big);
  expected.insert(expected.end(), {'x', 'y', 'z', 0});
  EXPECT_EQ(encoded, expected);

  EXPECT_EQ(qobase_audio::LabelSubChunkSize(3), 16u);
  EXPECT_EQ(qobase_audio::LabelSubChunkSize(4), 16u);
  EXPECT_EQ(qobase_audio::LabelSubChunkSize(0xFFFFFFFFu), 12ull + 0x100000000ull);

  const RIFFHEADER head = qobase_audio::DecodeChunkHead(&encoded[12], big);
  EXPECT_EQ(head.chunkID, QO::k_fccLabl);
  EXPECT_EQ(head.size, 7u);
}

TEST_P(RiffRecordsTest, SamplerHeadAndLoopDecodeWhatTheyEncode) {
  const bool big = GetParam();
  SAMPLER sampler = {1, 2, 22675, 60, 0x80000000u, 0, 0, 1, 0};
  SAMPLER_LOOP loop = {0, 0, 100, 0x00ABCDEF, 0, 0};
  Bytes encoded;
  qobase_audio::AppendSamplerHead(encoded, sampler, big);
  qobase_audio::AppendSamplerLoop(encoded, loop, big);
  ASSERT_EQ(encoded.size(), 60u);

  Bytes periodStored;
  Put32(periodStored, 22675, big);
  EXPECT_EQ(Bytes(encoded.begin() + 8, encoded.begin() + 12), periodStored);
  Bytes endStored;
  Put32(endStored, 0x00ABCDEF, big);
  EXPECT_EQ(Bytes(encoded.begin() + 36 + 12, encoded.begin() + 36 + 16), endStored);

  const SAMPLER samplerBack = qobase_audio::DecodeSamplerHead(encoded.data(), big);
  EXPECT_EQ(samplerBack.dwSamplePeriod, 22675u);
  EXPECT_EQ(samplerBack.dwMIDIPitchFraction, 0x80000000u);
  EXPECT_EQ(samplerBack.cSampleLoops, 1u);
  const SAMPLER_LOOP loopBack = qobase_audio::DecodeSamplerLoop(encoded.data() + 36, big);
  EXPECT_EQ(loopBack.dwStart, 100u);
  EXPECT_EQ(loopBack.dwEnd, 0x00ABCDEFu);
}

INSTANTIATE_TEST_SUITE_P(ByteOrder, RiffRecordsTest, ::testing::Values(false, true),
                         [](const ::testing::TestParamInfo<bool>& info) {
                           return info.param ? std::string("BigEndian")
                                             : std::string("LittleEndian");
                         });

TEST(RiffRecords, FileOrderSwapsOnlyForBigEndianAndPaddedSizeRoundsUpToEven) {
  EXPECT_EQ(qobase_audio::FileOrder32(0x11223344u, false), 0x11223344u);
  EXPECT_EQ(qobase_audio::FileOrder32(0x11223344u, true), 0x44332211u);
  EXPECT_EQ(qobase_audio::PaddedSize(0), 0u);
  EXPECT_EQ(qobase_audio::PaddedSize(7), 8u);
  EXPECT_EQ(qobase_audio::PaddedSize(0xFFFFFFFFull), 0x100000000ull);
}

}  // namespace
