// `qobase xml`: JSON that parsers read back whole (repeated names as arrays), validation that
// reports the first problem and stops there, every problem with --all up to a cap, and plain
// sentences for empty and missing files.
#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include "program_runner.h"
#include "support/temp_dir.h"

using qotest::RunQobase;

namespace {

const char* const k_schema =
    "<xs:schema xmlns:xs=\"http://www.w3.org/2001/XMLSchema\"><xs:element name=\"T\">"
    "<xs:complexType><xs:sequence><xs:element name=\"Track\" type=\"xs:int\" "
    "maxOccurs=\"unbounded\"/></xs:sequence></xs:complexType></xs:element></xs:schema>";

}  // namespace

TEST(QobaseXml, ToJsonMapsRepeatedNamesToArrays) {
  qotest::TempDir dir;
  const std::string file = dir.File("t.xml");
  ASSERT_TRUE(qotest::WriteFileBytes(
      file,
      "<T v=\"1\"><Track>a</Track><One k=\"x\">text<In/></One><Track>b</Track>"
      "<Track><Sub>c</Sub><Sub>d</Sub></Track></T>"));
  const qotest::RunResult run = RunQobase({"xml", "tojson", file});
  ASSERT_EQ(run.exitCode, 0) << run.err;
  rapidjson::Document json;
  ASSERT_FALSE(json.Parse(run.out.c_str()).HasParseError()) << run.out;
  const rapidjson::Value& t = json["T"];
  EXPECT_EQ(t.MemberCount(), 3u);  // v, Track, One: no duplicate keys for a parser to collapse
  EXPECT_STREQ(t["v"].GetString(), "1");
  ASSERT_TRUE(t["Track"].IsArray());
  ASSERT_EQ(t["Track"].Size(), 3u);
  EXPECT_STREQ(t["Track"][0].GetString(), "a");
  EXPECT_STREQ(t["Track"][1].GetString(), "b");
  ASSERT_TRUE(t["Track"][2]["Sub"].IsArray());
  EXPECT_STREQ(t["Track"][2]["Sub"][1].GetString(), "d");
  EXPECT_STREQ(t["One"]["k"].GetString(), "x");
  EXPECT_STREQ(t["One"]["#text"].GetString(), "text");
  EXPECT_TRUE(t["One"]["In"].IsObject());

  // An attribute and a child of one name, and attributes whose names differ only in a prefix,
  // share one array too.
  ASSERT_TRUE(qotest::WriteFileBytes(
      file, "<a x=\"1\" p:y=\"\" q:y=\"3\" xmlns:p=\"urn:p\" xmlns:q=\"urn:q\"><x>2</x></a>"));
  const qotest::RunResult shared = RunQobase({"xml", "tojson", file});
  ASSERT_EQ(shared.exitCode, 0) << shared.err;
  ASSERT_FALSE(json.Parse(shared.out.c_str()).HasParseError()) << shared.out;
  const rapidjson::Value& a = json["a"];
  EXPECT_EQ(a.MemberCount(), 4u) << shared.out;  // x, y, and the two namespace declarations
  ASSERT_TRUE(a["x"].IsArray()) << shared.out;
  ASSERT_TRUE(a["y"].IsArray()) << shared.out;
  EXPECT_STREQ(a["x"][0].GetString(), "1");
  EXPECT_STREQ(a["x"][1].GetString(), "2");
  EXPECT_STREQ(a["y"][0].GetString(), "");
  EXPECT_STREQ(a["y"][1].GetString(), "3");

  // An entity of the document's own would be dropped with its text: refused instead.
  ASSERT_TRUE(qotest::WriteFileBytes(file, "<!DOCTYPE a [<!ENTITY e \"hello\">]><a>say &e;</a>"));
  const qotest::RunResult entity = RunQobase({"xml", "tojson", file});
  EXPECT_EQ(entity.exitCode, 1);
  EXPECT_EQ(entity.err, "qobase: " + file +
                            ": not converted: the entity reference &e; would be left out (entities "
                            "declared in the document are not expanded)\n");
  EXPECT_EQ(entity.out, "");
}

TEST(QobaseXml, ValidateReportsTheFirstProblemOrAllOfThem) {
  qotest::TempDir dir;
  const std::string schema = dir.File("t.xsd"), bad = dir.File("bad.xml");
  ASSERT_TRUE(qotest::WriteFileBytes(schema, k_schema));
  ASSERT_TRUE(qotest::WriteFileBytes(
      bad, "<T>\n<Track>x</Track>\n<Track>1</Track>\n<Track>y</Track>\n<Track>z</Track>\n</T>\n"));
  ASSERT_TRUE(qotest::WriteFileBytes(dir.File("good.xml"), "<T><Track>1</Track></T>"));
  ASSERT_TRUE(qotest::WriteFileBytes(dir.File("empty.xml"), ""));
  ASSERT_TRUE(qotest::WriteFileBytes(dir.File("broken.xml"), "<T>\n<Track>1</T>"));
  const std::string message =
      "Element 'Track': 'x' is not a valid value of the atomic type 'xs:int'.";
  const struct {
    std::vector<std::string> args;
    int code;
    std::string out, err;
  } cases[] = {
      {{"good.xml"}, 0, dir.File("good.xml") + ": valid\n", ""},
      {{"bad.xml"}, 1, "", "bad.xml: not valid at line 2: " + message + "\n"},
      {{"--all", "bad.xml"},
       1,
       bad + ":2: " + message + "\n" + bad +
           ":4: Element 'Track': 'y' is not a valid value of the atomic type 'xs:int'.\n" + bad +
           ":5: Element 'Track': 'z' is not a valid value of the atomic type 'xs:int'.\n",
       "bad.xml: not valid: 3 problems, the first at line 2\n"},
      {{"empty.xml"}, 1, "", "empty.xml: the file is empty, not an XML document\n"},
      {{"missing.xml"}, 1, "", "missing.xml: No such file or directory\n"},
      {{"broken.xml"},
       1,
       "",
       "broken.xml: not well-formed XML at line 2: Opening and ending tag mismatch: Track line 2 "
       "and T\n"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.args.back());
    std::vector<std::string> args{"xml", "validate"};
    for (const std::string& arg : c.args) args.push_back(arg[0] == '-' ? arg : dir.File(arg));
    args.push_back(schema);
    const qotest::RunResult run = RunQobase(args);
    EXPECT_EQ(run.exitCode, c.code);
    EXPECT_EQ(run.out, c.out);
    EXPECT_EQ(run.err, c.err.empty() ? "" : "qobase: " + dir.File(c.err));
  }
  // An unreadable schema is named as such.
  const qotest::RunResult noSchema = RunQobase({"xml", "validate", bad, dir.File("none.xsd")});
  EXPECT_EQ(noSchema.err, "qobase: " + dir.File("none.xsd") + ": No such file or directory\n");
}

// A large document full of invalid elements: the first problem is found at once, and --all
// keeps at most 1000, instead of collecting every one for minutes.
TEST(QobaseXml, ValidateStopsEarlyOnLargeInvalidFiles) {
  qotest::TempDir dir;
  std::string xml = "<T>\n";
  xml.reserve(3 << 20);
  for (int i = 0; i < 150000; ++i) xml += "<Track>bad</Track>\n";
  xml += "</T>\n";
  const std::string file = dir.File("big.xml"), schema = dir.File("t.xsd");
  ASSERT_TRUE(qotest::WriteFileBytes(file, xml));
  ASSERT_TRUE(qotest::WriteFileBytes(schema, k_schema));
  qotest::RunOptions options;
  options.timeLimitSeconds = 10;

  const qotest::RunResult first = RunQobase({"xml", "validate", file, schema}, options);
  EXPECT_FALSE(first.timedOut);
  EXPECT_EQ(first.exitCode, 1);
  EXPECT_EQ(first.err.rfind("qobase: " + file + ": not valid at line 2: ", 0), 0u) << first.err;

  const qotest::RunResult all = RunQobase({"xml", "validate", "--all", file, schema}, options);
  EXPECT_FALSE(all.timedOut);
  EXPECT_EQ(all.exitCode, 1);
  EXPECT_EQ(std::count(all.out.begin(), all.out.end(), '\n'), 1000);
  EXPECT_EQ(all.err, "qobase: " + file + ": not valid: stopped after 1000 problems\n");
}
