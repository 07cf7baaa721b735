#pragma once

#include <memory>
#include <string>
#include <string_view>

struct _xmlSchema;

namespace test_support {

// Holds a SOAP message against the mailbox schema that lies beside the source tree, where it is
// present: the driver `schema/ews.xsd` below the folder given. Not for use by two threads at once.
class SchemaValidator {
 public:
  // The folder that holds `schema/`. Throws std::runtime_error when the schema cannot be read.
  explicit SchemaValidator(const std::string& folder = Folder());

  // "" when the message is valid, else the first error with its line; UTF-8.
  std::string Validate(std::string_view xml) const;

  // The same by the schema that lies there; "" where none does.
  static std::string Violation(std::string_view xml);

  // True if the schema is there; tests that need it are skipped where it is not.
  static bool Available();
  // A message that lies beside it, "" if it does not.
  static std::string Sample(const std::string& name);
  // Where it is looked for: ${TARNY_SOURCE}/../shared/ews.
  static std::string Folder();

 private:
  struct FreeSchema {
    void operator()(_xmlSchema* schema) const;
  };
  std::unique_ptr<_xmlSchema, FreeSchema> m_schema;
};

}  // namespace test_support
