#include "mailboxd/ews/Operations.h"

#include <algorithm>
#include <array>

#include "base/AsciiText.h"
#include "base/WholeNumber.h"
#include "mailboxd/ews/EwsRequest.h"
#include "mailboxd/store/StoreSchema.h"

namespace mailbox {
namespace {

using Operation = void (*)(const Context&, pugi::xml_node, EwsResponse&);
struct OperationRow {
  std::string_view name;
  Operation run;
};
constexpr std::array<OperationRow, 11> kOperations = {{
    {"FindFolder", FindFolder},
    {"GetFolder", GetFolder},
    {"CreateFolder", CreateFolder},
    {"CreateItem", CreateItem},
    {"GetItem", GetItem},
    {"FindItem", FindItem},
    {"UpdateItem", UpdateItem},
    {"DeleteItem", DeleteItem},
    {"MoveItem", MoveItem},
    {"CreateAttachment", CreateAttachment},
    {"GetAttachment", GetAttachment},
}};

std::int64_t NumberOf(std::string_view text, std::int64_t absent) {
  return mail::wholeNumber<std::int64_t>(mail::trimmed(text)).value_or(absent);
}

// A mailbox is made at first use, so any address that could be one has one.
std::int64_t MailboxOf(const Context& context, std::string_view address) {
  constexpr size_t kLongestAddress = 320;
  const std::string normal = NormalAddress(address);
  if (normal.empty() || normal.size() > kLongestAddress) {
    OperationError error = ErrorOf("ErrorNonExistentMailbox");
    error.messageXml = "<t:Value Name=\"SmtpAddress\">" +
                       EscapeXml(normal.substr(0, kLongestAddress)) + "</t:Value>";
    throw error;
  }
  return context.store.Mailbox(normal);
}

}  // namespace

bool IsOperation(std::string_view name) {
  return std::ranges::find(kOperations, name, &OperationRow::name) != kOperations.end();
}

void CheckLength(pugi::xml_node list, size_t most) {
  size_t length = 0;
  for (auto one = FirstElement(list); one; one = NextElement(one)) ++length;
  if (length > most) throw FaultOf("ErrorDataSizeLimitExceeded");
}

void CheckMayWork(const Context& context, const EwsResponse& response) {
  constexpr size_t kMessage = 32 * 1024 * 1024;  // what a change can have to tell
  if (response.Size() > EwsResponse::kLargest - kMessage) {
    throw ErrorOf("ErrorDataSizeLimitExceeded");
  }
  const std::string code = context.faults.TakeError(context.operation);
  if (!code.empty()) throw ErrorOf(code);
}

std::string Answer(std::string& body, const Context& base, RequestNote* note) {
  const EwsRequest request(body);
  Context context = base;
  if (!request.ImpersonatedAddress().empty()) context.mailbox = request.ImpersonatedAddress();
  context.zone = request.ZoneName();
  const std::string_view name = request.OperationName();
  context.operation = name;
  if (note != nullptr) *note = {std::string(name), context.mailbox};
  const auto row = std::ranges::find(kOperations, name, &OperationRow::name);
  if (row == kOperations.end()) throw SoapFault("ErrorInvalidRequest", "The request is invalid.");
  EwsResponse response(name);
  row->run(context, request.Operation(), response);
  return response.Finish();
}

std::int64_t ResolveId(std::string_view text, IdKind kind) {
  IdKind found{};
  const auto row = ReadId(text, &found);
  if (!row) throw ErrorOf("ErrorInvalidIdMalformed");
  if (found != kind) throw ErrorOf("ErrorInvalidIdMalformed");
  return *row;
}

std::string IdAttributes(IdKind kind, std::int64_t row, std::int64_t version) {
  return XmlAttribute("Id", MakeId(kind, row)) +
         XmlAttribute("ChangeKey", MakeChangeKey(kind, version));
}

FolderInfo ResolveFolder(const Context& context, pugi::xml_node id) {
  std::optional<std::int64_t> row;
  if (LocalName(id) == "DistinguishedFolderId") {
    const std::string_view other = ChildText(Child(id, "Mailbox"), "EmailAddress");
    const std::int64_t mailbox = MailboxOf(context, other.empty() ? context.mailbox : other);
    row = context.store.FindWellKnown(mailbox, Attribute(id, "Id"));
    if (!row) throw ErrorOf("ErrorFolderNotFound");
  } else {
    row = ResolveId(Attribute(id, "Id"), IdKind::kFolder);
  }
  const auto folder = context.store.Folder(*row);
  if (!folder) throw ErrorOf("ErrorItemNotFound");
  return *folder;
}

Page ReadPage(pugi::xml_node view, std::int64_t total) {
  const std::int64_t offset = NumberOf(Attribute(view, "Offset"), 0);
  const std::int64_t asked = NumberOf(Attribute(view, "MaxEntriesReturned"), kMostRows);
  const std::int64_t count = std::min(asked, kMostRows);
  if (offset < 0) {
    throw OperationError("ErrorInvalidIndexedPagingParameters",
                         "The offset of the paged view must not be negative.");
  }
  if (count < 1 && view.attribute("MaxEntriesReturned")) throw ErrorOf("ErrorInvalidPagingMaxRows");
  Page page;
  if (Attribute(view, "BasePoint") == "End") {
    page.end = std::max<std::int64_t>(total - offset, 0);
    page.first = std::max<std::int64_t>(page.end - count, 0);
  } else {
    page.first = std::min(offset, total);
    page.end = page.first + std::min(count, total - page.first);
  }
  return page;
}

std::string PageAttributes(const Page& page, std::int64_t total) {
  return XmlAttribute("IndexedPagingOffset", std::to_string(page.end)) +
         XmlAttribute("TotalItemsInView", std::to_string(total)) +
         XmlAttribute("IncludesLastItemInRange", page.end >= total ? "true" : "false");
}

}  // namespace mailbox
