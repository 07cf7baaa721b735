#pragma once

#include <gtest/gtest.h>

#include <optional>
#include <regex>
#include <string>
#include <string_view>

#include "mailboxd/ews/Operations.h"
#include "platform/Base64.h"
#include "tests/support/SchemaValidator.h"
#include "tests/support/TemporaryFolder.h"

namespace mailbox_test {

using TempFolder = test_support::TemporaryFolder;

inline std::string Envelope(const std::string& body, const std::string& header = "") {
  return "<?xml version=\"1.0\" encoding=\"utf-8\"?>"
         "<soap:Envelope xmlns:soap=\"http://schemas.xmlsoap.org/soap/envelope/\""
         " xmlns:m=\"http://schemas.microsoft.com/exchange/services/2006/messages\""
         " xmlns:t=\"http://schemas.microsoft.com/exchange/services/2006/types\"><soap:Header>"
         "<t:RequestServerVersion Version=\"Exchange2013_SP1\"/>" +
         header + "</soap:Header><soap:Body>" + body + "</soap:Body></soap:Envelope>";
}

inline std::string WellKnown(const std::string& id) {
  return "<t:DistinguishedFolderId Id=\"" + id + "\"/>";
}

inline std::string CreateMessage(const std::string& folder, const std::string& fields) {
  return Envelope("<m:CreateItem MessageDisposition=\"SaveOnly\"><m:SavedItemFolderId>" + folder +
                  "</m:SavedItemFolderId><m:Items><t:Message>" + fields +
                  "</t:Message></m:Items></m:CreateItem>");
}

inline std::string MimeField(std::string_view bytes) {
  return "<t:MimeContent CharacterSet=\"UTF-8\">" + platform::Base64Encode(bytes) +
         "</t:MimeContent>";
}

inline std::string GetItem(const std::string& id, const std::string& shape) {
  return Envelope("<m:GetItem><m:ItemShape>" + shape + "</m:ItemShape><m:ItemIds><t:ItemId Id=\"" +
                  id + "\"/></m:ItemIds></m:GetItem>");
}

inline std::string CreateFolder(const std::string& parent, const std::string& folder) {
  return Envelope("<m:CreateFolder><m:ParentFolderId>" + parent + "</m:ParentFolderId><m:Folders>" +
                  folder + "</m:Folders></m:CreateFolder>");
}

// The first text that the pattern's group matches, or "".
inline std::string Find(const std::string& text, const std::string& pattern) {
  std::smatch match;
  return std::regex_search(text, match, std::regex(pattern)) ? match[1].str() : "";
}
inline std::string Code(const std::string& answer) {
  return Find(answer, "ResponseCode[^>]*>([^<]*)<");
}
inline std::string ItemId(const std::string& answer) {
  return Find(answer, "ItemId Id=\"([^\"]*)\"");
}
inline std::string FolderId(const std::string& answer) {
  return Find(answer, "<t:FolderId Id=\"([^\"]*)\"");
}
inline std::string ById(const std::string& id) { return "<t:FolderId Id=\"" + id + "\"/>"; }
inline size_t CountOf(const std::string& text, const std::string& part) {
  size_t count = 0;
  for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
  return count;
}

// Holds an answer against the schema, where that is present.
inline void ExpectInSchema(const std::string& answer) {
  static const std::unique_ptr<test_support::SchemaValidator> kValidator =
      test_support::SchemaValidator::Available() ? std::make_unique<test_support::SchemaValidator>()
                                                 : nullptr;
  if (kValidator) {
    EXPECT_EQ(kValidator->Validate(answer), "") << answer.substr(0, 4000);
  }
}

// The operations on a store of their own, without HTTP. Every answer is held against the schema.
class LocalMailbox : public testing::Test {
 protected:
  std::string Ask(std::string request) {
    std::string answer;
    const mailbox::Context context{m_store, m_faults, m_login, m_limit};
    try {
      answer = mailbox::Answer(request, context);
    } catch (const mailbox::SoapFault& fault) {
      answer = mailbox::WriteFault(fault);
    }
    ExpectInSchema(answer);
    return answer;
  }

  TempFolder m_folder;
  mailbox::Store m_store{m_folder.Path() + "/mailbox.db"};
  mailbox::Faults m_faults;
  std::string m_login = "user@example.com";
  std::int64_t m_limit = 1024 * 1024;
};

}  // namespace mailbox_test
