// Writes the seed inputs of every fuzzing harness into fuzz/corpus/<harness>/: small files made
// by the library's own writers and by the tests' byte builders, each a different shape of input
// the harness should start from. Run by scripts/make-fuzz-seeds.sh; the output is committed.
#include <qobase/audio/wav_file_writer.h>
#include <qobase/audio/wave_format.h>

#include <boost/filesystem.hpp>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <map>
#include <string>
#include <vector>

#include "support/audio_synth.h"
#include "support/midi_builder.h"
#include "support/wav_builder.h"

namespace {

namespace fs = boost::filesystem;
using qotest::ByteBuilder;

std::string g_root;

void Seed(const std::string& harness, const std::string& name, const std::string& bytes) {
  const fs::path folder = fs::path(g_root) / harness;
  fs::create_directories(folder);
  FILE* file = std::fopen((folder / name).c_str(), "wb");
  if (!file || std::fwrite(bytes.data(), 1, bytes.size(), file) != bytes.size() ||
      std::fclose(file) != 0) {
    std::fprintf(stderr, "make_fuzz_seeds: cannot write %s/%s\n", harness.c_str(), name.c_str());
    std::exit(1);
  }
}

std::string ReadFile(const std::string& path) {
  std::string bytes;
  if (FILE* file = std::fopen(path.c_str(), "rb")) {
    char block[4096];
    size_t got;
    while ((got = std::fread(block, 1, sizeof(block), file)) > 0) bytes.append(block, got);
    std::fclose(file);
  }
  return bytes;
}

// A decaying click train, so the onset detector finds something in the seeds.
std::vector<float> Clicks(size_t frames, unsigned int channels, size_t period) {
  std::vector<float> samples(frames * channels);
  for (size_t i = 0; i < frames; ++i) {
    const float value =
        std::exp(-static_cast<float>(i % period) / 40.0f) * std::sin(static_cast<float>(i) * 0.7f);
    for (unsigned int c = 0; c < channels; ++c) samples[i * channels + c] = value * 0.8f;
  }
  return samples;
}

// A file from the library's writer with markers, labels and a loop.
std::string WrittenWav(const std::string& scratch, bool bigEndian) {
  QoWavFileWriter writer;
  const std::string path = scratch + "/written.wav";
  if (!writer.Open(zu::Path(path.c_str()), bigEndian)) std::exit(1);
  writer.SetFormat(qotest::ExtensibleFormat(1, 16, 8000, 1));
  writer.SetLoopPoints(10, 90);
  char first[] = "Verse", second[] = "Chorus";
  std::vector<QO_WAVE_MARKER> markers = {{1, 20, 6, first}, {2, 60, 7, second}};
  writer.SetMarkers(markers);
  std::vector<float> samples = Clicks(100, 1, 50);
  if (!writer.WriteChunks(QO::k_chunksAll) || !writer.WriteReal32AsPCMData(100, samples.data()) ||
      !writer.Close()) {
    std::exit(1);
  }
  return ReadFile(path);
}

std::string Samples16(size_t count) {
  ByteBuilder b;
  for (size_t i = 0; i < count; ++i) b.U16(static_cast<uint16_t>(i * 2654435761u >> 16));
  return b.Bytes();
}

// A file with every kind of chunk the editor carries over or reports.
std::string ManyChunks() {
  const std::string cue =
      ByteBuilder().U32(1).U32(7).U32(3).Raw("data").U32(0).U32(0).U32(3).Bytes();
  const std::string adtl = "adtl" + ByteBuilder()
                                        .Chunk("labl", ByteBuilder().U32(7).Raw("hit").Bytes())
                                        .Chunk("ltxt", std::string(20, 'x'))
                                        .Bytes();
  ByteBuilder smpl;
  smpl.U32(0).U32(0).U32(125000).U32(60).U32(0).U32(0).U32(0).U32(2).U32(0);
  smpl.U32(0).U32(0).U32(2).U32(10).U32(0).U32(0).U32(1).U32(0).U32(4).U32(8).U32(0).U32(0);
  const std::string chunks =
      ByteBuilder()
          .Chunk("bext", std::string(33, 'b'))
          .Chunk("fmt ", qotest::FmtBody(false, 1, 1, 8000, 16))
          .Chunk("fact", ByteBuilder().U32(12).Bytes())
          .Chunk("LIST",
                 "INFOICMT" + ByteBuilder().U32(5).Raw("note").Bytes() + std::string(1, '\0'))
          .Chunk("cue ", cue)
          .Chunk("LIST", adtl)
          .Chunk("smpl", smpl.Bytes())
          .Chunk("data", Samples16(12))
          .Chunk("iXML", "<a/>x", false)
          .Bytes();
  return qotest::WaveFile(false, chunks);
}

void WavSeeds(const std::string& scratch) {
  const std::string data = Samples16(64);
  std::map<std::string, std::string> seeds;
  seeds["written.wav"] = WrittenWav(scratch, false);
  seeds["written-rifx.wav"] = WrittenWav(scratch, true);
  seeds["many-chunks.wav"] = ManyChunks();
  seeds["extensible-6ch.wav"] = qotest::WaveFile(
      false, ByteBuilder()
                 .Chunk("fmt ", qotest::StandardExtensibleBody(false, 6, 48000, 32, 32, 0x3F,
                                                               ks_dataformat_pcm))
                 .Chunk("data", std::string(96, '\x11'))
                 .Bytes());
  seeds["extensible-rifx.wav"] =
      qotest::WaveFile(true, ByteBuilder(true)
                                 .Chunk("fmt ", qotest::StandardExtensibleBody(
                                                    true, 2, 44100, 24, 24, 0x3, ks_dataformat_pcm))
                                 .Chunk("data", std::string(60, '\x22'))
                                 .Bytes());
  seeds["float.wav"] =
      qotest::WaveFile(false, ByteBuilder()
                                  .Chunk("fmt ", qotest::FmtBody(false, 3, 2, 44100, 32))
                                  .Chunk("data", std::string(64, '\x3f'))
                                  .Bytes());
  seeds["mulaw.wav"] =
      qotest::WaveFile(false, ByteBuilder()
                                  .Chunk("fmt ", qotest::FmtBody(false, 7, 1, 8000, 8))
                                  .Chunk("data", std::string(33, '\x7f'))
                                  .Bytes());
  WaveFormatExtensible compact{
      0xFFFE, 2, 44100, 176400, 4, 16, 4, 0, QO::MakeChannelConfig(2, 1, 0x3)};
  seeds["compact.wav"] = qotest::WaveFile(
      false, ByteBuilder()
                 .Chunk("fmt ", std::string(reinterpret_cast<const char*>(&compact), 24))
                 .Chunk("data", data)
                 .Bytes());
  seeds["odd-sizes.wav"] =
      qotest::WaveFile(false, ByteBuilder()
                                  .Chunk("junk", "abc", false)
                                  .Chunk("fmt ", qotest::FmtBody(false, 1, 1, 22050, 24))
                                  .Chunk("data", std::string(9, '\x01'))
                                  .Bytes());
  for (const auto& [name, bytes] : seeds) {
    Seed("wav_reader", name, bytes);
    Seed("wav_edit", name, bytes);
    // The program harnesses take an option byte first: here the peak measured, and three
    // markers and a loop.
    Seed("program_info", name, std::string(1, '\1') + bytes);
    Seed("program_marked_copy", name, std::string(1, '\x16') + bytes);
  }
  // The analyses need enough frames for a few flux values.
  const std::string clicks = scratch + "/clicks.wav";
  if (!qotest::WriteWavSamples(clicks, 1, 16, 8000, Clicks(3000, 1, 700))) std::exit(1);
  Seed("analysis", "clicks-mono.wav", ReadFile(clicks));
  if (!qotest::WriteWavSamples(clicks, 2, 24, 11025, Clicks(2600, 2, 500))) std::exit(1);
  Seed("analysis", "clicks-stereo-24.wav", ReadFile(clicks));
  if (!qotest::WriteWavSamples(clicks, 1, 32, 4000, Clicks(1500, 1, 300))) std::exit(1);
  Seed("analysis", "clicks-float.wav", ReadFile(clicks));
}

std::string CafChunk(const std::string& type, const std::string& body) {
  return ByteBuilder(true).Raw(type).U64(body.size()).Raw(body).Bytes();
}

std::string CafFile(uint32_t channels, uint32_t bits, uint32_t flags, const std::string& extra) {
  ByteBuilder desc(true);
  desc.F64(44100).Raw("lpcm").U32(flags).U32(channels * bits / 8).U32(1).U32(channels).U32(bits);
  return ByteBuilder(true)
      .Raw("caff")
      .U16(1)
      .U16(0)
      .Raw(CafChunk("desc", desc.Bytes()))
      .Raw(extra)
      .Raw(CafChunk("data", std::string(4, '\0') + std::string(channels * bits / 8 * 16, '\x05')))
      .Bytes();
}

void CafSeeds() {
  Seed("caf_reader", "int16-stereo.caf", CafFile(2, 16, 2, ""));
  Seed("caf_reader", "float-mono.caf", CafFile(1, 32, 1 | 2, ""));
  Seed("caf_reader", "int24-layout.caf",
       CafFile(2, 24, 0, CafChunk("chan", ByteBuilder(true).U32(0).U32(3).U32(0).Bytes())));
  const std::string uuid("\x1A\xD3\x18\xC3\x00\xE5\x55\x76\xBE\x2D\x0D\xCA\x24\x60\xBC\x89", 16);
  ByteBuilder matrix(true);
  matrix.Raw(uuid).U32(1).U32(2).F32(0.5f).F32(0.5f);
  Seed("caf_reader", "matrix.caf", CafFile(2, 16, 2, CafChunk("uuid", matrix.Bytes())));
  Seed("program_info", "int24-layout.caf",
       std::string(1, '\1') +
           CafFile(2, 24, 0, CafChunk("chan", ByteBuilder(true).U32(0).U32(3).U32(0).Bytes())));
}

void MidiSeeds() {
  const std::string format0 = qotest::MidiFileBytes(
      0, 96,
      {"0 FF 51 03 07 A1 20, 0 90 3C 64, 48 3E 50, 48 80 3C 00, 0 3E 00, 0 B0 40 7F,"
       " 96 B0 40 00, 0 F0 03 7E 7F F7, 0 FF 2F 00"});
  const std::string format1 = qotest::MidiFileBytes(
      1, 480,
      {"0 FF 58 04 04 02 18 08, 0 FF 51 03 0F 42 40, 960 FF 51 03 07 A1 20, 0 FF 2F 00",
       "0 C0 05, 0 90 40 7F, 240 40 00, 240 E0 00 40, 0 91 43 60, 1000 81 43 00,"
       " 0 FF 2F 00",
       "0 99 24 7F, 120 89 24 00, 0 FF 2F 00"});
  for (const char* harness : {"midi_parse", "midi_file"}) {
    Seed(harness, "format0.mid", format0);
    Seed(harness, "format1.mid", format1);
  }
  Seed("program_info", "format1.mid", std::string(1, '\0') + format1);
}

void TextSeeds() {
  Seed("xml_reader", "document.xml",
       std::string(1, '\0') +
           "<?xml version=\"1.0\"?>\n<Project a=\"1\" b='x&amp;y'>\n <Track>one</Track>\n"
           " <Track><![CDATA[two]]></Track>\n <!-- c --><Empty/>\n <?pi x?>\n</Project>\n");
  Seed("xml_reader", "nested.xml", std::string(1, '\2') + "<a><b><c x=\"1\">t</c></b><d/>tail</a>");
  Seed("xml_schema", "valid.bin",
       std::string("<xs:schema xmlns:xs=\"http://www.w3.org/2001/XMLSchema\">"
                   "<xs:element name=\"a\"><xs:complexType><xs:sequence>"
                   "<xs:element name=\"b\" type=\"xs:int\" maxOccurs=\"unbounded\"/>"
                   "</xs:sequence><xs:attribute name=\"n\" type=\"xs:string\"/>"
                   "</xs:complexType></xs:element></xs:schema>") +
           std::string(1, '\0') + "<a n=\"x\"><b>1</b><b>2</b></a>");
  Seed("xml_schema", "invalid.bin",
       std::string("<xs:schema xmlns:xs=\"http://www.w3.org/2001/XMLSchema\">"
                   "<xs:element name=\"a\" type=\"xs:date\"/></xs:schema>") +
           std::string(1, '\0') + "<a>not a date</a>");
  // Start "root", attribute, end, text, start "b", append, end: one byte a call, then its text.
  const unsigned char calls[] = {0,   3,   'r', 'o', 'o', 2, 5, 'v', 'a', 'l', 'u', 'e', 1, 3, 4,
                                 't', 'e', 'x', 't', 0,   2, 1, 6,   3,   'a', 'b', 'c', 1, 1};
  Seed("text_writer", "calls.bin", std::string(std::begin(calls), std::end(calls)));
  Seed("strings", "guid.txt", "\x07{03020100-0504-0706-0809-0A0B0C0D0E0F}");
  Seed("strings", "number.txt", "\x02-1234567.891");
  Seed("strings", "utf8.txt", "\x11/a//b/\xC3\xA9\xE2\x82\xAC;*.wav");
  Seed("base64", "text.txt", "TWFu aGk=\nAQIDBAUGBwgJCgsMDQ4P");
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: make_fuzz_seeds CORPUS_FOLDER\n");
    return 2;
  }
  g_root = argv[1];
  const fs::path scratch = fs::temp_directory_path() / fs::unique_path("qobase-seeds-%%%%%%%%");
  fs::create_directories(scratch);
  WavSeeds(scratch.string());
  CafSeeds();
  MidiSeeds();
  TextSeeds();
  fs::remove_all(scratch);
  return 0;
}
