// The float to integer conversion loops against a plain reference, over lengths and alignments
// that put every kind of input in every lane of the wide loops and in their tails. The scalar
// suite runs the same tests with the wide loops switched off.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <vector>

#include "audio/sample_conversion.h"

namespace {

// x * scale clamped to [-(scale + 1), scale] and truncated toward zero; NaN gives the lowest.
// The product of a float and a 24-bit integer is exact in double.
int32_t Reference(float x, double scale) {
  if (std::isnan(x)) return static_cast<int32_t>(-(scale + 1));
  const double product = static_cast<double>(x) * scale;
  if (product >= scale) return static_cast<int32_t>(scale);
  if (product <= -(scale + 1)) return static_cast<int32_t>(-(scale + 1));
  return static_cast<int32_t>(std::trunc(product));
}

std::vector<unsigned char> ReferenceBytes(const float* in, size_t count, int bytes,
                                          bool bigEndian) {
  const double scale = bytes == 2 ? 32767.0 : 8388607.0;
  std::vector<unsigned char> out;
  for (size_t i = 0; i < count; ++i) {
    const auto value = static_cast<uint32_t>(Reference(in[i], scale));
    for (int b = 0; b < bytes; ++b) {
      const int shift = 8 * (bigEndian ? bytes - 1 - b : b);
      out.push_back(static_cast<unsigned char>(value >> shift));
    }
  }
  return out;
}

// Inputs that sit on the edges of the arithmetic: NaN, infinities, signed zeros, the clamp
// bounds and their neighbours, and products just off an integer; then plain random samples.
std::vector<float> Inputs(double scale, size_t count, std::mt19937& random) {
  const float lowest = static_cast<float>(-(scale + 1) / scale);
  std::vector<float> edges = {std::numeric_limits<float>::quiet_NaN(),
                              std::numeric_limits<float>::infinity(),
                              -std::numeric_limits<float>::infinity(),
                              0.0f,
                              -0.0f,
                              1.0f,
                              -1.0f,
                              std::nextafter(1.0f, 0.0f),
                              std::nextafter(1.0f, 2.0f),
                              lowest,
                              std::nextafter(lowest, 0.0f),
                              std::nextafter(lowest, -2.0f),
                              1e-30f,
                              -1e-30f,
                              3.0e38f};
  for (int k : {1, 2, 1000, 16383, 32766}) {
    const float exact = static_cast<float>(k / scale);
    edges.push_back(std::nextafter(exact, 0.0f));
    edges.push_back(std::nextafter(exact, 2.0f));
    edges.push_back(-std::nextafter(exact, 0.0f));
  }
  std::uniform_real_distribution<float> plain(-1.2f, 1.2f);
  std::vector<float> in(count);
  for (size_t i = 0; i < count; ++i) {
    in[i] = random() % 3 == 0 ? edges[random() % edges.size()] : plain(random);
  }
  return in;
}

TEST(SampleConversion, FloatToIntegerMatchesThePlainReference) {
  std::mt19937 random(23);
  for (const int bytes : {2, 3}) {
    const double scale = bytes == 2 ? 32767.0 : 8388607.0;
    for (const bool bigEndian : {false, true}) {
      for (size_t count = 0; count <= 600; count += count < 40 ? 1 : 37) {
        // Every start alignment of the input, and an output that starts off any boundary.
        for (size_t offset = 0; offset < 8; ++offset) {
          const std::vector<float> in = Inputs(scale, count + offset, random);
          std::vector<unsigned char> out(count * bytes + 5, 0xAA);
          if (bytes == 2) {
            qobase_audio::FloatToInt16(in.data() + offset, out.data() + 1, count, bigEndian);
          } else {
            qobase_audio::FloatToInt24(in.data() + offset, out.data() + 1, count, bigEndian);
          }
          const std::vector<unsigned char> expected =
              ReferenceBytes(in.data() + offset, count, bytes, bigEndian);
          ASSERT_EQ(std::vector<unsigned char>(out.begin() + 1, out.end() - 4), expected)
              << bytes << " bytes, " << count << " samples, offset " << offset;
          // Nothing is written outside the output.
          ASSERT_EQ(out.front(), 0xAA);
          ASSERT_EQ(std::vector<unsigned char>(out.end() - 4, out.end()),
                    std::vector<unsigned char>(4, 0xAA));
        }
      }
    }
  }
}

}  // namespace
