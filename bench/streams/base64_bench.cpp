// QoBase64::Encode / Decode against OpenSSL's EVP_EncodeBlock / EVP_DecodeBlock on the same
// 64 MiB of random bytes (and their Base64 text), in the same run. Prints the throughput ratio
// ours / OpenSSL for both directions; above 1 means we are faster.
#include <benchmark/benchmark.h>
#include <openssl/evp.h>
#include <qobase/streams/base64.h>

#include <cstdio>
#include <cstring>
#include <map>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr size_t k_dataSize = 64u << 20;

const std::vector<unsigned char>& Data() {
  static const std::vector<unsigned char> data = [] {
    std::vector<unsigned char> bytes(k_dataSize);
    std::mt19937_64 random(20240611);
    for (size_t i = 0; i < bytes.size(); i += 8) {
      const uint64_t value = random();
      std::memcpy(&bytes[i], &value, 8);
    }
    return bytes;
  }();
  return data;
}

const std::vector<char>& Text() {
  static const std::vector<char> text = [] {
    std::vector<char> out;
    QoBase64::Encode(Data().data(), Data().size(), out);
    return out;
  }();
  return text;
}

void BM_QoBase64Encode(benchmark::State& state) {
  std::vector<char> out;
  for (auto _ : state) {
    QoBase64::Encode(Data().data(), Data().size(), out);
    benchmark::DoNotOptimize(out.data());
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * k_dataSize);
}

void BM_OpenSslEncode(benchmark::State& state) {
  std::vector<unsigned char> out(Text().size() + 1);
  for (auto _ : state) {
    const int written = EVP_EncodeBlock(out.data(), Data().data(), static_cast<int>(k_dataSize));
    benchmark::DoNotOptimize(written);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * k_dataSize);
}

void BM_QoBase64Decode(benchmark::State& state) {
  std::vector<unsigned char> out;
  for (auto _ : state) {
    QoBase64::Decode(Text().data(), Text().size(), out);
    benchmark::DoNotOptimize(out.data());
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * k_dataSize);
}

void BM_OpenSslDecode(benchmark::State& state) {
  std::vector<unsigned char> out(Text().size() / 4 * 3 + 4);
  const auto* text = reinterpret_cast<const unsigned char*>(Text().data());
  for (auto _ : state) {
    const int written = EVP_DecodeBlock(out.data(), text, static_cast<int>(Text().size()));
    benchmark::DoNotOptimize(written);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * k_dataSize);
}

BENCHMARK(BM_QoBase64Encode)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_OpenSslEncode)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_QoBase64Decode)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_OpenSslDecode)->Unit(benchmark::kMillisecond);

// Prints the usual table and keeps each benchmark's throughput for the ratios.
class RatioReporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) {
      if (run.run_type != Run::RT_Iteration || run.error_occurred) continue;
      const auto counter = run.counters.find("bytes_per_second");
      if (counter != run.counters.end()) throughput[run.run_name.function_name] = counter->second;
    }
  }
  std::map<std::string, double> throughput;
};

// Both codecs must agree before their speeds mean anything.
bool OutputsAgree() {
  std::vector<unsigned char> theirs(Text().size() + 1);
  const int written = EVP_EncodeBlock(theirs.data(), Data().data(), static_cast<int>(k_dataSize));
  if (written != static_cast<int>(Text().size()) ||
      std::memcmp(theirs.data(), Text().data(), Text().size()) != 0) {
    return false;
  }
  std::vector<unsigned char> decoded;
  QoBase64::Decode(Text().data(), Text().size(), decoded);
  return decoded == Data();
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (!OutputsAgree()) {
    std::fprintf(stderr, "base64_bench: QoBase64 and OpenSSL disagree on the test data\n");
    return 1;
  }
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();

  auto ratio = [&](const char* ours, const char* theirs) {
    const auto a = reporter.throughput.find(ours);
    const auto b = reporter.throughput.find(theirs);
    if (a == reporter.throughput.end() || b == reporter.throughput.end() || b->second <= 0) {
      return -1.0;
    }
    return a->second / b->second;
  };
  const double encode = ratio("BM_QoBase64Encode", "BM_OpenSslEncode");
  const double decode = ratio("BM_QoBase64Decode", "BM_OpenSslDecode");
  std::printf("\nBase64 on 64 MiB, throughput ratio QoBase64 / OpenSSL EVP block codec:\n");
  if (encode >= 0) std::printf("  encode: %.2f\n", encode);
  if (decode >= 0) std::printf("  decode: %.2f\n", decode);
  return 0;
}
