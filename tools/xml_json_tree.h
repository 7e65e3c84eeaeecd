// XML to JSON for `qobase xml tojson`. The document is read into a small tree first, because
// JSON needs to know before writing an element whether siblings share its name: repeated names
// become one array member instead of duplicate keys, which JSON parsers would collapse.
#pragma once

#include <qobase/text/xml_text_writer.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace qobase_tool {

struct XmlTreeNode {
  std::string name;
  std::vector<std::pair<std::string, std::string>> attributes;
  std::string text;  // all text and CDATA directly inside, joined
  std::vector<std::unique_ptr<XmlTreeNode>> children;
};

// Reads the XML file into `root`. False with a reason (with the line of the problem) when it
// is not well-formed, or uses an entity of its own (&name;), whose text the reader does not give.
bool ReadXmlTree(const std::string& path, XmlTreeNode& root, std::string& reason);

// Writes the tree through `writer` (a JSON writer): attributes and children become members,
// members sharing a name (children, or an attribute and a child) one array of their values,
// text a string value or, beside other members, a "#text" member. {"T":{"Track":["a","b"]}} for
// <T><Track>a</Track><Track>b</Track></T>.
void WriteXmlTree(const XmlTreeNode& root, QO::IXmlTextWriter& writer);

}  // namespace qobase_tool
