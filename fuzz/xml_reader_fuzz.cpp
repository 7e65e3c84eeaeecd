// Reads arbitrary bytes as an XML document held in memory: every node, every attribute, and the
// composite moves a caller mixes into its read loop. Beyond the sanitizers it checks that the
// caller's loop ends: a document of n bytes cannot hold more than a few nodes per byte.
#include <qobase/text/xml_text_reader.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  // The first byte picks which composite move the loop makes on elements.
  const unsigned int move = data[0] % 6;
  const CStdStr text(reinterpret_cast<const char*>(data) + 1, size - 1);
  XmlTextReaderLite reader(text, XmlTextReaderLite::k_xmlSourceMemory);
  const size_t limit = 16 * size + 64;
  size_t steps = 0;
  while (reader.Read()) {
    if (++steps > limit) std::abort();  // the loop does not end
    (void)reader.GetName();
    (void)reader.GetValue();
    (void)reader.GetLineNumber();
    (void)reader.GetLinePosition();
    (void)reader.IsEmptyElement();
    if (reader.GetNodeType() != QO::k_xmlNodeElement) continue;
    for (bool more = reader.MoveToFirstAttribute(); more; more = reader.MoveToNextAttribute()) {
      (void)reader.GetName();
      (void)reader.GetValue();
    }
    reader.MoveToElement();
    CStdStr xml;
    switch (move) {
      case 0:
        (void)reader.ReadElementString("x");
        break;
      case 1:
        reader.ReadInnerXml(xml);
        break;
      case 2:
        reader.ReadOuterXml(xml);
        break;
      case 3:
        (void)reader.Skip();
        break;
      case 4:
        reader.ReadString(xml);
        break;
      default:
        (void)reader.MoveToContent();
        break;
    }
  }
  // The end is final.
  if (reader.Read() || !reader.IsEOF()) std::abort();
  return 0;
}
