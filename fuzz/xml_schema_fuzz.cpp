// Validates a fuzzed XML document against a fuzzed XML Schema. The input is split at its first
// zero byte: the schema before it, the instance after it. Each run uses its own schema file and
// drops the cached schema afterwards, so every input's schema is really parsed and nothing
// accumulates in the process-wide cache.
#include <qobase/text/xml_validation.h>

#include <libxml/parser.h>
#include <libxml/xmlschemas.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "fuzz_support.h"

namespace {

void ForgetSchema(const std::string& path) {
  auto& schemas = XmlGlobals::Get().m_schemas;
  const auto found = schemas.find(path);
  if (found == schemas.end()) return;
  XmlGlobals::SchemaHolder& holder = found->second;
  if (holder.schema) xmlSchemaFree(holder.schema);
  if (holder.parser) xmlSchemaFreeParserCtxt(holder.parser);
  if (holder.document) xmlFreeDoc(holder.document);
  schemas.erase(found);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const char* bytes = reinterpret_cast<const char*>(data);
  const void* zero = std::memchr(bytes, 0, size);
  const size_t schemaSize = zero ? static_cast<const char*>(zero) - bytes : size;
  const size_t instanceStart = zero ? schemaSize + 1 : size;
  const qofuzz::ScratchFolder& scratch = qofuzz::ScratchFolder::Get();
  const std::string schemaPath = scratch.File("schema.xsd");
  const std::string instancePath = scratch.File("instance.xml");
  qofuzz::ScratchFolder::Write(schemaPath, bytes, schemaSize);
  qofuzz::ScratchFolder::Write(instancePath, bytes + instanceStart, size - instanceStart);
  ValidationErrorInfo info;
  const bool valid = ValidateXmlFile(instancePath, schemaPath, info);
  if (valid != (info.code == 0)) std::abort();
  // A second use of the same schema path takes the cached result without reading it again; a
  // schema that could not be read is then reported as one that did not parse.
  ValidationErrorInfo again;
  const bool second = ValidateXmlFile(instancePath, schemaPath, again);
  const bool sameCode =
      again.code == info.code || (info.code == ValidationErrorInfo::k_schemaNotRead &&
                                  again.code == ValidationErrorInfo::k_schemaNotParsed);
  if (second != valid || !sameCode) std::abort();
  ForgetSchema(schemaPath);
  return 0;
}
