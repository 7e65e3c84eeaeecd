// The XML and JSON writers: exact bytes per event and state, the buffer they share (blocks to
// the file, growth in memory, hashing, Append), and documents that independent parsers (libxml2,
// RapidJSON) read back as the tree that was written.
#include <qobase/algorithms/fnv_hash.h>
#include <qobase/text/json_text_writer.h>
#include <qobase/text/xml_text_writer_lite2.h>

#include <gtest/gtest.h>
#include <libxml/parser.h>
#include <libxml/tree.h>
#include <rapidjson/document.h>

#include <algorithm>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "support/temp_dir.h"

namespace {

using QO::XmlElementType::Array;
using QO::XmlElementType::Object;
using QO::XmlElementType::ObjectArray;

std::string Text(const QoTextWriterBuffer& writer) {
  return std::string(writer.GetBufferedText(), writer.GetBufferedSize());
}

// Feeds a writer a script of events separated by "|": "^" starts the document and "$" ends it;
// "<name" starts an Object element, "[name" an Array, "{name" an ObjectArray, ">" ends one;
// "@name=value" writes an attribute, "'text" a string, "!text" CDATA, "~text" raw text.
void Play(QO::IXmlTextWriter& w, const std::string& script) {
  for (std::size_t start = 0, end; start <= script.size(); start = end + 1) {
    end = std::min(script.find('|', start), script.size());
    if (end == start) continue;
    const CStdStr e(script.substr(start, end - start)), rest(e.substr(1));
    const std::size_t equals = rest.find('=');
    // clang-format off
    switch (e[0]) {
      case '^': w.WriteStartDocument(); break;
      case '$': w.WriteEndDocument(); break;
      case '<': w.WriteStartElement(rest, Object); break;
      case '[': w.WriteStartElement(rest, Array); break;
      case '{': w.WriteStartElement(rest, ObjectArray); break;
      case '>': w.WriteEndElement(); break;
      case '@': w.WriteAttributeString(rest.substr(0, equals), rest.substr(equals + 1)); break;
      case '\'': w.WriteString(rest); break;
      case '!': w.WriteCData(rest); break;
      default: w.WriteRaw(rest); break;
    }
    // clang-format on
  }
}

// Writes raw pieces of 100 distinct bytes each (so any lost, doubled or reordered block shows)
// one by one, and returns them.
std::string WritePieces(QO::IXmlTextWriter& writer, int count) {
  std::string all;
  for (int i = 0; i < count; ++i) {
    std::string piece = std::to_string(i) + ":";
    piece.resize(100, static_cast<char>('a' + i % 26));
    writer.WriteRaw(piece);
    all += piece;
  }
  return all;
}

const char k_header[] = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n";

std::uint32_t Fnv1(const std::string& b) {
  return QO::FNVHash<QO::Hash32>::Step(2166136261u, b.data(), b.size());
}

// AllocBuffer without keeping: a file writer drops its text, a memory writer keeps it.
void Alloc(XmlTextWriterLite2& writer, std::size_t size) { writer.AllocBuffer(size, false); }
void Alloc(JSONTextWriter& writer, std::size_t size) { writer.AllocBuffer(size); }

template <class Writer>
class TextWriterBufferTest : public ::testing::Test {};
using Writers = ::testing::Types<XmlTextWriterLite2, JSONTextWriter>;
TYPED_TEST_SUITE(TextWriterBufferTest, Writers);

using rapidjson::Value;

// Texts that need escaping in one format or the other. Attribute values avoid tabs and line
// feeds, which XML parsers normalise to blanks.
const char* const k_values[] = {
    "plain",       "a&b",    "<tag>", "\"quoted\"", "it's", "\xc3\xa9 \xe4\xb8\xad",
    "back\\slash", "/slash", "x > y", "&amp;",      "]]"};
const char* const k_texts[] = {"tab\there", "line\nfeed", "  padded  "};

// A random element at most `depth` levels deep, shaped so that both formats represent it without
// loss (text only on leaves, attributes only on objects): its events as a Play script, the
// name[attributes](text){children} form of its XML tree, and the JSON value of the mapping.
struct Tree {
  std::string script, canon;
  Value json;
};
Tree MakeTree(std::mt19937& random, int depth, const std::string& name,
              rapidjson::Document::AllocatorType& alloc) {
  const unsigned pick = random() % 10;
  const bool leaf = depth == 0 || pick < 3;
  const char type = leaf || pick < 6 ? '<' : (pick < 8 ? '[' : '{');
  Tree tree{type + name, name + "[",
            Value(type == '<' ? rapidjson::kObjectType : rapidjson::kArrayType)};
  for (unsigned i = 0, count = type == '<' ? random() % 3 : 0; i < count; ++i) {
    const std::string attribute = "at" + std::to_string(i), value = k_values[random() % 11];
    tree.script += "|@" + attribute + "=" + value;
    tree.canon += attribute + "=" + value + ";";
    tree.json.AddMember(Value(attribute.c_str(), alloc), Value(value.c_str(), alloc), alloc);
  }
  if (leaf) {
    const std::string text = random() % 4 == 0 ? k_texts[random() % 3] : k_values[random() % 11];
    tree.script += (random() % 5 == 0 ? "|!" : "|'") + text + "|>";  // as CDATA or as a string
    tree.canon += "](" + text + "){}";
    if (tree.json.MemberCount() == 0) {
      tree.json = Value(text.c_str(), alloc);
    } else {
      tree.json.AddMember("#text", Value(text.c_str(), alloc), alloc);
    }
    return tree;
  }
  tree.canon += "](){";
  for (unsigned i = 0, count = 1 + random() % 4; i < count; ++i) {
    const std::string childName = "e" + std::to_string(depth) + "_" + std::to_string(i);
    Tree child = MakeTree(random, depth - 1, childName, alloc);
    tree.script += "|" + child.script;
    tree.canon += child.canon;
    if (type == '[') {
      tree.json.PushBack(child.json, alloc);
    } else if (type == '<') {
      tree.json.AddMember(Value(childName.c_str(), alloc), child.json, alloc);
    } else {
      Value wrapper(rapidjson::kObjectType);
      wrapper.AddMember(Value(childName.c_str(), alloc), child.json, alloc);
      tree.json.PushBack(wrapper, alloc);
    }
  }
  tree.script += "|>";
  tree.canon += "}";
  return tree;
}

std::string XmlString(const xmlChar* text) {
  return text ? reinterpret_cast<const char*>(text) : "";
}

// The element as libxml2 parsed it, as name[attributes](text){children}; blank text beside child
// elements is indentation.
std::string CanonXml(xmlNodePtr element) {
  std::string out = XmlString(element->name) + "[", text, children;
  for (xmlAttrPtr a = element->properties; a; a = a->next) {
    xmlChar* value = xmlNodeGetContent(reinterpret_cast<xmlNodePtr>(a));
    out += XmlString(a->name) + "=" + XmlString(value) + ";";
    xmlFree(value);
  }
  for (xmlNodePtr child = element->children; child; child = child->next) {
    if (child->type == XML_ELEMENT_NODE) children += CanonXml(child);
    if (child->type == XML_TEXT_NODE || child->type == XML_CDATA_SECTION_NODE)
      text += XmlString(child->content);
  }
  return out + "](" + (children.empty() ? text : "") + "){" + children + "}";
}

}  // namespace

TEST(FnvHashTest, ThirtyTwoBitFnv1) {
  EXPECT_EQ(Fnv1(""), 2166136261u);
  EXPECT_EQ(Fnv1("a"), 0x050C5D7Eu);
  EXPECT_EQ(Fnv1("foobar"), 0x31F0B262u);
}

TEST(XmlTextWriterTest, DocumentWithIndentedElementsAttributesAndText) {
  XmlTextWriterLite2 writer;
  EXPECT_EQ(writer.GetReadyState(), QO::k_writerReady);
  EXPECT_EQ(writer.GetWriteState(), 5u);
  Play(writer, "^|<Root|@a=x&y|<Child|'hi|>|<Empty|>|>|$");
  EXPECT_EQ(Text(writer), std::string(k_header) +
                              "<Root a=\"x&amp;y\">\n"
                              "\t<Child>hi</Child>\n"
                              "\t<Empty/>\n"
                              "</Root>\n");
}

TEST(XmlTextWriterTest, EventsInEveryState) {
  // Control characters (tab and line feed included) and non-ASCII bytes are never escaped.
  XmlTextWriterLite2 nested;
  Play(nested,  // after text "t": no line feed before the child "y"
       "<r|<a|>|<b|'|>|<s|@k=v|@q=a\"b<c>'\t\n\x01\xc3\xa9|<t|'a\"b<c>&'|>|<u|!x]]>y<|>|<v|~<w/>|"
       "~&|>|>|<x|'t|<y|>|>|$|>|>");  // "$" writes nothing; the last end has nothing to close
  EXPECT_EQ(Text(nested),
            "<r>\n"
            "\t<a/>\n"
            "\t<b></b>\n"
            "\t<s k=\"v\" q=\"a&quot;b&lt;c&gt;'\t\n\x01\xc3\xa9\">\n"
            "\t\t<t>a\"b&lt;c&gt;&amp;'</t>\n"
            "\t\t<u><![CDATA[x]]>y<]]></u>\n"
            "\t\t<v><w/>&</v>\n"
            "\t</s>\n"
            "\t<x>t\t\t<y/>\n"
            "\t</x>\n"
            "</r>\n");

  // The C-string forms and the primitives.
  XmlTextWriterLite2 primitives;
  primitives.WriteStartDocument();
  EXPECT_EQ(primitives.GetBufferedSize(), 39u);
  primitives.WriteStartElement("e", Object);
  primitives.WriteAttributeString("n", "1<2");
  primitives.WriteAttributeValue("&");
  primitives.WriteChar('-', 3);
  primitives.WriteString("ab", 1);
  EXPECT_EQ(Text(primitives), std::string(k_header) + "<e n=\"1&lt;2\"=\"&amp;\"---a");

  const auto escaped = [](CStdStr text, bool attribute) {
    XmlTextWriterLite2::EscapeXMLCharacters(text, attribute);
    return text;
  };
  EXPECT_EQ(escaped("a\"b<c", true), "a&quot;b&lt;c");
  EXPECT_EQ(escaped("a\"b<c", false), "a\"b&lt;c");
  EXPECT_EQ(escaped("&lt; & >", false), "&amp;lt; &amp; &gt;");
  EXPECT_EQ(escaped("'\t\n", true), "'\t\n");
}

TEST(XmlTextWriterTest, AppendSplicesAnotherWritersText) {
  XmlTextWriterLite2 fragment;
  Play(fragment, "<f|'1|>");
  XmlTextWriterLite2 writer;
  Play(writer, "<r|<s");
  EXPECT_TRUE(writer.Append(&fragment));  // ">" without a line feed, then the indentation
  EXPECT_TRUE(writer.Append(&fragment));
  Play(writer, ">|>");
  EXPECT_EQ(Text(writer), "<r>\n\t<s>\t\t<f>1</f>\n\t\t<f>1</f>\n\t</s>\n</r>\n");

  JSONTextWriter json;
  json.WriteRaw("{}");
  XmlTextWriterLite2 mixed;
  EXPECT_TRUE(mixed.Append(&json));
  EXPECT_FALSE(mixed.Append(nullptr));
  EXPECT_TRUE(mixed.Append(&mixed));  // its own text, doubled
  EXPECT_EQ(Text(mixed), "{}{}");
}

TEST(XmlTextWriterTest, NamesAndTextsOfAnyLength) {
  // Longer than the reserve kept before the buffer end and than one signed length byte.
  const std::string name(100000, 'n');
  const std::string text(300000, 't');
  XmlTextWriterLite2 writer;
  Play(writer, "<" + name + "|@" + name + "=" + text + "|<" + name + "|'" + text + "|>|<c|!" +
                   text + "|>|~" + text + "|>");
  writer.WriteString(text.data(), text.size());
  writer.WriteChar('z', 70000);
  EXPECT_EQ(Text(writer), "<" + name + " " + name + "=\"" + text + "\">\n" + "\t<" + name + ">" +
                              text + "</" + name + ">\n" + "\t<c><![CDATA[" + text + "]]></c>\n" +
                              text + "</" + name + ">\n" + text + std::string(70000, 'z'));
}

TEST(JsonTextWriterTest, DocumentWithMembersArraysAndWrappedItems) {
  JSONTextWriter writer;
  Play(writer,
       "^|<Project|@Name=Demo|[Tags|<Tag|'a|>|<Tag|'b|>|>|{Items|<Item|@Id=1|>|<Item|'x|>|>|"
       "<Empty|>|<Note|@Lang=en|'hello|>|>|$");
  EXPECT_EQ(Text(writer),
            "{\n"
            " \"Project\": {\n"
            "  \"Name\": \"Demo\",\n"
            "  \"Tags\": [\n"
            "   \"a\",\n"
            "   \"b\"\n"
            "  ],\n"
            "  \"Items\": [\n"
            "   {\n"
            "    \"Item\": {\n"
            "     \"Id\": \"1\"\n"
            "    }\n"
            "   },\n"
            "   {\n"
            "    \"Item\": \"x\"\n"
            "   }\n"
            "  ],\n"
            "  \"Empty\": {},\n"
            "  \"Note\": {\n"
            "   \"Lang\": \"en\",\n"
            "   \"#text\": \"hello\"\n"
            "  }\n"
            " }\n"
            "}");
}

TEST(JsonTextWriterTest, EmptyElementsEscapesAndStates) {
  const struct {
    const char* script;
    const char* out;
  } cases[] = {
      {"^|$", "{\n \n}"},
      {"<o|>|[a|>|{w|>", "\"o\": {},\n\"a\": [],\n\"w\": []"},
      // Names are never escaped; other control bytes, "/" and non-ASCII stay as they are.
      {"<k\"|'a\\\"b\x01/\xc3\xa9\b\f\n\r\t|>",
       "\"k\"\": \"a\\\\\\\"b\x01/\xc3\xa9\\b\\f\\n\\r\\t\""},
      // Text straight after the document start gets no opening quote: callers start an element.
      {"^|'t", "{\n t\""},
      // CDATA is a string; raw text goes in unchanged without a separator or state change; an
      // Array's children lose their names; an end without an open element is ignored.
      {"[r|<i|!<\"c\">|>|~ /*raw*/|<i|'d|>|>|>", "\"r\": [\n \"<\\\"c\\\">\" /*raw*/,\n \"d\"\n]"},
  };
  for (const auto& c : cases) {
    JSONTextWriter writer;
    Play(writer, c.script);
    EXPECT_EQ(Text(writer), c.out);
  }

  CStdStr text("a\\\"b\x01/\t");
  JSONTextWriter::EscapeJSONCharacters(text);
  EXPECT_EQ(text, "a\\\\\\\"b\x01/\\t");
}

// The writers escape in one pass with a block scan whose last block overlaps the one before;
// every length and every position of a special character must give what the plain sequential
// replacements give.
TEST(TextWriterEscapeTest, OnePassScanMatchesSequentialReplacementAtEveryPosition) {
  for (std::size_t length = 0; length <= 40; ++length) {
    for (std::size_t at = 0; at <= length; ++at) {
      for (const char special : {'&', '<', '>', '"', '\\', '\n'}) {
        std::string raw(length, 'x');
        if (at < length) raw[at] = special;
        if (length > 3) raw[length - 1 - at % 3] = special;  // a second hit near the end
        const CStdStr text(raw);

        for (const bool attribute : {false, true}) {
          CStdStr expected(text);
          XmlTextWriterLite2::EscapeXMLCharacters(expected, attribute);
          XmlTextWriterLite2 writer;
          writer.WriteStartElement("e", Object);
          if (attribute) {
            writer.WriteAttributeString("a", text);
          } else {
            writer.WriteString(text);
          }
          EXPECT_EQ(Text(writer), attribute ? "<e a=\"" + expected + "\"" : "<e>" + expected);
        }

        CStdStr expected(text);
        JSONTextWriter::EscapeJSONCharacters(expected);
        JSONTextWriter writer;
        writer.WriteStartElement("e", Object);
        writer.WriteAttributeString("a", text);
        EXPECT_EQ(Text(writer), "\"e\": {\n \"a\": \"" + expected + "\"");
      }
    }
  }
}

TEST(JsonTextWriterTest, AppendAfterAValueAddsTheSeparator) {
  JSONTextWriter fragment;
  Play(fragment, "<f|'1|>");
  JSONTextWriter writer;
  writer.WriteStartDocument();
  EXPECT_TRUE(writer.Append(&fragment));
  EXPECT_TRUE(writer.Append(&fragment));
  const std::string name(50000, 'g');  // names of any length
  writer.WriteStartElement(name, Object);
  EXPECT_TRUE(writer.Append(&fragment));  // nothing is opened for the new element
  writer.WriteEndElement();
  XmlTextWriterLite2 xml;  // the text of an XML writer is taken as it is
  xml.WriteRaw("<x/>");
  EXPECT_TRUE(writer.Append(&xml));
  EXPECT_FALSE(writer.Append(nullptr));
  writer.WriteEndDocument();
  EXPECT_EQ(Text(writer),
            "{\n \"f\": \"1\",\n \"f\": \"1\",\n \"" + name + "\": \"f\": \"1\",\n <x/>\n}");
}

TYPED_TEST(TextWriterBufferTest, FileWriterStatesLockAndParentDirectory) {
  qotest::TempDir dir;
  ASSERT_TRUE(qotest::WriteFileBytes(dir.File("plain"), "x"));
  TypeParam blocked{zu::Path(dir.File("plain") + "/sub/out")};
  EXPECT_FALSE(blocked.IsReady());
  EXPECT_EQ(blocked.GetReadyState(), QO::k_writerNotReady);
  // Writing to it is the caller's mistake, but does no harm.
  Play(blocked, "^|<a|@k=v|'t|~r|>|$");
  EXPECT_TRUE(blocked.Append(&blocked));
  EXPECT_EQ(blocked.GetBufferedSize(), 0u);

  // The parent directory is made; a second writer on the same file is refused by the lock.
  const std::string path = dir.File("new/deeper/out");
  {
    TypeParam first{zu::Path(path)};
    ASSERT_TRUE(first.IsReady());
    EXPECT_FALSE(first.SetFilePath(zu::Path(dir.File("other"))));
    TypeParam second{zu::Path(path)};
    EXPECT_FALSE(second.IsReady());
    first.WriteRaw("dropped");
    Alloc(first, 1000);  // a file writer starts a fresh block
    first.WriteRaw("kept");
  }
  EXPECT_EQ(qotest::ReadFileBytes(path), "kept");

  // A memory writer can be given its file later; Destroy writes it out.
  TypeParam* late = new TypeParam;
  late->WriteRaw("early|");
  ASSERT_TRUE(late->SetFilePath(zu::Path(dir.File("late"))));
  late->WriteRaw("late");
  late->Destroy();
  EXPECT_EQ(qotest::ReadFileBytes(dir.File("late")), "early|late");
}

// The file receives exactly what a memory writer fed the same calls holds, in blocks, with the
// hash of every byte.
TYPED_TEST(TextWriterBufferTest, LargeFileArrivesInBlocksAndCompletelyWithTheHash) {
  qotest::TempDir dir;
  const std::string path = dir.File("big.out");
  QO::FNVHash<QO::Hash32> hash;
  TypeParam fragment, memory;
  WritePieces(fragment, 5000);  // 500 KB
  {
    TypeParam file{zu::Path(path)};
    ASSERT_TRUE(file.IsReady());
    file.SetHash(&hash);
    for (TypeParam* writer : {&memory, &file}) {
      writer->WriteRaw("head|");
      ASSERT_TRUE(writer->Append(&fragment));  // larger than the room left: flushed first
      Play(*writer, "^|<doc");
      for (int i = 0; i < 30000; ++i) {
        Play(*writer,
             "<entry|@id=" + std::to_string(i) + "|'a<b & \"c\"\n" + std::to_string(i) + "|>");
      }
      Play(*writer, ">|$");
      WritePieces(*writer, 150000);  // 15 MB
    }
    // Whole blocks are already in the file (but for what the C stream still holds), the rest
    // waits in the buffer.
    const std::size_t held = file.GetBufferedSize(), onDisk = qotest::ReadFileBytes(path).size();
    EXPECT_LT(held, 2 * QoTextWriterBuffer::k_initialBufferSize);  // Append made a 512 KiB block
    EXPECT_LE(onDisk + held, memory.GetBufferedSize());
    EXPECT_GT(onDisk + held + 65536, memory.GetBufferedSize());
  }
  const std::string written = qotest::ReadFileBytes(path);
  EXPECT_TRUE(written == Text(memory));
  EXPECT_EQ(hash.GetHash(), Fnv1(written));
}

TYPED_TEST(TextWriterBufferTest, MemoryWriterGrowsKeepsEverythingAndNeverHashes) {
  QO::FNVHash<QO::Hash32> hash;
  TypeParam fragment, writer;
  writer.SetHash(&hash);
  const std::string fragmentText = WritePieces(fragment, 5000);
  std::string expected = WritePieces(writer, 6000);  // 600 KB, past the first block
  ASSERT_TRUE(writer.Append(&fragment));  // larger than the free room; after raw text: no separator
  Alloc(writer, 8 * 1024 * 1024);         // a memory writer keeps its text
  writer.WriteRaw(fragmentText);
  EXPECT_TRUE(Text(writer) == expected + fragmentText + fragmentText);
  EXPECT_EQ(hash.GetHash(), 2166136261u);

  // A block resized to less than the reserve past its text: the next writes still grow first.
  TypeParam small;
  small.WriteRaw(std::string(100, 'a'));
  Alloc(small, 200);
  ASSERT_TRUE(small.Append(&fragment));
  small.WriteRaw(std::string(70, 'r'));
  EXPECT_TRUE(Text(small) == std::string(100, 'a') + fragmentText + std::string(70, 'r'));
  TypeParam empty;
  Alloc(empty, 0);
  empty.WriteRaw("xyz");
  EXPECT_EQ(Text(empty), "xyz");
}

TEST(WriterInteropTest, XmlParsesWithLibxml2AndJsonWithRapidJsonToTheWrittenTree) {
  for (unsigned seed = 1; seed <= 40; ++seed) {
    std::mt19937 random(seed);
    rapidjson::Document expected;
    expected.SetObject();
    Tree tree = MakeTree(random, 5, "root", expected.GetAllocator());
    XmlTextWriterLite2 xmlWriter;
    Play(xmlWriter, "^|" + tree.script + "|$");
    const std::string xml = Text(xmlWriter);
    xmlDocPtr doc = xmlReadMemory(xml.data(), static_cast<int>(xml.size()), "", nullptr, 0);
    ASSERT_NE(doc, nullptr) << xml;
    EXPECT_EQ(CanonXml(xmlDocGetRootElement(doc)), tree.canon) << xml;
    xmlFreeDoc(doc);

    JSONTextWriter jsonWriter;
    Play(jsonWriter, "^|" + tree.script + "|$");
    const std::string json = Text(jsonWriter);
    rapidjson::Document parsed;
    parsed.Parse(json.c_str(), json.size());
    ASSERT_FALSE(parsed.HasParseError()) << parsed.GetErrorOffset() << "\n" << json;
    expected.AddMember("root", tree.json, expected.GetAllocator());
    EXPECT_TRUE(parsed == expected) << json;
  }
}
