// The structured-text section of `qobase demo`: one document written as XML and as JSON through
// the same writer interface, then validated against a schema.
#include <internal/scratch_folder.h>
#include <qobase/text/json_text_writer.h>
#include <qobase/text/xml_text_writer_lite2.h>
#include <qobase/text/xml_validation.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <ostream>
#include <string>

#include "command.h"

namespace qobase_tool {
namespace {

const char k_sessionSchema[] =
    "<xs:schema xmlns:xs=\"http://www.w3.org/2001/XMLSchema\">\n"
    "  <xs:element name=\"Session\">\n"
    "    <xs:complexType>\n"
    "      <xs:sequence>\n"
    "        <xs:element name=\"Tracks\">\n"
    "          <xs:complexType>\n"
    "            <xs:sequence>\n"
    "              <xs:element name=\"Track\" maxOccurs=\"unbounded\">\n"
    "                <xs:complexType>\n"
    "                  <xs:simpleContent>\n"
    "                    <xs:extension base=\"xs:string\">\n"
    "                      <xs:attribute name=\"gain\" type=\"xs:decimal\" use=\"required\"/>\n"
    "                    </xs:extension>\n"
    "                  </xs:simpleContent>\n"
    "                </xs:complexType>\n"
    "              </xs:element>\n"
    "            </xs:sequence>\n"
    "          </xs:complexType>\n"
    "        </xs:element>\n"
    "      </xs:sequence>\n"
    "      <xs:attribute name=\"name\" type=\"xs:string\"/>\n"
    "    </xs:complexType>\n"
    "  </xs:element>\n"
    "</xs:schema>\n";

void WriteSession(QO::IXmlTextWriter& writer, const char* secondGain) {
  writer.WriteStartDocument();
  writer.WriteStartElement("Session", QO::XmlElementType::Object);
  writer.WriteAttributeString("name", "Take \"A\" & B");
  // In JSON the tracks become an array of one-member objects.
  writer.WriteStartElement("Tracks", QO::XmlElementType::ObjectArray);
  writer.WriteStartElement("Track", QO::XmlElementType::Object);
  writer.WriteAttributeString("gain", "-3.5");
  writer.WriteString("Drums <room>");
  writer.WriteEndElement();
  writer.WriteStartElement("Track", QO::XmlElementType::Object);
  writer.WriteAttributeString("gain", secondGain);
  writer.WriteString("Bass");
  writer.WriteEndElement();
  writer.WriteEndElement();
  writer.WriteEndElement();
  writer.WriteEndDocument();
}

std::string Contents(const QoTextWriterBuffer& writer) {
  return std::string(writer.GetBufferedText(), writer.GetBufferedSize());
}

// Writes the session with the given gain to a file and validates it; prints the outcome.
bool ValidateSession(std::ostream& out, const std::string& dir, const std::string& schema,
                     const char* secondGain, ValidationErrorInfo& info) {
  const std::string path = dir + "/session.xml";
  {
    XmlTextWriterLite2 writer{zu::Path(path)};
    if (!writer.IsReady()) return false;
    WriteSession(writer, secondGain);
  }
  const bool valid = ValidateXmlFile(path, schema, info);
  out << "   gain \"" << secondGain << "\": ";
  if (valid) {
    out << "valid\n";
  } else {
    std::string message = info.message;
    while (!message.empty() && message.back() == '\n') message.pop_back();
    out << "invalid (code " << info.code << ", line " << info.line << ": " << message << ")\n";
  }
  return valid;
}

bool TextDemo(std::ostream& out) {
  XmlTextWriterLite2 xml;
  WriteSession(xml, "0");
  JSONTextWriter json;
  WriteSession(json, "0");
  out << "   As XML:\n" << Contents(xml) << "   As JSON:\n" << Contents(json) << "\n";

  const qobase_internal::ScratchFolder scratch(qobase_internal::ScratchFolder::SystemTempFolder(),
                                               "qobase-demo");
  if (!scratch.IsValid()) return false;
  const std::string& dir = scratch.Path();
  const std::string schema = scratch.File("session.xsd");
  bool ok = static_cast<bool>(std::ofstream(schema) << k_sessionSchema);
  out << "   Validation against a built-in schema:\n";
  ValidationErrorInfo validInfo, invalidInfo;
  ok = ok && ValidateSession(out, dir, schema, "0", validInfo);
  ok = ok && !ValidateSession(out, dir, schema, "loud", invalidInfo) &&
       invalidInfo.code == ValidationErrorInfo::k_documentNotValid;
  return ok;
}

const DemoRegistration s_section({60, "structured text", TextDemo});

}  // namespace
}  // namespace qobase_tool
