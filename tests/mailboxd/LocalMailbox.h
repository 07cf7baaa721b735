#pragma once

#include <gtest/gtest.h>

#include <regex>
#include <string>
#include <string_view>
#include <vector>

#include "mailboxd/ews/Operations.h"
#include "platform/Base64.h"
#include "tests/support/SchemaValidator.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/Texts.h"

namespace mailbox_test {

using TempFolder = test_support::TemporaryFolder;
using test_support::CountOf;

inline std::string Envelope(const std::string& body, const std::string& header = "") {
  return "<?xml version=\"1.0\" encoding=\"utf-8\"?>"
         "<soap:Envelope xmlns:soap=\"http://schemas.xmlsoap.org/soap/envelope/\""
         " xmlns:m=\"http://schemas.microsoft.com/exchange/services/2006/messages\""
         " xmlns:t=\"http://schemas.microsoft.com/exchange/services/2006/types\"><soap:Header>"
         "<t:RequestServerVersion Version=\"Exchange2013_SP1\"/>" +
         header + "</soap:Header><soap:Body>" + body + "</soap:Body></soap:Envelope>";
}

// An element; attributes as they stand, with a blank in front.
inline std::string Tag(const std::string& name, const std::string& content,
                       const std::string& attributes = "") {
  return "<" + name + attributes + ">" + content + "</" + name + ">";
}
// One that names something by its id.
inline std::string IdTag(const std::string& name, const std::string& id) {
  return Tag(name, "", " Id=\"" + id + "\"");
}
inline std::string ById(const std::string& id) { return IdTag("t:FolderId", id); }
inline std::string WellKnown(const std::string& id) { return IdTag("t:DistinguishedFolderId", id); }
inline std::string MimeField(std::string_view bytes) {
  return Tag("t:MimeContent", platform::Base64Encode(bytes), " CharacterSet=\"UTF-8\"");
}

// Shapes.
inline constexpr char kIdOnly[] = "<t:BaseShape>IdOnly</t:BaseShape>";
inline constexpr char kDefault[] = "<t:BaseShape>Default</t:BaseShape>";
inline constexpr char kAll[] = "<t:BaseShape>AllProperties</t:BaseShape>";
inline constexpr char kMime[] =
    "<t:BaseShape>IdOnly</t:BaseShape><t:IncludeMimeContent>true</t:IncludeMimeContent>";

// What an item of a calendar asks for.
inline constexpr char kQuietly[] = " SendMeetingInvitations=\"SendToNone\"";

inline std::string CreateItem(const std::string& folder, const std::string& item,
                              const std::string& attributes = "") {
  return Envelope(Tag("m:CreateItem", Tag("m:SavedItemFolderId", folder) + Tag("m:Items", item),
                      " MessageDisposition=\"SaveOnly\"" + attributes));
}
inline std::string CreateMessage(const std::string& folder, const std::string& fields) {
  return CreateItem(folder, Tag("t:Message", fields));
}
inline std::string GetItem(const std::string& id, const std::string& shape) {
  return Envelope(
      Tag("m:GetItem", Tag("m:ItemShape", shape) + Tag("m:ItemIds", IdTag("t:ItemId", id))));
}
// `id` is the element that names the item, changes are those of an ItemChange.
inline std::string UpdateRequest(const std::string& id, const std::string& changes,
                                 const std::string& attributes) {
  return Envelope(Tag("m:UpdateItem",
                      Tag("m:ItemChanges", Tag("t:ItemChange", id + Tag("t:Updates", changes))),
                      attributes));
}
inline std::string DeleteRequest(const std::string& id, const std::string& how,
                                 const std::string& attributes = "") {
  return Envelope(
      Tag("m:DeleteItem", Tag("m:ItemIds", id), " DeleteType=\"" + how + "\"" + attributes));
}
// `search` is what stands between shape and folders: page, restriction, order.
inline std::string FindItem(const std::string& folder, const std::string& shape,
                            const std::string& search = "") {
  return Envelope(Tag("m:FindItem",
                      Tag("m:ItemShape", shape) + search + Tag("m:ParentFolderIds", folder),
                      " Traversal=\"Shallow\""));
}
// The path of a field, and conditions on one.
inline std::string Uri(const std::string& uri) {
  return Tag("t:FieldURI", "", " FieldURI=\"" + uri + "\"");
}
inline std::string Compared(const std::string& how, const std::string& path,
                            const std::string& value) {
  return Tag("t:" + how,
             path + Tag("t:FieldURIOrConstant", "<t:Constant Value=\"" + value + "\"/>"));
}
inline std::string Equal(const std::string& path, const std::string& value) {
  return Compared("IsEqualTo", path, value);
}
inline std::string Restriction(const std::string& expression) {
  return Tag("m:Restriction", expression);
}
inline std::string GetAttachment(const std::string& id, const std::string& shape = "") {
  return Envelope(
      Tag("m:GetAttachment", shape + Tag("m:AttachmentIds", IdTag("t:AttachmentId", id))));
}
inline std::string GetFolder(const std::string& folder, const std::string& shape = kAll,
                             const std::string& header = "") {
  return Envelope(Tag("m:GetFolder", Tag("m:FolderShape", shape) + Tag("m:FolderIds", folder)),
                  header);
}
inline std::string FindFolder(const std::string& parent, const std::string& restriction,
                              const std::string& traversal = "Shallow",
                              const std::string& page = "") {
  const std::string filter = restriction.empty() ? "" : Restriction(restriction);
  return Envelope(Tag("m:FindFolder",
                      Tag("m:FolderShape", kAll) + page + filter + Tag("m:ParentFolderIds", parent),
                      " Traversal=\"" + traversal + "\""));
}
inline std::string CreateFolder(const std::string& parent, const std::string& folder) {
  return Envelope(
      Tag("m:CreateFolder", Tag("m:ParentFolderId", parent) + Tag("m:Folders", folder)));
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
inline std::string ChangeKey(const std::string& answer) {
  return Find(answer, "ChangeKey=\"([^\"]*)\"");
}
inline std::string AttachmentId(const std::string& answer) {
  return Find(answer, "AttachmentId Id=\"([^\"]*)\"");
}
inline std::string FolderId(const std::string& answer) {
  return Find(answer, "<t:FolderId Id=\"([^\"]*)\"");
}

// Whether each of the parts stands in the text, or none does.
inline testing::AssertionResult Holds(const std::string& text,
                                      const std::vector<std::string_view>& parts) {
  for (const std::string_view part : parts) {
    if (text.find(part) != std::string::npos) continue;
    return testing::AssertionFailure() << "no " << part << " in " << text;
  }
  return testing::AssertionSuccess();
}
inline testing::AssertionResult Lacks(const std::string& text,
                                      const std::vector<std::string_view>& parts) {
  for (const std::string_view part : parts) {
    if (text.find(part) == std::string::npos) continue;
    return testing::AssertionFailure() << part << " in " << text;
  }
  return testing::AssertionSuccess();
}

// The bytes of the first file content or MIME content in an answer.
inline std::string BytesIn(const std::string& answer) {
  for (const std::string tag : {"<t:MimeContent CharacterSet=\"UTF-8\">", "<t:Content>"}) {
    const size_t open = answer.find(tag);
    if (open == std::string::npos) continue;
    const size_t begin = open + tag.size();
    std::string bytes;
    EXPECT_TRUE(platform::Base64Decode(
        std::string_view(answer).substr(begin, answer.find('<', begin) - begin), bytes));
    return bytes;
  }
  return "no content";
}

// Holds an answer against the schema, where that is present.
inline void ExpectInSchema(const std::string& answer) {
  EXPECT_EQ(test_support::SchemaValidator::Violation(answer), "") << answer.substr(0, 4000);
}

class StoredMailbox : public testing::Test {
 protected:
  mailbox::FolderInfo Inbox(const std::string& address = "user@example.com") {
    return *m_store.Folder(*m_store.FindWellKnown(m_store.Mailbox(address), "inbox"));
  }

  TempFolder m_folder;
  std::string m_path = m_folder.File("mailbox.db");
  mailbox::Store m_store{m_path};
};

// The operations on a store of their own, without HTTP. Every answer is held against the schema.
class LocalMailbox : public StoredMailbox {
 protected:
  // May be called from several threads at once; holds nothing against the schema.
  std::string Answer(std::string request) {
    try {
      return mailbox::Answer(request, {m_store, m_faults, m_login, m_limit});
    } catch (const mailbox::SoapFault& fault) {
      return mailbox::WriteFault(fault);
    }
  }
  std::string Ask(const std::string& request) {
    const std::string answer = Answer(request);
    ExpectInSchema(answer);
    return answer;
  }

  std::string Save(const std::string& fields) {
    return Ask(CreateMessage(WellKnown("inbox"), fields));
  }
  std::string SaveIn(const std::string& folder, const std::string& element,
                     const std::string& fields) {
    return Ask(CreateItem(WellKnown(folder), Tag("t:" + element, fields), kQuietly));
  }
  std::string SaveMail(std::string_view mime) { return ItemId(Save(MimeField(mime))); }
  std::string Show(const std::string& id, const std::string& more = "") {
    return Ask(GetItem(id, kAll + more));
  }

  mailbox::Faults m_faults;
  std::string m_login = "user@example.com";
  std::int64_t m_limit = 1024 * 1024;
};

}  // namespace mailbox_test
