// Decodes arbitrary text as Base64 and checks what must hold for any input: no access out of
// bounds (the sanitizers), an output no longer than the text allows, and the bytes of any
// decoded text surviving an encode/decode round trip.
#include <qobase/streams/base64.h>

#include <cstdint>
#include <cstdlib>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const char* text = reinterpret_cast<const char*>(data);
  std::vector<unsigned char> bytes;
  QoBase64::Decode(text, size, bytes);
  if (bytes.size() > (size + 3) / 4 * 3) std::abort();

  std::vector<char> encoded;
  QoBase64::Encode(data, size, encoded);
  if (encoded.size() != (size + 2) / 3 * 4) std::abort();
  std::vector<unsigned char> again;
  QoBase64::Decode(encoded.data(), encoded.size(), again);
  if (again != std::vector<unsigned char>(data, data + size)) std::abort();
  return 0;
}
