// Schema validation over libxml2 and the process-wide libxml2 state.
#include <qobase/text/xml_validation.h>

#include <libxml/parser.h>
#include <libxml/xmlerror.h>
#include <libxml/xmlschemas.h>
#include <libxml/xmlversion.h>

namespace {

// No network access; line numbers above 65535 reported as they are.
constexpr int k_xmlReadOptions = XML_PARSE_NONET | XML_PARSE_BIG_LINES;

// The file at `path`, parsed, or null. A path holding a zero byte names no file: libxml2 would
// read the one named by the bytes before it.
xmlDocPtr ReadXmlFile(const CStdStr& path) {
  if (path.find('\0') != CStdStr::npos) return nullptr;
  return xmlReadFile(path.c_str(), nullptr, k_xmlReadOptions);
}

// libxml2 2.12 made the error argument const; the handler keeps the older signature.
#if LIBXML_VERSION >= 21200
void ErrorHandlerAdapter(void* userData, const xmlError* error) {
  XmlGlobals::StructuredErrorHandler(userData, const_cast<xmlError*>(error));
}
#else
void ErrorHandlerAdapter(void* userData, xmlError* error) {
  XmlGlobals::StructuredErrorHandler(userData, error);
}
#endif

// Newer libxml2 releases mark the per-thread default as deprecated; it still works and is the
// only way to reach threads started later.
void SetThreadDefaultErrorHandler(XmlGlobals* globals) {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
  xmlThrDefSetStructuredErrorFunc(globals, globals ? ErrorHandlerAdapter : nullptr);
#pragma GCC diagnostic pop
}

}  // namespace

// Made when the library is loaded, destroyed when it is unloaded.
XmlGlobals XmlGlobals::s_instance;

XmlGlobals::XmlGlobals() {
  xmlInitParser();
  xmlSetStructuredErrorFunc(this, ErrorHandlerAdapter);
  // libxml2 keeps the handler per thread: make it the default of threads started later too.
  SetThreadDefaultErrorHandler(this);
}

XmlGlobals::~XmlGlobals() {
  for (auto& entry : m_schemas) {
    SchemaHolder& holder = entry.second;
    if (holder.schema) xmlSchemaFree(holder.schema);
    if (holder.parser) xmlSchemaFreeParserCtxt(holder.parser);
    if (holder.document) xmlFreeDoc(holder.document);
  }
  m_schemas.clear();
  xmlSetStructuredErrorFunc(nullptr, nullptr);
  SetThreadDefaultErrorHandler(nullptr);
  xmlCleanupParser();
}

XmlGlobals& XmlGlobals::Get() { return s_instance; }

void XmlGlobals::StructuredErrorHandler(void* userData, _xmlError* error) {
  if (!userData || !error) return;
  XmlGlobals& globals = *static_cast<XmlGlobals*>(userData);
  globals.m_lastErrorMessage = error->message ? error->message : "";
  globals.m_lastErrorLine = static_cast<unsigned int>(error->line);
  globals.m_lastErrorColumn = static_cast<unsigned int>(error->int2);
}

void XmlGlobals::CopyLastError(ValidationErrorInfo& info) const {
  info.message = m_lastErrorMessage;
  info.line = m_lastErrorLine;
  info.column = m_lastErrorColumn;
}

_xmlSchema* XmlGlobals::GetSchema(const CStdStr& schemaPath, ValidationErrorInfo& info) {
  auto found = m_schemas.find(schemaPath);
  if (found != m_schemas.end()) {
    if (found->second.schema) return found->second.schema;
    info.code = ValidationErrorInfo::k_schemaNotParsed;
    return nullptr;
  }
  // The entry stays, failed or not, so a schema is read at most once.
  SchemaHolder& holder = m_schemas[schemaPath];
  holder.document = ReadXmlFile(schemaPath);
  if (holder.document) holder.parser = xmlSchemaNewDocParserCtxt(holder.document);
  if (holder.parser) holder.schema = xmlSchemaParse(holder.parser);
  if (holder.schema) return holder.schema;
  info.code =
      holder.parser ? ValidationErrorInfo::k_schemaNotParsed : ValidationErrorInfo::k_schemaNotRead;
  return nullptr;
}

bool ValidateXmlDoc(_xmlDoc* doc, const CStdStr& schemaPath, ValidationErrorInfo& info) {
  XmlGlobals& globals = XmlGlobals::Get();
  xmlSchemaValidCtxtPtr context = nullptr;
  if (xmlSchemaPtr schema = globals.GetSchema(schemaPath, info)) {
    context = xmlSchemaNewValidCtxt(schema);
    if (context && xmlSchemaValidateDoc(context, doc) == 0) {
      xmlSchemaFreeValidCtxt(context);
      return true;
    }
    info.code =
        context ? ValidationErrorInfo::k_documentNotValid : ValidationErrorInfo::k_schemaNotRead;
  }
  globals.CopyLastError(info);
  if (context) xmlSchemaFreeValidCtxt(context);
  return false;
}

bool ValidateXmlFile(const CStdStr& xmlPath, const CStdStr& schemaPath, ValidationErrorInfo& info) {
  xmlDocPtr doc = ReadXmlFile(xmlPath);
  if (!doc) {
    info.code = ValidationErrorInfo::k_documentNotRead;
    info.file = xmlPath;
    return false;
  }
  const bool valid = ValidateXmlDoc(doc, schemaPath, info);
  xmlFreeDoc(doc);
  return valid;
}
