#include "tests/support/SchemaValidator.h"

#include <libxml/parser.h>
#include <libxml/xmlschemas.h>

#include <filesystem>
#include <stdexcept>

#include "tests/support/Freer.h"
#include "tests/support/TemporaryFolder.h"

namespace test_support {
namespace {

// Keeps the first error only: what follows one violation is mostly its echo.
void KeepFirst(void* context, xmlErrorPtr error) {
  auto& text = *static_cast<std::string*>(context);
  if (!text.empty() || error == nullptr) return;
  text = "line " + std::to_string(error->line) + ": " + (error->message ? error->message : "error");
  while (!text.empty() && text.back() == '\n') text.pop_back();
}

}  // namespace

SchemaValidator::SchemaValidator(const std::string& folder) {
  const std::string path = folder + "/schema/ews.xsd";
  std::string error;
  const std::unique_ptr<xmlSchemaParserCtxt, Freer<xmlSchemaFreeParserCtxt>> parser(
      xmlSchemaNewParserCtxt(path.c_str()));
  if (!parser) throw std::runtime_error("no schema at " + path);
  xmlSchemaSetParserStructuredErrors(parser.get(), KeepFirst, &error);
  m_schema.reset(xmlSchemaParse(parser.get()));
  if (!m_schema) throw std::runtime_error(path + ": " + error);
}

void SchemaValidator::FreeSchema::operator()(_xmlSchema* schema) const { xmlSchemaFree(schema); }

std::string SchemaValidator::Validate(std::string_view xml) const {
  const std::unique_ptr<xmlParserCtxt, Freer<xmlFreeParserCtxt>> parser(xmlNewParserCtxt());
  const std::unique_ptr<xmlDoc, Freer<xmlFreeDoc>> document(xmlCtxtReadMemory(
      parser.get(), xml.data(), static_cast<int>(xml.size()), "message.xml", nullptr,
      XML_PARSE_NONET | XML_PARSE_HUGE | XML_PARSE_NOERROR | XML_PARSE_NOWARNING));
  if (!document) {
    const xmlError* last = xmlCtxtGetLastError(parser.get());
    return std::string("not well-formed: ") + (last && last->message ? last->message : "");
  }
  std::string error;
  const std::unique_ptr<xmlSchemaValidCtxt, Freer<xmlSchemaFreeValidCtxt>> validation(
      xmlSchemaNewValidCtxt(m_schema.get()));
  xmlSchemaSetValidStructuredErrors(validation.get(), KeepFirst, &error);
  const int result = xmlSchemaValidateDoc(validation.get(), document.get());
  if (result == 0) return "";
  return error.empty() ? "the schema refuses the message" : error;
}

std::string SchemaValidator::Violation(std::string_view xml) {
  if (!Available()) return "";
  static const SchemaValidator validator;
  return validator.Validate(xml);
}

bool SchemaValidator::Available() {
  return std::filesystem::is_regular_file(Folder() + "/schema/ews.xsd");
}

std::string SchemaValidator::Sample(const std::string& name) {
  return ReadAll(Folder() + "/samples/" + name);
}

std::string SchemaValidator::Folder() { return std::string(TARNY_SOURCE) + "/../shared/ews"; }

}  // namespace test_support
