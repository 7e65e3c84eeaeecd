#include "json_report.h"

namespace qobase_tool {

JsonReport::JsonReport() { m_writer.WriteStartDocument(); }

void JsonReport::Member(const char* name, const std::string& value) {
  m_writer.WriteAttributeString(CStdStr(name), CStdStr(value));
}

void JsonReport::BeginObject(const char* name) {
  m_writer.WriteStartElement(CStdStr(name), QO::XmlElementType::Object);
}

void JsonReport::BeginArray(const char* name) {
  m_writer.WriteStartElement(CStdStr(name), QO::XmlElementType::Array);
}

void JsonReport::Item(const std::string& value) {
  m_writer.WriteStartElement(CStdStr(""), QO::XmlElementType::Object);
  m_writer.WriteString(CStdStr(value));
  m_writer.WriteEndElement();
}

void JsonReport::BeginItemObject() {
  m_writer.WriteStartElement(CStdStr(""), QO::XmlElementType::Object);
}

void JsonReport::End() { m_writer.WriteEndElement(); }

std::string JsonReport::Finish() {
  m_writer.WriteEndDocument();
  return std::string(m_writer.GetBufferedText(), m_writer.GetBufferedSize()) + "\n";
}

std::string SingleLine(const std::string& document) {
  std::string line;
  line.reserve(document.size());
  for (size_t i = 0; i < document.size(); ++i) {
    if (document[i] != '\n') {
      line += document[i];
      continue;
    }
    while (i + 1 < document.size() && document[i + 1] == ' ') ++i;
  }
  return line;
}

}  // namespace qobase_tool
