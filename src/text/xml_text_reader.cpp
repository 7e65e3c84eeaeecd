// XmlTextReaderLite: the pull reader over libxml2's xmlTextReader.
#include <qobase/text/xml_text_reader.h>

#include <libxml/xmlreader.h>

#include <climits>
#include <cstdlib>
#include <cstring>

namespace {

// A libxml2 string as a CStdStr; null gives the empty string.
CStdStr StringFromXml(const xmlChar* text) {
  return text ? CStdStr(reinterpret_cast<const char*>(text)) : CStdStr();
}

}  // namespace

XmlTextReaderLite::XmlTextReaderLite(const CStdStr& source, XmlSource kind) {
  Open(source.data(), source.size(), kind);
}

XmlTextReaderLite::XmlTextReaderLite(const char* source, XmlSource kind) {
  if (source) Open(source, std::strlen(source), kind);
}

XmlTextReaderLite::~XmlTextReaderLite() {
  if (m_reader) xmlFreeTextReader(m_reader);
  std::free(m_text);
}

void XmlTextReaderLite::Open(const char* source, std::size_t length, XmlSource kind) {
  if (kind == k_xmlSourceFile) {
    // A path with an embedded zero would name another file: refuse it.
    if (std::memchr(source, 0, length) == nullptr) m_reader = xmlNewTextReaderFilename(source);
    return;
  }
  if (length > static_cast<std::size_t>(INT_MAX)) return;
  // The reader parses incrementally out of this buffer, so it must live as long as the reader.
  m_text = static_cast<char*>(std::malloc(length + 1));
  if (!m_text) return;
  std::memcpy(m_text, source, length);
  m_text[length] = '\0';
  m_reader = xmlReaderForMemory(m_text, static_cast<int>(length), "", nullptr, 0);
}

void XmlTextReaderLite::Destroy() { delete this; }

CStdStr XmlTextReaderLite::GetName() const {
  return StringFromXml(xmlTextReaderConstLocalName(m_reader));
}

int XmlTextReaderLite::AskNodeType() const { return xmlTextReaderNodeType(m_reader); }

bool XmlTextReaderLite::IsEmptyElement() const {
  return xmlTextReaderIsEmptyElement(m_reader) != 0;
}

CStdStr XmlTextReaderLite::GetValue() const {
  return StringFromXml(xmlTextReaderConstValue(m_reader));
}

bool XmlTextReaderLite::IsEOF() const { return m_eof; }

int XmlTextReaderLite::GetLineNumber() const { return xmlTextReaderGetParserLineNumber(m_reader); }

int XmlTextReaderLite::GetLinePosition() const {
  return xmlTextReaderGetParserColumnNumber(m_reader);
}

bool XmlTextReaderLite::Read() {
  // libxml2 may hand back nodes again after it has reported an error, so the end is final.
  if (m_finished) return false;
  int type = k_nodeTypeUnknown;
  do {
    NoteMoveResult(xmlTextReaderRead(m_reader));
    type = m_eof ? k_nodeTypeUnknown : xmlTextReaderNodeType(m_reader);
  } while (type == QO::k_xmlNodeSignificantWhitespace);
  m_nodeType = type;
  return !m_eof;
}

int XmlTextReaderLite::MoveToContent() {
  for (;;) {
    const int type = GetNodeType();
    switch (type) {
      case QO::k_xmlNodeElement:
      case QO::k_xmlNodeText:
      case QO::k_xmlNodeCData:
      case QO::k_xmlNodeEntityReference:
      case QO::k_xmlNodeEndElement:
      case QO::k_xmlNodeEndEntity:
        return type;
      case QO::k_xmlNodeAttribute:
        ForgetNodeType();
        xmlTextReaderMoveToElement(m_reader);
        return GetNodeType();
      default:
        if (!Read()) return type;
    }
  }
}

void XmlTextReaderLite::MoveToElementIfOnAttribute() {
  if (GetNodeType() == QO::k_xmlNodeAttribute) {
    ForgetNodeType();
    xmlTextReaderMoveToElement(m_reader);
  }
}

bool XmlTextReaderLite::Skip() {
  MoveToElementIfOnAttribute();
  if (GetNodeType() != QO::k_xmlNodeElement || IsEmptyElement()) return Read();
  bool more = Read();
  int depth = 1;
  while (more) {
    const int type = GetNodeType();
    if (type == QO::k_xmlNodeEndElement) {
      --depth;
    } else if (type == QO::k_xmlNodeElement && !IsEmptyElement()) {
      ++depth;
    }
    more = Read();
    if (depth == 0) break;
  }
  return more;
}

void XmlTextReaderLite::ReadString(CStdStr& text) {
  MoveToElementIfOnAttribute();
  if (GetNodeType() == QO::k_xmlNodeElement) {
    if (IsEmptyElement()) return;
    Read();
    if (GetNodeType() == QO::k_xmlNodeEndElement) return;
  }
  for (;;) {
    const int type = GetNodeType();
    if (type != QO::k_xmlNodeText && type != QO::k_xmlNodeCData &&
        type != QO::k_xmlNodeWhitespace && type != QO::k_xmlNodeSignificantWhitespace) {
      return;
    }
    const xmlChar* value = xmlTextReaderConstValue(m_reader);
    if (value) text.append(reinterpret_cast<const char*>(value));
    if (!Read()) return;
  }
}

CStdStr XmlTextReaderLite::ReadElementString(const CStdStr& /*name*/) {
  if (MoveToContent() != QO::k_xmlNodeElement) return CStdStr();
  if (IsEmptyElement()) {
    Read();
    return CStdStr();
  }
  CStdStr result;
  Read();
  ReadString(result);
  if (GetNodeType() == QO::k_xmlNodeWhitespace) Read();
  if (GetNodeType() != QO::k_xmlNodeEndElement) return CStdStr();
  Read();
  return result;
}

void XmlTextReaderLite::ReadInnerXml(CStdStr& xml) {
  if (m_finished) return;
  if (xmlChar* text = xmlTextReaderReadInnerXml(m_reader)) {
    xml = reinterpret_cast<const char*>(text);
    xmlFree(text);
  }
  Skip();
}

void XmlTextReaderLite::ReadOuterXml(CStdStr& xml) {
  if (m_finished) return;
  if (xmlChar* text = xmlTextReaderReadOuterXml(m_reader)) {
    xml = reinterpret_cast<const char*>(text);
    xmlFree(text);
  }
  NoteMoveResult(xmlTextReaderNext(m_reader));
}

CStdStr XmlTextReaderLite::GetAttribute(const CStdStr& name) {
  CStdStr value;
  GetAttribute(name, value);
  return value;
}

bool XmlTextReaderLite::GetAttribute(const CStdStr& name, CStdStr& value) {
  if (!m_reader) return false;
  ForgetNodeType();
  if (xmlTextReaderMoveToAttribute(m_reader, reinterpret_cast<const xmlChar*>(name.c_str())) != 1) {
    return false;
  }
  value = GetValue();
  xmlTextReaderMoveToElement(m_reader);
  return true;
}

bool XmlTextReaderLite::MoveToFirstAttribute() {
  ForgetNodeType();
  return xmlTextReaderMoveToFirstAttribute(m_reader) == 1;
}

bool XmlTextReaderLite::MoveToNextAttribute() {
  ForgetNodeType();
  return xmlTextReaderMoveToNextAttribute(m_reader) == 1;
}

bool XmlTextReaderLite::MoveToElement() {
  ForgetNodeType();
  return xmlTextReaderMoveToElement(m_reader) == 1;
}
