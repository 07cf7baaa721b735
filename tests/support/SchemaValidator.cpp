#include "tests/support/SchemaValidator.h"

#include <libxml/parser.h>
#include <libxml/xmlschemas.h>

#include <filesystem>
#include <stdexcept>

namespace test_support {
namespace {

// Keeps the first error only: what follows one violation is mostly its echo.
void KeepFirst(void* context, xmlErrorPtr error) {
  auto& text = *static_cast<std::string*>(context);
  if (!text.empty() || error == nullptr) return;
  text = "line " + std::to_string(error->line) + ": " + (error->message ? error->message : "error");
  while (!text.empty() && text.back() == '\n') text.pop_back();
}

struct FreeDocument {
  void operator()(xmlDoc* document) const { xmlFreeDoc(document); }
};
struct FreeParser {
  void operator()(xmlParserCtxt* parser) const { xmlFreeParserCtxt(parser); }
};
struct FreeValidation {
  void operator()(xmlSchemaValidCtxt* validation) const { xmlSchemaFreeValidCtxt(validation); }
};
struct FreeSchemaParser {
  void operator()(xmlSchemaParserCtxt* parser) const { xmlSchemaFreeParserCtxt(parser); }
};

}  // namespace

struct SchemaValidator::Schema {
  explicit Schema(xmlSchema* schema) : parsed(schema) {}
  ~Schema() { xmlSchemaFree(parsed); }
  Schema(const Schema&) = delete;
  Schema& operator=(const Schema&) = delete;
  xmlSchema* parsed;
};

SchemaValidator::SchemaValidator(const std::string& folder) {
  const std::string path = folder + "/schema/ews.xsd";
  std::string error;
  const std::unique_ptr<xmlSchemaParserCtxt, FreeSchemaParser> parser(
      xmlSchemaNewParserCtxt(path.c_str()));
  if (!parser) throw std::runtime_error("no schema at " + path);
  xmlSchemaSetParserStructuredErrors(parser.get(), KeepFirst, &error);
  xmlSchema* schema = xmlSchemaParse(parser.get());
  if (schema == nullptr) throw std::runtime_error(path + ": " + error);
  m_schema = std::make_unique<Schema>(schema);
}

SchemaValidator::~SchemaValidator() = default;

std::string SchemaValidator::Validate(std::string_view xml) const {
  const std::unique_ptr<xmlParserCtxt, FreeParser> parser(xmlNewParserCtxt());
  const std::unique_ptr<xmlDoc, FreeDocument> document(xmlCtxtReadMemory(
      parser.get(), xml.data(), static_cast<int>(xml.size()), "message.xml", nullptr,
      XML_PARSE_NONET | XML_PARSE_HUGE | XML_PARSE_NOERROR | XML_PARSE_NOWARNING));
  if (!document) {
    const xmlError* last = xmlCtxtGetLastError(parser.get());
    return std::string("not well-formed: ") + (last && last->message ? last->message : "");
  }
  std::string error;
  const std::unique_ptr<xmlSchemaValidCtxt, FreeValidation> validation(
      xmlSchemaNewValidCtxt(m_schema->parsed));
  xmlSchemaSetValidStructuredErrors(validation.get(), KeepFirst, &error);
  const int result = xmlSchemaValidateDoc(validation.get(), document.get());
  if (result == 0) return "";
  return error.empty() ? "the schema refuses the message" : error;
}

bool SchemaValidator::Available() {
  return std::filesystem::is_regular_file(Folder() + "/schema/ews.xsd");
}

std::string SchemaValidator::Folder() { return std::string(TARNY_SOURCE) + "/../shared/ews"; }

}  // namespace test_support
