// QoBase64::Encode / Decode against OpenSSL's EVP_EncodeBlock / EVP_DecodeBlock on 64 MiB of
// random bytes (and their Base64 text), larger than the caches and read once per run.
//
// The user's case is a one-shot call into a new output: we encode into a fresh vector that is
// then released, OpenSSL into fresh malloc memory that is then freed, allocation and release
// timed on both sides. The warm rows, where both reuse one output buffer, are shown for
// comparison with earlier figures and carry no bar.
#include <openssl/evp.h>
#include <qobase/streams/base64.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <vector>

#include "bench_support.h"

namespace {

constexpr size_t k_dataSize = 64u << 20;

std::vector<unsigned char> MakeData() {
  std::vector<unsigned char> bytes(k_dataSize);
  std::mt19937_64 random(20240611);
  for (size_t i = 0; i < bytes.size(); i += 8) {
    const uint64_t value = random();
    std::memcpy(&bytes[i], &value, 8);
  }
  return bytes;
}

size_t EncodedSize(size_t n) { return (n + 2) / 3 * 4; }

}  // namespace

int main() {
  const std::vector<unsigned char> data = MakeData();
  std::vector<char> text;
  QoBase64::Encode(data.data(), data.size(), text);
  const auto* textBytes = reinterpret_cast<const unsigned char*>(text.data());
  const int textSize = static_cast<int>(text.size());

  // Both codecs must agree before their speeds mean anything.
  {
    std::vector<unsigned char> theirs(text.size() + 1);
    const int written = EVP_EncodeBlock(theirs.data(), data.data(), static_cast<int>(k_dataSize));
    std::vector<unsigned char> decoded;
    QoBase64::Decode(text.data(), text.size(), decoded);
    if (written != textSize || std::memcmp(theirs.data(), text.data(), text.size()) != 0 ||
        decoded != data) {
      std::fprintf(stderr, "base64_bench: QoBase64 and OpenSSL disagree on the test data\n");
      return 1;
    }
  }

  const int rounds = qobench::Rounds(7);
  const qobench::Side freshEncodeOurs{nullptr, [&] {
                                        std::vector<char> out;
                                        QoBase64::Encode(data.data(), data.size(), out);
                                        qobench::Keep(out.data()[out.size() / 2]);
                                        return out.size() == text.size();
                                      }};
  const qobench::Side freshEncodePeer{
      nullptr, [&] {
        auto* out = static_cast<unsigned char*>(std::malloc(EncodedSize(k_dataSize) + 1));
        if (!out) return false;
        const int n = EVP_EncodeBlock(out, data.data(), static_cast<int>(k_dataSize));
        qobench::Keep(out[n / 2]);
        std::free(out);
        return n == textSize;
      }};
  const qobench::Side freshDecodeOurs{nullptr, [&] {
                                        std::vector<unsigned char> out;
                                        QoBase64::Decode(text.data(), text.size(), out);
                                        qobench::Keep(out.data()[out.size() / 2]);
                                        return out.size() == k_dataSize;
                                      }};
  const qobench::Side freshDecodePeer{
      nullptr, [&] {
        auto* out = static_cast<unsigned char*>(std::malloc(text.size() / 4 * 3 + 1));
        if (!out) return false;
        const int n = EVP_DecodeBlock(out, textBytes, textSize);
        qobench::Keep(out[n / 2]);
        std::free(out);
        // OpenSSL counts the padding bytes too.
        return n >= static_cast<int>(k_dataSize);
      }};

  std::vector<char> warmText;
  std::vector<unsigned char> warmBytes;
  std::vector<unsigned char> peerOut(text.size() + 4);
  const qobench::Side warmEncodeOurs{nullptr, [&] {
                                       QoBase64::Encode(data.data(), data.size(), warmText);
                                       qobench::Keep(warmText.data()[0]);
                                       return warmText.size() == text.size();
                                     }};
  const qobench::Side warmEncodePeer{nullptr, [&] {
                                       const int n = EVP_EncodeBlock(peerOut.data(), data.data(),
                                                                     static_cast<int>(k_dataSize));
                                       qobench::Keep(peerOut[0]);
                                       return n == textSize;
                                     }};
  const qobench::Side warmDecodeOurs{nullptr, [&] {
                                       QoBase64::Decode(text.data(), text.size(), warmBytes);
                                       qobench::Keep(warmBytes.data()[0]);
                                       return warmBytes.size() == k_dataSize;
                                     }};
  const qobench::Side warmDecodePeer{nullptr, [&] {
                                       const int n =
                                           EVP_DecodeBlock(peerOut.data(), textBytes, textSize);
                                       qobench::Keep(peerOut[0]);
                                       return n >= static_cast<int>(k_dataSize);
                                     }};

  std::printf("Base64 of 64 MiB, best of %d interleaved rounds, ours / OpenSSL EVP block codec\n",
              rounds);
  bool ok = true;
  ok &= qobench::PrintRow("Base64 encode 64 MiB, fresh output vs fresh malloc",
                          qobench::CompareInterleaved(rounds, freshEncodeOurs, freshEncodePeer),
                          0.6, 0.4);
  ok &= qobench::PrintRow("Base64 decode 64 MiB, fresh output vs fresh malloc",
                          qobench::CompareInterleaved(rounds, freshDecodeOurs, freshDecodePeer),
                          0.6, 0.4);
  ok &= qobench::PrintRow("Base64 encode 64 MiB, warm output reused (no bar)",
                          qobench::CompareInterleaved(rounds, warmEncodeOurs, warmEncodePeer), 0);
  ok &= qobench::PrintRow("Base64 decode 64 MiB, warm output reused (no bar)",
                          qobench::CompareInterleaved(rounds, warmDecodeOurs, warmDecodePeer), 0);
  return ok ? 0 : 1;
}
