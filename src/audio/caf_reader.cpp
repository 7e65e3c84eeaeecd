// The CAF chunk walk and the QoAudioFileReader over it.
#include <qobase/audio/caf_reader.h>
#include <qobase/result_code.h>

#include <sys/stat.h>

#include <cmath>
#include <cstring>

namespace {

constexpr uint32_t FourCC(char a, char b, char c, char d) {
  return static_cast<uint32_t>(static_cast<unsigned char>(a)) |
         (static_cast<uint32_t>(static_cast<unsigned char>(b)) << 8) |
         (static_cast<uint32_t>(static_cast<unsigned char>(c)) << 16) |
         (static_cast<uint32_t>(static_cast<unsigned char>(d)) << 24);
}

constexpr uint32_t k_cafCaff = FourCC('c', 'a', 'f', 'f');
constexpr uint32_t k_cafDesc = FourCC('d', 'e', 's', 'c');
constexpr uint32_t k_cafChan = FourCC('c', 'h', 'a', 'n');
constexpr uint32_t k_cafData = FourCC('d', 'a', 't', 'a');
constexpr uint32_t k_cafUuid = FourCC('u', 'u', 'i', 'd');
constexpr uint32_t k_cafLpcm = FourCC('l', 'p', 'c', 'm');

// The "uuid" chunk that carries the channel-conversion matrix.
const unsigned char sa_matrixUuid[16] = {0x1A, 0xD3, 0x18, 0xC3, 0x00, 0xE5, 0x55, 0x76,
                                         0xBE, 0x2D, 0x0D, 0xCA, 0x24, 0x60, 0xBC, 0x89};

constexpr uint32_t k_descSize = 32;
constexpr uint32_t k_formatFlagFloat = 0x1;
constexpr uint32_t k_formatFlagLittleEndian = 0x2;
constexpr uint32_t k_chanSpeakerBits = 0x3F73F;

enum State : unsigned int {
  k_expectFileHead = 0,
  k_expectChunkHead = 1,
  k_expectChunkBody = 2,
  k_dataFound = 4
};

uint16_t LoadBE16(const unsigned char* p) { return static_cast<uint16_t>((p[0] << 8) | p[1]); }
uint32_t LoadBE32(const unsigned char* p) {
  return (static_cast<uint32_t>(p[0]) << 24) | (static_cast<uint32_t>(p[1]) << 16) |
         (static_cast<uint32_t>(p[2]) << 8) | p[3];
}
uint64_t LoadBE64(const unsigned char* p) {
  return (static_cast<uint64_t>(LoadBE32(p)) << 32) | LoadBE32(p + 4);
}
uint32_t LoadFourCC(const unsigned char* p) {
  uint32_t v;
  std::memcpy(&v, p, 4);
  return v;
}

}  // namespace

QoCAFReader::QoCAFReader(QO::IQoPluginMemAlloc* allocator)
    : m_chunkType(0),
      m_chunkSize(0),
      m_allocator(allocator),
      m_stream(nullptr),
      m_matrixOutputs(0),
      m_matrixInputs(0),
      m_matrix(nullptr),
      m_state(k_expectFileHead),
      m_sampleRate(0),
      m_channelConfig(0),
      m_sampleFormat(0),
      m_dataOffset(0),
      m_dataSize(0),
      m_byteSwap(true) {}

QoCAFReader::~QoCAFReader() {
  if (m_matrix != nullptr && m_allocator != nullptr) m_allocator->Free(m_matrix);
}

QO::ResultCode QoCAFReader::Init(IQoSimpleStream* stream) {
  m_stream = stream;
  return QO::k_resultSuccess;
}

unsigned int QoCAFReader::OnUnknownChunk(void* /*body*/, long long /*size*/) {
  return QO::k_resultSuccess;
}

unsigned int QoCAFReader::ReadChunks() {
  if (m_stream == nullptr) return QO::k_resultFailure;
  // A chunk head read past the stream's size ends the walk: a pipe or a device (size 0, or no
  // position) would otherwise hand out empty chunks forever. A stream that cannot tell its size
  // is walked as far as its reads go.
  unsigned long long streamSize = 0;
  const bool sized = m_stream->GetFileSize(streamSize) == QO::k_resultSuccess;
  for (;;) {
    void* data = nullptr;
    unsigned int got = 0;
    switch (m_state) {
      case k_expectFileHead: {
        const unsigned int result = m_stream->Read(8, data, got);
        if (result != QO::k_resultAllDataDelivered) return result;
        const unsigned char* head = static_cast<const unsigned char*>(data);
        if (LoadFourCC(head) != k_cafCaff || LoadBE16(head + 4) != 1) return QO::k_resultFailure;
        m_state = k_expectChunkHead;
        break;
      }
      case k_expectChunkHead: {
        const long long headOffset = m_stream->GetPosition();
        const unsigned int result = m_stream->Read(12, data, got);
        if (result != QO::k_resultAllDataDelivered) return result;
        const bool inside =
            headOffset >= 0 && static_cast<unsigned long long>(headOffset) + 12 <= streamSize;
        if (sized && !inside) return QO::k_resultFailure;
        const unsigned char* head = static_cast<const unsigned char*>(data);
        const uint32_t type = LoadFourCC(head);
        const long long size = static_cast<long long>(LoadBE64(head + 4));
        if (type == k_cafData) {
          const long long position = m_stream->GetPosition();
          if (position < 0) return QO::k_resultFailure;
          m_dataOffset = static_cast<unsigned long long>(position) + 4;  // after the edit count
          if (size == -1) {
            // Size unknown: the samples run to the end of the stream.
            unsigned long long fileSize = 0;
            if (m_stream->GetFileSize(fileSize) != QO::k_resultSuccess) return QO::k_resultFailure;
            m_dataSize = fileSize > m_dataOffset ? fileSize - m_dataOffset : 0;
          } else {
            m_dataSize = size >= 4 ? static_cast<unsigned long long>(size) - 4 : 0;
          }
          m_stream->SetPosition(static_cast<long long>(m_dataOffset));
          m_state = k_dataFound;
          return QO::k_resultSuccess;
        }
        m_chunkType = type;
        m_chunkSize = static_cast<unsigned long long>(size);
        m_state = k_expectChunkBody;
        break;
      }
      case k_expectChunkBody: {
        const unsigned int result = ReadChunkBody();
        if (result != QO::k_resultSuccess) return result;
        m_state = k_expectChunkHead;
        break;
      }
      case k_dataFound:
        return QO::k_resultSuccess;
      default:
        return QO::k_resultFailure;
    }
  }
}

unsigned int QoCAFReader::ReadChunkBody() {
  const uint32_t size = static_cast<uint32_t>(m_chunkSize);
  // A body that claims more than the stream holds would be a short read: say so before the
  // stream allocates a buffer for it.
  unsigned long long fileSize = 0;
  const long long position = m_stream->GetPosition();
  if (m_stream->GetFileSize(fileSize) == QO::k_resultSuccess && position >= 0 &&
      static_cast<unsigned long long>(position) + size > fileSize) {
    return QO::k_resultFailure;
  }
  void* data = nullptr;
  unsigned int got = 0;
  const unsigned int result = m_stream->Read(size, data, got);
  if (result != QO::k_resultAllDataDelivered) return result;
  const unsigned char* body = static_cast<const unsigned char*>(data);
  switch (m_chunkType) {
    case k_cafDesc:
      return ReadDescription(body, size);
    case k_cafChan:
      ReadChannelLayout(body, size);
      return QO::k_resultSuccess;
    case k_cafUuid:
      return ReadMatrix(body, size);
    default:
      // The bytes read, not the size claimed: a 64-bit size is read only in its low 32 bits.
      return OnUnknownChunk(data, static_cast<long long>(size));
  }
}

unsigned int QoCAFReader::ReadDescription(const unsigned char* body, uint32_t size) {
  if (size < k_descSize) return QO::k_resultFailure;
  uint64_t rateBits = LoadBE64(body);
  double rate;
  std::memcpy(&rate, &rateBits, 8);
  if (LoadFourCC(body + 8) != k_cafLpcm) return QO::k_resultFailure;
  if (!(rate >= 0.0 && rate < 4294967296.0)) return QO::k_resultFailure;  // NaN included
  const uint32_t flags = LoadBE32(body + 12);
  const uint32_t bytesPerPacket = LoadBE32(body + 16);
  const uint32_t channels = LoadBE32(body + 24);
  const uint32_t bitsPerChannel = LoadBE32(body + 28);
  m_sampleRate = static_cast<unsigned int>(rate);
  const unsigned int sampleType = (flags & k_formatFlagFloat) ? 1 : 0;
  m_byteSwap = (flags & k_formatFlagLittleEndian) == 0;
  m_sampleFormat = (m_sampleFormat & ~0x3FFFFu) | (bitsPerChannel & 63) |
                   ((bytesPerPacket & 0x3FF) << 6) | (sampleType << 16);
  m_channelConfig = QO::GetDefaultChannelConfig(channels);
  return QO::k_resultSuccess;
}

void QoCAFReader::ReadChannelLayout(const unsigned char* body, uint32_t size) {
  if (size < 8) return;
  const uint32_t bitmap = LoadBE32(body + 4);
  if (bitmap == 0) return;
  const uint32_t mask = bitmap & k_chanSpeakerBits;
  const uint32_t count = static_cast<uint32_t>(__builtin_popcount(mask));
  if (count != QO::GetChannelConfigNumChannels(m_channelConfig)) return;
  m_channelConfig = QO::MakeChannelConfig(count, QO::k_channelConfigStandard, mask);
}

unsigned int QoCAFReader::ReadMatrix(const unsigned char* body, uint32_t size) {
  if (size < 16 || std::memcmp(body, sa_matrixUuid, 16) != 0) return QO::k_resultSuccess;
  if (size < 24) return QO::k_resultInvalidFile;
  const uint32_t outputs = LoadBE32(body + 16);
  const uint32_t inputs = LoadBE32(body + 20);
  // More than 255 outputs cannot be described by a channel configuration.
  if (inputs != QO::GetChannelConfigNumChannels(m_channelConfig) || m_matrix != nullptr ||
      outputs > 255) {
    return QO::k_resultInvalidFile;
  }
  const unsigned long long count = static_cast<unsigned long long>(outputs) * inputs;
  if (24 + count * 4 > size)
    return QO::k_resultInvalidFile;  // the coefficients must be in the body
  if (m_allocator == nullptr) return QO::k_resultOutOfMemory;
  float* matrix = static_cast<float*>(m_allocator->Malloc(static_cast<size_t>(count * 4)));
  if (matrix == nullptr) return QO::k_resultOutOfMemory;
  for (unsigned long long i = 0; i < count; ++i) {
    const uint32_t bits = LoadBE32(body + 24 + 4 * i);
    std::memcpy(&matrix[i], &bits, 4);
  }
  m_matrix = matrix;
  m_matrixOutputs = outputs;
  m_matrixInputs = inputs;
  m_channelConfig = QO::MakeChannelConfig(outputs & 255, QO::k_channelConfigAmbisonic, 0);
  return QO::k_resultSuccess;
}

QoCAFFileReader::QoCAFFileReader()
    : m_reader(&zuFXMemAlloc::m_instance), m_format(), m_readFrameSize(0) {}

QoCAFFileReader::~QoCAFFileReader() {}

bool QoCAFFileReader::Open(const char* path) {
  // Only a regular file is read: a pipe or a device has no size to bound the chunk walk, and a
  // pipe whose writer never writes would keep the first read (or the open) waiting without end.
  struct stat info;
  if (path == nullptr || stat(path, &info) != 0 || !S_ISREG(info.st_mode)) return false;
  if (!m_stream.Open(CStdStr(path))) return false;
  return m_reader.Init(&m_stream) == QO::k_resultSuccess;
}

bool QoCAFFileReader::HasMatrixMix() const {
  return m_reader.GetMatrix() != nullptr &&
         QO::GetChannelConfigType(m_reader.GetChannelConfig()) == QO::k_channelConfigAmbisonic;
}

bool QoCAFFileReader::ReadChunks(unsigned int /*flags*/) {
  if (m_reader.ReadChunks() != QO::k_resultSuccess) return false;
  const QoChannelConfig config = m_reader.GetChannelConfig();
  const unsigned int channels = QO::GetChannelConfigNumChannels(config);
  const unsigned int bits = m_reader.GetBitsPerSample();
  const unsigned int bytesPerFrame = m_reader.GetBytesPerFrame();
  m_format.nChannels = static_cast<uint16_t>(channels);
  m_format.nSamplesPerSec = m_reader.GetSampleRate();
  m_format.nBlockAlign = static_cast<uint16_t>(bytesPerFrame);
  m_format.wBitsPerSample = static_cast<uint16_t>(bits);
  m_format.nAvgBytesPerSec = m_reader.GetSampleRate() * bytesPerFrame;
  m_format.channelConfig = config;
  const unsigned int storedChannels = HasMatrixMix() ? m_reader.GetMatrixInputs() : channels;
  m_readFrameSize = HasMatrixMix() ? bits * m_reader.GetMatrixInputs() / 8 : bytesPerFrame;
  // The conversion reads whole samples of the described width: a frame as stored must hold them.
  if (bits == 16 || bits == 24 || bits == 32) {
    if (static_cast<unsigned long long>(storedChannels) * (bits / 8) > m_readFrameSize)
      return false;
  }
  return true;
}

const std::vector<QO_WAVE_MARKER>& QoCAFFileReader::GetMarkers() const {
  static const std::vector<QO_WAVE_MARKER> s_noMarkers;
  return s_noMarkers;
}

unsigned int QoCAFFileReader::GetNumFrames() const {
  if (m_readFrameSize == 0) return 0;
  return static_cast<unsigned int>(m_reader.GetDataSize() / m_readFrameSize);
}

double QoCAFFileReader::GetDuration() const {
  if (m_reader.GetSampleRate() == 0) return 0.0;
  return static_cast<double>(GetNumFrames()) / m_reader.GetSampleRate();
}

long long QoCAFFileReader::SeekToAudioFrame(unsigned int frame) {
  return m_stream.SetPosition(static_cast<long long>(
      m_reader.GetDataOffset() + static_cast<unsigned long long>(frame) * m_readFrameSize));
}

unsigned int QoCAFFileReader::ReadPCMDataAsFloat32(unsigned int frames, float* out) {
  if (m_readFrameSize == 0 || frames == 0) return 0;
  const unsigned long long bytes = static_cast<unsigned long long>(m_readFrameSize) * frames;
  if (bytes > 0xFFFFFFFFull) return 0;
  void* data = nullptr;
  unsigned int got = 0;
  m_stream.Read(static_cast<unsigned int>(bytes), data, got);
  if (data == nullptr) return 0;
  const unsigned int framesRead = got / m_readFrameSize;
  const unsigned int bits = m_reader.GetBitsPerSample();
  if (!HasMatrixMix()) {
    ConvertToFloat32(data, out, bits, m_format.nChannels, m_reader.GetSampleType(), framesRead,
                     m_reader.IsByteSwapped());
    return framesRead;
  }
  const unsigned int outputs = m_reader.GetMatrixOutputs();
  const unsigned int inputs = m_reader.GetMatrixInputs();
  const float* matrix = m_reader.GetMatrix();
  m_mixBuffer.assign(static_cast<size_t>(framesRead) * inputs + 1, 0.0f);
  ConvertToFloat32(data, m_mixBuffer.data(), bits, inputs, m_reader.GetSampleType(), framesRead,
                   m_reader.IsByteSwapped());
  if (framesRead > 0 && outputs > 0) {
    for (unsigned int f = 0; f < framesRead; ++f) {
      const float* in = m_mixBuffer.data() + static_cast<size_t>(f) * inputs;
      float* dst = out + static_cast<size_t>(f) * outputs;
      for (unsigned int r = 0; r < outputs; ++r) {
        float sum = 0.0f;
        for (unsigned int c = 0; c < inputs; ++c)
          sum += in[c] * matrix[static_cast<size_t>(c) * outputs + r];
        dst[r] = sum;
      }
    }
  }
  return framesRead;
}
