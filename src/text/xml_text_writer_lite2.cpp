// XmlTextWriterLite2: indented XML formatted straight into the writer's buffer.
#include <qobase/text/xml_text_writer_lite2.h>

#include "text/escape_scan.h"

namespace {

const char k_documentHeader[] = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n";

// True when the text holds one of " & < >, the characters that may need an entity.
bool NeedsXmlEscape(const CStdStr& text) {
  const char* end = text.data() + text.size();
  return qobase_text::FindXmlSpecial(text.data(), text.data(), end, true) != end;
}

}  // namespace

XmlTextWriterLite2::XmlTextWriterLite2() : QoTextWriterBuffer(zu::Path()) {}

XmlTextWriterLite2::XmlTextWriterLite2(const zu::Path& path) : QoTextWriterBuffer(path) {}

// Open elements get no end tags; the buffered text goes to the file in the base destructor.
XmlTextWriterLite2::~XmlTextWriterLite2() = default;

void XmlTextWriterLite2::AllocBuffer(std::size_t size, bool keep) {
  if (!keep && IsFileWriter()) {
    MakeFreshBlock(size);
  } else {
    ResizeBlock(size);
  }
}

void XmlTextWriterLite2::EscapeXMLCharacters(CStdStr& text, bool attribute) {
  if (!NeedsXmlEscape(text)) return;
  // "&" first, so the entities made afterwards are not escaped again.
  text.Replace("&", "&amp;");
  if (attribute) text.Replace("\"", "&quot;");
  text.Replace("<", "&lt;");
  text.Replace(">", "&gt;");
}

// One pass straight into the buffer. Each character maps on its own, so this gives the same
// bytes as EscapeXMLCharacters without its copies.
void XmlTextWriterLite2::WriteEscaped(const CStdStr& text, bool attribute) {
  const char* run = text.data();
  const char* const end = run + text.size();
  for (const char* p = qobase_text::FindXmlSpecial(text.data(), run, end, attribute); p != end;
       p = qobase_text::FindXmlSpecial(text.data(), run, end, attribute)) {
    WriteString(run, static_cast<std::size_t>(p - run));
    switch (*p) {
      case '&':
        WriteString("&amp;", 5);
        break;
      case '<':
        WriteString("&lt;", 4);
        break;
      case '>':
        WriteString("&gt;", 4);
        break;
      default:
        WriteString("&quot;", 6);
        break;
    }
    run = p + 1;
  }
  WriteString(run, static_cast<std::size_t>(end - run));
}

void XmlTextWriterLite2::WriteStartDocument() {
  WriteString(k_documentHeader, sizeof(k_documentHeader) - 1);
  m_state = k_stateBetween;
}

void XmlTextWriterLite2::WriteEndDocument() {}

void XmlTextWriterLite2::StartElement(const char* name, std::size_t length) {
  if (!IsReady()) return;
  if (m_state == k_stateTagOpen) WriteString(">\n", 2);
  Indent();
  WriteString("<", 1);
  WriteString(name, length);
  m_names.append(name, length);
  m_nameEnds.push_back(m_names.size());
  m_state = k_stateTagOpen;
}

void XmlTextWriterLite2::WriteStartElement(const CStdStr& name,
                                           QO::XmlElementType::ElementType /*type*/) {
  StartElement(name.data(), name.size());
}

void XmlTextWriterLite2::WriteStartElement(const char* name,
                                           QO::XmlElementType::ElementType /*type*/) {
  if (name) StartElement(name, std::strlen(name));
}

void XmlTextWriterLite2::WriteEndElement() {
  // Without an open element there is nothing to close.
  if (!IsReady() || m_nameEnds.empty()) return;
  const std::size_t end = m_nameEnds.back();
  m_nameEnds.pop_back();
  const std::size_t start = m_nameEnds.empty() ? 0 : m_nameEnds.back();
  if (m_state == k_stateTagOpen) {
    WriteString("/>\n", 3);
  } else {
    if (m_state != k_stateAfterText) Indent();
    WriteString("</", 2);
    WriteString(m_names.data() + start, end - start);
    WriteString(">\n", 2);
  }
  m_names.resize(start);
  m_state = k_stateBetween;
}

void XmlTextWriterLite2::WriteAttributeString(const CStdStr& name, const CStdStr& value) {
  WriteString(" ", 1);
  WriteString(name.data(), name.size());
  WriteAttributeValue(value);
}

void XmlTextWriterLite2::WriteAttributeString(const char* name, const CStdStr& value) {
  WriteString(" ", 1);
  if (name) WriteString(name, std::strlen(name));
  WriteAttributeValue(value);
}

void XmlTextWriterLite2::WriteAttributeValue(const CStdStr& value) {
  WriteString("=\"", 2);
  WriteEscaped(value, true);
  WriteString("\"", 1);
}

void XmlTextWriterLite2::WriteString(const CStdStr& text) {
  if (m_state == k_stateTagOpen) WriteString(">", 1);
  WriteEscaped(text, false);
  m_state = k_stateAfterText;
}

void XmlTextWriterLite2::WriteRaw(const CStdStr& text) {
  if (m_state == k_stateTagOpen) WriteString(">", 1);
  WriteStringAndGrow(text);
  m_state = k_stateAfterText;
}

void XmlTextWriterLite2::WriteCData(const CStdStr& text) {
  if (m_state == k_stateTagOpen) WriteString(">", 1);
  WriteString("<![CDATA[", 9);
  WriteStringAndGrow(text);
  WriteString("]]>", 3);
  m_state = k_stateAfterText;
}

bool XmlTextWriterLite2::Append(QO::IXmlTextWriter* other) {
  const QoTextWriterBuffer* source = AsTextWriterBuffer(other);
  if (!source) return false;
  if (m_state == k_stateTagOpen) WriteString(">", 1);
  Indent();
  WriteBufferOf(*source);
  m_state = k_stateBetween;
  return true;
}
