// Validates a fuzzed XML document against a fuzzed XML Schema. The input is split at its first
// zero byte: the schema before it, the instance after it. Each run uses its own schema file and
// drops the cached schema afterwards, so every input's schema is really parsed and nothing
// accumulates in the process-wide cache.
#include <qobase/text/xml_validation.h>

#include <libxml/parser.h>
#include <libxml/xmlschemas.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

std::string ScratchPath(const char* name) {
  static const std::string folder = [] {
    char pattern[] = "/tmp/qobase-schema-fuzz-XXXXXX";
    const char* made = mkdtemp(pattern);
    if (!made) std::abort();
    return std::string(made);
  }();
  return folder + "/" + name;
}

bool WriteFile(const std::string& path, const char* data, size_t size) {
  FILE* file = std::fopen(path.c_str(), "wb");
  if (!file) return false;
  const bool written = std::fwrite(data, 1, size, file) == size;
  return std::fclose(file) == 0 && written;
}

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
  const std::string schemaPath = ScratchPath("schema.xsd");
  const std::string instancePath = ScratchPath("instance.xml");
  if (!WriteFile(schemaPath, bytes, schemaSize) ||
      !WriteFile(instancePath, bytes + instanceStart, size - instanceStart)) {
    std::abort();
  }
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
