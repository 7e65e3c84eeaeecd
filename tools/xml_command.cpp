// qobase xml: validate an XML file against an XML Schema, or convert XML to JSON.
#include <qobase/text/json_text_writer.h>
#include <qobase/text/xml_validation_report.h>

#include <sys/stat.h>

#include <iostream>
#include <memory>
#include <string>

#include "command.h"
#include "input_file.h"
#include "standard_output.h"
#include "xml_json_tree.h"

namespace qobase_tool {
namespace {

// At most this many problems are kept with --all, so a huge invalid file stays cheap.
constexpr size_t k_maxReportedProblems = 1000;

struct XmlOptions {
  std::string file;
  std::string schema;
  bool all = false;
};

// The input checks both subcommands make, with plain reasons instead of libxml2's ("failed to
// load external entity" for a missing file, "Document is empty" for an empty one).
int CheckXmlInput(const std::string& path) {
  std::string reason;
  if (!CheckInputFile(path, reason)) return Fail(path, reason);
  struct stat info;
  if (stat(path.c_str(), &info) == 0 && info.st_size == 0) {
    return Fail(path, "the file is empty, not an XML document");
  }
  return k_exitSuccess;
}

std::string At(const XmlValidationIssue& issue) {
  return issue.line != 0 ? " at line " + std::to_string(issue.line) : "";
}

int Validate(const XmlOptions& options) {
  if (const int code = CheckXmlInput(options.file)) return code;
  std::string reason;
  if (!CheckInputFile(options.schema, reason)) return Fail(options.schema, reason);

  XmlValidationReport report;
  const size_t limit = options.all ? k_maxReportedProblems : 1;
  if (ValidateXmlFileReport(options.file, options.schema, limit, report)) {
    std::cout << options.file << ": valid\n";
    return k_exitSuccess;
  }
  const XmlValidationIssue first =
      report.issues.empty() ? XmlValidationIssue() : report.issues.front();
  switch (report.code) {
    case ValidationErrorInfo::k_schemaNotRead:
      return Fail(options.schema, "the schema cannot be read as XML" + At(first) +
                                      (first.message.empty() ? "" : ": " + first.message));
    case ValidationErrorInfo::k_schemaNotParsed:
      return Fail(options.schema, "not a usable XML Schema" + At(first) +
                                      (first.message.empty() ? "" : ": " + first.message));
    default:
      break;
  }
  if (!options.all) {
    if (report.issues.empty()) return Fail(options.file, "cannot be read as XML");
    const char* what = first.wellFormedness ? "not well-formed XML" : "not valid";
    return Fail(options.file, what + At(first) + ": " + first.message);
  }
  for (const XmlValidationIssue& issue : report.issues) {
    std::cout << options.file << ":" << issue.line << ": " << issue.message << "\n";
  }
  const size_t count = report.issues.size();
  const std::string what = report.code == ValidationErrorInfo::k_documentNotRead
                               ? "not well-formed XML: "
                               : "not valid: ";
  if (report.stoppedAtLimit) {
    return Fail(options.file, what + "stopped after " + std::to_string(count) + " problems");
  }
  return Fail(options.file, what + std::to_string(count) + (count == 1 ? " problem" : " problems") +
                                ", the first" + At(first));
}

int ToJson(const XmlOptions& options) {
  if (const int code = CheckXmlInput(options.file)) return code;
  XmlTreeNode root;
  std::string reason;
  if (!ReadXmlTree(options.file, root, reason)) return Fail(options.file, reason);
  JSONTextWriter writer;
  WriteXmlTree(root, writer);
  std::cout.write(writer.GetBufferedText(), static_cast<std::streamsize>(writer.GetBufferedSize()));
  std::cout << "\n";
  return k_exitSuccess;
}

void AddXml(CLI::App& parent) {
  CLI::App& command =
      *parent.add_subcommand("xml", "validate XML against an XML Schema, or convert it to JSON");
  command.require_subcommand(1);
  command.footer(
      "Exit code 0 on success, 1 when the document is invalid or unreadable, 2 on bad usage.");
  auto options = std::make_shared<XmlOptions>();

  CLI::App& validate =
      *command.add_subcommand("validate", "check FILE against the XML Schema SCHEMA");
  validate.footer(
      "Prints \"FILE: valid\". Otherwise one line on stderr gives the first problem with its\n"
      "line, and reading stops there. With --all, every problem is printed on standard output\n"
      "as FILE:LINE: MESSAGE (at most 1000), and stderr says how many were found.");
  validate.add_flag("--all", options->all, "report every problem, not only the first");
  validate.add_option("FILE", options->file, "the XML document")->required();
  validate.add_option("SCHEMA", options->schema, "the XML Schema (.xsd)")->required();
  SetRunner(validate, "qobase xml validate [--all] FILE SCHEMA",
            [options] { return Validate(*options); });

  CLI::App& tojson = *command.add_subcommand("tojson", "print FILE as JSON");
  tojson.footer(
      "Elements become members, attributes string members, text string values (\"#text\"\n"
      "beside other members); members sharing a name (sibling elements, or an attribute and an\n"
      "element) become one array. Names are given without their namespace prefix. A document\n"
      "that uses entities it declares itself (&name;) is refused: they are not expanded.");
  tojson.add_option("FILE", options->file, "the XML document")->required();
  SetRunner(tojson, "qobase xml tojson FILE", [options] { return ToJson(*options); });
}

const CommandRegistration s_xml("xml", AddXml);

}  // namespace
}  // namespace qobase_tool
