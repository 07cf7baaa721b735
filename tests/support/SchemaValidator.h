#pragma once

#include <memory>
#include <string>
#include <string_view>

namespace test_support {

// Holds a SOAP message against the mailbox schema that lies beside the source tree, where it is
// present: the driver `schema/ews.xsd` below the folder given. Not for use by two threads at once.
class SchemaValidator {
 public:
  // The folder that holds `schema/`. Throws std::runtime_error when the schema cannot be read.
  explicit SchemaValidator(const std::string& folder = Folder());
  ~SchemaValidator();
  SchemaValidator(const SchemaValidator&) = delete;
  SchemaValidator& operator=(const SchemaValidator&) = delete;

  // "" when the message is valid, else the first error with its line; UTF-8.
  std::string Validate(std::string_view xml) const;

  // True if the schema is there; tests that need it are skipped where it is not.
  static bool Available();
  // Where it is looked for: ${TARNY_SOURCE}/../shared/ews.
  static std::string Folder();

 private:
  struct Schema;
  std::unique_ptr<Schema> m_schema;
};

}  // namespace test_support
