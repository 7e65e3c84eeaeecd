// qobase xml: validate an XML file against an XML Schema, or convert XML to JSON.
#include <qobase/text/json_text_writer.h>
#include <qobase/text/xml_text_reader.h>
#include <qobase/text/xml_validation.h>

#include <fstream>
#include <iostream>
#include <string>
#include <vector>

#include "command.h"

namespace qobase_tool {
namespace {

// The last libxml2 message without its trailing line feed.
std::string TrimMessage(std::string message) {
  while (!message.empty() && (message.back() == '\n' || message.back() == '\r')) message.pop_back();
  return message;
}

int Validate(const std::string& file, const std::string& schema) {
  ValidationErrorInfo info;
  if (ValidateXmlFile(file, schema, info)) {
    std::cout << file << ": valid\n";
    return k_exitSuccess;
  }
  switch (info.code) {
    case ValidationErrorInfo::k_documentNotRead:
      return Fail(file, "cannot be read as XML: " +
                            TrimMessage(XmlGlobals::Get().m_lastErrorMessage));
    case ValidationErrorInfo::k_schemaNotRead:
      return Fail(schema, "schema cannot be read: " + TrimMessage(info.message));
    case ValidationErrorInfo::k_schemaNotParsed:
      return Fail(schema, "not a usable XML Schema: " + TrimMessage(info.message));
    default:
      return Fail(file, "not valid at line " + std::to_string(info.line) + ": " +
                            TrimMessage(info.message));
  }
}

// Every element becomes an object member, attributes string members, text a string. An
// element's text is written when it ends, after its attributes and children, so text beside
// child elements becomes its "#text" member instead of a value the children would follow.
int ToJson(const std::string& file) {
  if (!std::ifstream(file)) return Fail(file, "cannot be read");
  XmlTextReaderLite reader(file.c_str(), XmlTextReaderLite::k_xmlSourceFile);
  JSONTextWriter writer;
  writer.WriteStartDocument();
  std::vector<std::string> texts;  // the text of each open element so far
  bool sawRoot = false;
  while (reader.Read()) {
    switch (reader.GetNodeType()) {
      case QO::k_xmlNodeElement: {
        sawRoot = true;
        writer.WriteStartElement(reader.GetName(), QO::XmlElementType::Object);
        for (bool more = reader.MoveToFirstAttribute(); more; more = reader.MoveToNextAttribute()) {
          writer.WriteAttributeString(reader.GetName(), reader.GetValue());
        }
        reader.MoveToElement();
        if (reader.IsEmptyElement()) {
          writer.WriteEndElement();
        } else {
          texts.emplace_back();
        }
        break;
      }
      case QO::k_xmlNodeEndElement:
        if (texts.empty()) break;
        if (!texts.back().empty()) writer.WriteString(texts.back());
        texts.pop_back();
        writer.WriteEndElement();
        break;
      case QO::k_xmlNodeText:
      case QO::k_xmlNodeCData:
        if (!texts.empty()) texts.back() += reader.GetValue();
        break;
      default:
        break;
    }
  }
  if (reader.HasFailed() || !sawRoot || !texts.empty()) {
    const std::string reason = TrimMessage(XmlGlobals::Get().m_lastErrorMessage);
    return Fail(file, "not well-formed XML" + (reason.empty() ? "" : " (" + reason + ")"));
  }
  writer.WriteEndDocument();
  std::cout.write(writer.GetBufferedText(), static_cast<std::streamsize>(writer.GetBufferedSize()));
  std::cout << "\n";
  return k_exitSuccess;
}

int RunXml(const std::vector<std::string>& args) {
  if (args.empty()) return UsageError("xml", "missing subcommand");
  if (args[0] == "validate") {
    if (args.size() != 3) return UsageError("xml", "validate takes FILE and SCHEMA");
    return Validate(args[1], args[2]);
  }
  if (args[0] == "tojson") {
    if (args.size() != 2) return UsageError("xml", "tojson takes one FILE");
    return ToJson(args[1]);
  }
  return UsageError("xml", "unknown subcommand '" + args[0] + "'");
}

const CommandRegistration s_xml({
    "xml",
    "validate XML against an XML Schema, or convert it to JSON",
    "usage: qobase xml validate FILE SCHEMA\n"
    "       qobase xml tojson FILE\n\n"
    "validate  checks FILE against the XML Schema SCHEMA and prints \"FILE: valid\".\n"
    "          When it is not valid, or either file cannot be used, one line on stderr\n"
    "          gives the reason with the line of the first problem found.\n"
    "tojson    prints FILE as JSON: elements become members, attributes string members,\n"
    "          text string values (\"#text\" beside other members).\n\n"
    "Exit code 0 on success, 1 when the document is invalid or unreadable, 2 on bad usage.\n",
    RunXml,
});

}  // namespace
}  // namespace qobase_tool
