// What the writers produce parses with independent parsers (libxml2, RapidJSON) to the tree that
// was written.
#include <qobase/text/json_text_writer.h>
#include <qobase/text/xml_text_writer_lite2.h>

#include <gtest/gtest.h>
#include <libxml/parser.h>
#include <libxml/tree.h>
#include <rapidjson/document.h>

#include <random>
#include <string>
#include <utility>
#include <vector>

namespace {

using QO::XmlElementType::ElementType;

struct Node {
  std::string name;
  ElementType type = QO::XmlElementType::Object;
  std::vector<std::pair<std::string, std::string>> attributes;
  std::string text;  // only on elements without children
  bool cdata = false;  // the text is written as CDATA
  std::vector<Node> children;

  bool operator==(const Node& o) const {
    return name == o.name && attributes == o.attributes && text == o.text && children == o.children;
  }
};

std::ostream& operator<<(std::ostream& out, const Node& node) {
  out << "<" << node.name;
  for (const auto& a : node.attributes) out << " " << a.first << "=[" << a.second << "]";
  out << ">" << node.text;
  for (const Node& child : node.children) out << child;
  return out << "</" << node.name << ">";
}

// Texts that need escaping in one format or the other. Attribute values avoid tabs and line
// feeds, which XML normalises to blanks.
const char* const k_values[] = {"plain", "a&b", "<tag>", "\"quoted\"", "it's", "\xc3\xa9 \xe4\xb8\xad",
                                "back\\slash", "/slash", "x > y", "&amp;", "]]"};
const char* const k_texts[] = {"tab\there", "line\nfeed", "  padded  "};

// A deterministic tree at most `depth` levels deep, shaped so that both formats represent it
// without loss: text only on leaves, attributes only on objects.
Node MakeTree(std::mt19937& random, int depth, const std::string& name) {
  Node node;
  node.name = name;
  const unsigned pick = random() % 10;
  const bool leaf = depth == 0 || pick < 3;
  node.type = leaf || pick < 6 ? QO::XmlElementType::Object
                               : (pick < 8 ? QO::XmlElementType::Array
                                           : QO::XmlElementType::ObjectArray);
  if (node.type == QO::XmlElementType::Object) {
    const unsigned count = random() % 3;
    for (unsigned i = 0; i < count; ++i) {
      node.attributes.emplace_back("at" + std::to_string(i), k_values[random() % 11]);
    }
  }
  if (leaf) {
    node.text = random() % 4 == 0 ? k_texts[random() % 3] : k_values[random() % 11];
    node.cdata = random() % 5 == 0;
    return node;
  }
  const unsigned count = 1 + random() % 4;
  for (unsigned i = 0; i < count; ++i) {
    node.children.push_back(MakeTree(random, depth - 1, "e" + std::to_string(depth) + "_" + std::to_string(i)));
  }
  return node;
}

void Emit(QO::IXmlTextWriter& writer, const Node& node) {
  writer.WriteStartElement(node.name, node.type);
  for (const auto& a : node.attributes) writer.WriteAttributeString(a.first, a.second);
  if (node.cdata) {
    writer.WriteCData(node.text);
  } else if (!node.text.empty()) {
    writer.WriteString(node.text);
  }
  for (const Node& child : node.children) Emit(writer, child);
  writer.WriteEndElement();
}

std::string Text(const QoTextWriterBuffer& writer) {
  return std::string(writer.GetBufferedText(), writer.GetBufferedSize());
}

std::string XmlString(const xmlChar* text) {
  return text ? reinterpret_cast<const char*>(text) : "";
}

// The element as libxml2 parsed it; blank text between child elements is indentation.
Node FromXml(xmlNodePtr element) {
  Node node;
  node.name = XmlString(element->name);
  for (xmlAttrPtr a = element->properties; a; a = a->next) {
    xmlChar* value = xmlNodeGetContent(reinterpret_cast<xmlNodePtr>(a));
    node.attributes.emplace_back(XmlString(a->name), XmlString(value));
    xmlFree(value);
  }
  std::string text;
  for (xmlNodePtr child = element->children; child; child = child->next) {
    if (child->type == XML_ELEMENT_NODE) {
      node.children.push_back(FromXml(child));
    } else if (child->type == XML_TEXT_NODE || child->type == XML_CDATA_SECTION_NODE) {
      text += XmlString(child->content);
    }
  }
  if (node.children.empty()) node.text = text;
  return node;
}

// The JSON value the writer's mapping gives `node`.
rapidjson::Value ToJson(const Node& node, rapidjson::Document::AllocatorType& alloc) {
  using rapidjson::Value;
  if (node.attributes.empty() && node.children.empty()) {
    if (!node.text.empty()) return Value(node.text.c_str(), alloc);
    return node.type == QO::XmlElementType::Object ? Value(rapidjson::kObjectType)
                                                   : Value(rapidjson::kArrayType);
  }
  if (node.type == QO::XmlElementType::Object) {
    Value object(rapidjson::kObjectType);
    for (const auto& a : node.attributes) {
      object.AddMember(Value(a.first.c_str(), alloc), Value(a.second.c_str(), alloc), alloc);
    }
    if (!node.text.empty()) object.AddMember("#text", Value(node.text.c_str(), alloc), alloc);
    for (const Node& child : node.children) {
      object.AddMember(Value(child.name.c_str(), alloc), ToJson(child, alloc), alloc);
    }
    return object;
  }
  Value array(rapidjson::kArrayType);
  for (const Node& child : node.children) {
    if (node.type == QO::XmlElementType::Array) {
      array.PushBack(ToJson(child, alloc), alloc);
    } else {
      Value wrapper(rapidjson::kObjectType);
      wrapper.AddMember(Value(child.name.c_str(), alloc), ToJson(child, alloc), alloc);
      array.PushBack(wrapper, alloc);
    }
  }
  return array;
}

// The tree generated from `seed`, written as a whole document.
template <class Writer>
std::string WriteDocument(unsigned seed, Node& tree) {
  std::mt19937 random(seed);
  tree = MakeTree(random, 5, "root");
  Writer writer;
  writer.WriteStartDocument();
  Emit(writer, tree);
  writer.WriteEndDocument();
  return Text(writer);
}

}  // namespace

TEST(WriterInteropTest, XmlParsesWithLibxml2ToTheWrittenTree) {
  for (unsigned seed = 1; seed <= 40; ++seed) {
    Node tree;
    const std::string xml = WriteDocument<XmlTextWriterLite2>(seed, tree);
    xmlDocPtr doc = xmlReadMemory(xml.data(), static_cast<int>(xml.size()), "", nullptr, 0);
    ASSERT_NE(doc, nullptr) << xml;
    EXPECT_EQ(FromXml(xmlDocGetRootElement(doc)), tree) << xml;
    xmlFreeDoc(doc);
  }
}

TEST(WriterInteropTest, JsonParsesWithRapidJsonToTheWrittenValues) {
  for (unsigned seed = 1; seed <= 40; ++seed) {
    Node tree;
    const std::string json = WriteDocument<JSONTextWriter>(seed, tree);
    rapidjson::Document parsed;
    parsed.Parse(json.c_str(), json.size());
    ASSERT_FALSE(parsed.HasParseError()) << parsed.GetErrorOffset() << "\n" << json;
    rapidjson::Document expected;
    expected.SetObject();
    expected.AddMember(rapidjson::Value(tree.name.c_str(), expected.GetAllocator()),
                       ToJson(tree, expected.GetAllocator()), expected.GetAllocator());
    EXPECT_TRUE(parsed == expected) << json;
  }
}
