#include "xml_json_tree.h"

#include <qobase/text/xml_text_reader.h>
#include <qobase/text/xml_validation.h>

#include <map>

namespace qobase_tool {
namespace {

std::string Trimmed(std::string message) {
  while (!message.empty() && (message.back() == '\n' || message.back() == '\r')) {
    message.pop_back();
  }
  return message;
}

void WriteElement(const XmlTreeNode& node, QO::IXmlTextWriter& writer);

// The element's members: attributes, then children grouped by name in order of first
// appearance, then its text.
void WriteContent(const XmlTreeNode& node, QO::IXmlTextWriter& writer) {
  for (const auto& attribute : node.attributes) {
    writer.WriteAttributeString(attribute.first, attribute.second);
  }
  std::vector<std::string> order;
  std::map<std::string, std::vector<const XmlTreeNode*>> byName;
  for (const auto& child : node.children) {
    auto& group = byName[child->name];
    if (group.empty()) order.push_back(child->name);
    group.push_back(child.get());
  }
  for (const std::string& name : order) {
    const auto& group = byName[name];
    if (group.size() == 1) {
      WriteElement(*group.front(), writer);
      continue;
    }
    writer.WriteStartElement(name, QO::XmlElementType::Array);
    for (const XmlTreeNode* child : group) WriteElement(*child, writer);
    writer.WriteEndElement();
  }
  if (!node.text.empty()) writer.WriteString(node.text);
}

void WriteElement(const XmlTreeNode& node, QO::IXmlTextWriter& writer) {
  writer.WriteStartElement(node.name, QO::XmlElementType::Object);
  WriteContent(node, writer);
  writer.WriteEndElement();
}

}  // namespace

bool ReadXmlTree(const std::string& path, XmlTreeNode& root, std::string& reason) {
  XmlTextReaderLite reader(path.c_str(), XmlTextReaderLite::k_xmlSourceFile);
  std::vector<XmlTreeNode*> open{&root};
  bool sawRoot = false;
  while (reader.Read()) {
    switch (reader.GetNodeType()) {
      case QO::k_xmlNodeElement: {
        sawRoot = true;
        auto node = std::make_unique<XmlTreeNode>();
        node->name = reader.GetName();
        for (bool more = reader.MoveToFirstAttribute(); more; more = reader.MoveToNextAttribute()) {
          node->attributes.emplace_back(reader.GetName(), reader.GetValue());
        }
        reader.MoveToElement();
        XmlTreeNode* added = node.get();
        open.back()->children.push_back(std::move(node));
        if (!reader.IsEmptyElement()) open.push_back(added);
        break;
      }
      case QO::k_xmlNodeEndElement:
        if (open.size() > 1) open.pop_back();
        break;
      case QO::k_xmlNodeText:
      case QO::k_xmlNodeCData:
        if (open.size() > 1) open.back()->text += reader.GetValue();
        break;
      default:
        break;
    }
  }
  if (reader.HasFailed() || !sawRoot || open.size() != 1) {
    const XmlGlobals& globals = XmlGlobals::Get();
    const std::string message = Trimmed(globals.m_lastErrorMessage);
    reason = "not well-formed XML";
    if (globals.m_lastErrorLine != 0)
      reason += " at line " + std::to_string(globals.m_lastErrorLine);
    if (!message.empty()) reason += ": " + message;
    return false;
  }
  return true;
}

void WriteXmlTree(const XmlTreeNode& root, QO::IXmlTextWriter& writer) {
  writer.WriteStartDocument();
  WriteContent(root, writer);
  writer.WriteEndDocument();
}

}  // namespace qobase_tool
