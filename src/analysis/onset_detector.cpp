// The onset detector's spectral-flux curve: the file is streamed through one buffer of 34816
// frames in chunks of at most 32768, and a 2048-frame frame is transformed every hop.
#include <qobase/analysis/onset_detector.h>
#include <qobase/audio/audio_file_reader.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <new>

namespace {

constexpr unsigned int k_frameSize = 2048;
constexpr unsigned int k_halfFrame = k_frameSize / 2;
constexpr unsigned int k_chunkFrames = 32768;
constexpr unsigned int k_bufferFrames = k_chunkFrames + k_frameSize;
// The flux is reserved for the whole file up to this many values (about three hours); a file
// whose header claims more only grows the curve as it is read.
constexpr size_t k_reserveLimit = size_t(1) << 20;

// The mean of each frame's channels (their sum divided by the count), for two channels or more.
void MixToMono(const float* samples, unsigned int frames, unsigned int channels, float* mono) {
  const float count = static_cast<float>(channels);
  if (channels == 2) {
    for (unsigned int i = 0; i < frames; ++i)
      mono[i] = (samples[2 * i] + samples[2 * i + 1]) / count;
    return;
  }
  for (unsigned int i = 0; i < frames; ++i) {
    const float* frame = samples + static_cast<size_t>(i) * channels;
    float sum = frame[0];
    for (unsigned int c = 1; c < channels; ++c) sum += frame[c];
    mono[i] = sum / count;
  }
}

}  // namespace

QoOnsetDetector::QoOnsetDetector()
    : numChannels(0), numFrames(0), sampleRate(0), hop(0), numFluxFrames(0) {}

QoOnsetDetector::~QoOnsetDetector() = default;

void QoOnsetDetector::AllocFFT(unsigned int size) {
  try {
    fftContext.reset(new OnsetFFTContext(size));
  } catch (const std::bad_alloc&) {
    fftContext.reset();
  }
}

void QoOnsetDetector::FreeFFT() { fftContext.reset(); }

void QoOnsetDetector::SetSource(const CStdStr& path) {
  std::vector<float> flux;
  SpectralFluxFromFile(path, flux);
  AnalyseFlux(flux);
}

void QoOnsetDetector::SetSource(QoAudioFileReader& reader) {
  std::vector<float> flux;
  SpectralFluxFromFile(reader, flux);
  AnalyseFlux(flux);
}

void QoOnsetDetector::AnalyseFlux(std::vector<float>& flux) {
  if (flux.empty()) {
    prominences.clear();
    return;
  }
  std::vector<unsigned int> peaks;
  PickPeaks(flux, peaks);
  PeakProminences(flux, peaks);
}

void QoOnsetDetector::SpectralFluxFromFile(const CStdStr& path, std::vector<float>& flux) {
  if (path.empty()) return;
  const std::unique_ptr<QoAudioFileReader> reader(QoAudioFileReader::Create(path.c_str()));
  if (reader) SpectralFluxFromFile(*reader, flux);
}

void QoOnsetDetector::SpectralFluxFromFile(QoAudioFileReader& reader, std::vector<float>& flux) {
  if (!reader.ReadChunks(QO::k_chunkFmt | QO::k_chunkData)) return;
  const WaveFormatExtensible& format = *reader.GetFormat();
  numChannels = QO::GetChannelConfigNumChannels(format.channelConfig);
  sampleRate = format.nSamplesPerSec;
  numFrames = reader.GetNumFrames();
  hop = sampleRate / 100;
  if (numFrames < hop + k_frameSize) return;
  // A hop of 0 would never advance and one above the chunk would not fit the buffer; the reads
  // fill frames of the format's channel count, so the configuration must agree with it.
  if (hop == 0 || hop > k_chunkFrames || numChannels == 0 || numChannels != format.nChannels)
    return;
  try {
    AllocFFT(k_frameSize);
    if (fftContext && fftContext->IsValid()) ReadFlux(reader, flux);
  } catch (const std::bad_alloc&) {
    // The curve keeps the values made before memory ran out.
  }
  numFluxFrames = static_cast<unsigned int>(flux.size());
  FreeFFT();
}

void QoOnsetDetector::ReadFlux(QoAudioFileReader& reader, std::vector<float>& flux) {
  const unsigned int channels = numChannels, step = hop;
  numFluxFrames = numFrames / step;
  flux.reserve(flux.size() + std::min<size_t>(numFluxFrames, k_reserveLimit));

  // The reads land in `samples` (interleaved); the frames are taken from `mono`, which is the
  // same buffer for one channel and holds each frame's channel mean otherwise, mixed once per
  // frame read rather than once per frame made.
  std::vector<float> samples(static_cast<size_t>(channels) * k_bufferFrames, 0.0f);
  std::vector<float> mixed(channels == 1 ? 0 : k_bufferFrames, 0.0f);
  float* mono = channels == 1 ? samples.data() : mixed.data();
  auto read = [&](unsigned int at, unsigned int count) {
    float* out = samples.data() + static_cast<size_t>(at) * channels;
    const unsigned int got = std::min(reader.ReadPCMDataAsFloat32(count, out), count);
    if (channels > 1) MixToMono(out, got, channels, mono + at);
    return got;
  };
  OnsetFFTContext& context = *fftContext;

  // The priming frame, centred on file frame 0 with zeros before the start; it gives no value.
  reader.SeekToAudioFrame(0);
  if (read(k_halfFrame, k_halfFrame) == 0) return;
  context.MakeFrame(mono);
  context.SwapSpectra();

  // The first hop + 1024 frames go to the end of the buffer, so that after the first move the
  // buffer's frame 0 lies 1024 - hop frames before the file's start: frame p of the buffer is
  // then centred on file frame p + hop.
  reader.SeekToAudioFrame(0);
  if (read(k_bufferFrames - k_halfFrame - step, step + k_halfFrame) == 0) return;
  uint64_t framesRead = step + k_halfFrame;
  const uint64_t lastNeeded = numFrames - k_halfFrame;
  if (framesRead >= lastNeeded) return;

  // Chunks are whole hops, so the frame centres stay on multiples of the hop from one chunk to
  // the next. Only the last 2048 frames of a chunk are needed by the next one.
  const unsigned int chunk = k_chunkFrames / step * step;
  unsigned int consumed = k_chunkFrames;
  do {
    std::memmove(mono, mono + consumed, k_frameSize * sizeof(float));
    const unsigned int got = read(k_frameSize, chunk);
    if (got == 0) break;
    for (unsigned int p = 0; p < got; p += step) {
      context.MakeFrame(mono + p);
      flux.push_back(context.Flux());
      context.SwapSpectra();
    }
    framesRead += got;
    consumed = got;
  } while (framesRead < lastNeeded);
}
