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

// One member of an element: an attribute's value or a child element.
struct Member {
  const std::string* attributeValue;
  const XmlTreeNode* child;
};

void WriteMember(const std::string& name, const Member& member, QO::IXmlTextWriter& writer) {
  if (member.child) {
    WriteElement(*member.child, writer);
  } else {
    writer.WriteAttributeString(name, *member.attributeValue);
  }
}

// The element's members: attributes, then children, grouped by name in order of first
// appearance, then its text. Every name is written once: members sharing one (children, or an
// attribute and a child, or attributes whose prefixes the names leave out) become one array.
void WriteContent(const XmlTreeNode& node, QO::IXmlTextWriter& writer) {
  std::vector<std::string> order;
  std::map<std::string, std::vector<Member>> byName;
  const auto add = [&](const std::string& name, Member member) {
    auto& group = byName[name];
    if (group.empty()) order.push_back(name);
    group.push_back(member);
  };
  for (const auto& attribute : node.attributes) add(attribute.first, {&attribute.second, nullptr});
  for (const auto& child : node.children) add(child->name, {nullptr, child.get()});
  for (const std::string& name : order) {
    const auto& group = byName[name];
    if (group.size() == 1) {
      WriteMember(name, group.front(), writer);
      continue;
    }
    writer.WriteStartElement(name, QO::XmlElementType::Array);
    for (const Member& member : group) WriteMember(name, member, writer);
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
      case QO::k_xmlNodeEntityReference:
        // The reader leaves entities unexpanded; dropping one would drop its text unseen.
        reason = "not converted: the entity reference &" + std::string(reader.GetName()) +
                 "; would be left out (entities declared in the document are not expanded)";
        return false;
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
