// Streaming validation over libxml2's text reader: problems arrive in document order as the
// reader goes, so reading can stop at a limit instead of building the whole document first.
#include <qobase/text/xml_validation_report.h>

#include <libxml/globals.h>
#include <libxml/xmlerror.h>
#include <libxml/xmlreader.h>
#include <libxml/xmlschemas.h>

namespace {

struct Collector {
  XmlValidationReport* report;
  size_t limit;
  bool sawParseError = false;
};

CStdStr Trimmed(const char* message) {
  CStdStr text = message ? message : "";
  while (!text.empty() && (text.back() == '\n' || text.back() == '\r')) text.pop_back();
  return text;
}

void Collect(void* userData, const xmlError* error) {
  if (!userData || !error) return;
  Collector& collector = *static_cast<Collector*>(userData);
  const bool parseError = error->domain != XML_FROM_SCHEMASV;
  if (parseError) collector.sawParseError = true;
  if (error->level == XML_ERR_WARNING) return;
  std::vector<XmlValidationIssue>& issues = collector.report->issues;
  if (issues.size() >= collector.limit) {
    collector.report->stoppedAtLimit = true;
    return;
  }
  XmlValidationIssue issue;
  issue.line = error->line > 0 ? static_cast<unsigned int>(error->line) : 0;
  issue.column = error->int2 > 0 ? static_cast<unsigned int>(error->int2) : 0;
  issue.message = Trimmed(error->message);
  issue.wellFormedness = parseError;
  issues.push_back(std::move(issue));
}

// libxml2 2.12 made the error argument const; the reader's handler type follows the version.
#if LIBXML_VERSION >= 21200
void CollectAdapter(void* userData, const xmlError* error) { Collect(userData, error); }
#else
void CollectAdapter(void* userData, xmlError* error) { Collect(userData, error); }
#endif

}  // namespace

bool ValidateXmlFileReport(const CStdStr& xmlPath, const CStdStr& schemaPath, size_t maxIssues,
                           XmlValidationReport& report) {
  report = XmlValidationReport();
  ValidationErrorInfo info;
  xmlSchemaPtr schema = XmlGlobals::Get().GetSchema(schemaPath, info);
  if (!schema) {
    report.code = info.code;
    XmlGlobals::Get().CopyLastError(info);
    XmlValidationIssue issue;
    issue.line = info.line;
    issue.column = info.column;
    issue.message = Trimmed(info.message.c_str());
    report.issues.push_back(std::move(issue));
    return false;
  }
  if (xmlPath.find('\0') != CStdStr::npos) {
    report.code = ValidationErrorInfo::k_documentNotRead;
    return false;
  }
  xmlTextReaderPtr reader =
      xmlReaderForFile(xmlPath.c_str(), nullptr, XML_PARSE_NONET | XML_PARSE_BIG_LINES);
  if (!reader) {
    report.code = ValidationErrorInfo::k_documentNotRead;
    return false;
  }
  Collector collector{&report, maxIssues == 0 ? 1 : maxIssues};
  // Set before the schema is attached: the reader then relays the schema's problems here too.
  xmlTextReaderSetStructuredErrorHandler(reader, CollectAdapter, &collector);
  xmlSchemaValidCtxtPtr context = xmlSchemaNewValidCtxt(schema);
  if (!context || xmlTextReaderSchemaValidateCtxt(reader, context, 0) != 0) {
    if (context) xmlSchemaFreeValidCtxt(context);
    xmlFreeTextReader(reader);
    report.code = ValidationErrorInfo::k_schemaNotRead;
    return false;
  }
  // Attaching the schema puts its own SAX layer in front of the parser, and parse errors then
  // go to the thread's handler: take it over while reading, then give it back.
  xmlStructuredErrorFunc savedHandler = xmlStructuredError;
  void* savedContext = xmlStructuredErrorContext;
  xmlSetStructuredErrorFunc(&collector, CollectAdapter);
  int step = 1;
  while (report.issues.size() < collector.limit && (step = xmlTextReaderRead(reader)) == 1) {
  }
  xmlSetStructuredErrorFunc(savedContext, savedHandler);
  if (report.issues.size() >= collector.limit && step == 1) report.stoppedAtLimit = true;
  const bool valid = step == 0 && report.issues.empty() && xmlTextReaderIsValid(reader) == 1;
  xmlFreeTextReader(reader);
  xmlSchemaFreeValidCtxt(context);
  if (valid) return true;
  if (collector.sawParseError || step < 0) {
    report.code = ValidationErrorInfo::k_documentNotRead;
  } else {
    report.code = ValidationErrorInfo::k_documentNotValid;
  }
  return false;
}
