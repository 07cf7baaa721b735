#include <string>
#include <utility>
#include <vector>

#include "mailboxd/ews/EwsRequest.h"
#include "mailboxd/ews/ItemChanges.h"
#include "mailboxd/ews/ItemClasses.h"
#include "mailboxd/ews/ItemPlace.h"
#include "mailboxd/ews/ItemReading.h"
#include "mailboxd/ews/ItemSearch.h"
#include "mailboxd/ews/ItemWriting.h"
#include "mailboxd/ews/Operations.h"
#include "mailboxd/store/ItemFields.h"
#include "mailboxd/store/MailOfItem.h"

namespace mailbox {
namespace {

void CheckDisposition(pugi::xml_node request, std::string_view element) {
  const std::string_view disposition = Attribute(request, "MessageDisposition");
  if (element == "Message" && disposition.empty()) throw ErrorOf("ErrorMessageDispositionRequired");
  if (!disposition.empty() && disposition != "SaveOnly") {
    throw OperationError("ErrorInvalidOperation", "This mailbox saves items and sends none.");
  }
}

// Of what a request must say about items of a class.
void CheckSaid(pugi::xml_node request, std::string_view element, std::string_view of,
               const char* attribute, const char* code) {
  if (element == of && !request.attribute(attribute)) throw ErrorOf(code);
}

void CheckPlace(pugi::xml_node request, pugi::xml_node node, const FolderInfo& folder) {
  const std::string_view element = LocalName(node);
  const ItemClass* const of = FindItemClass(element);
  if (of == nullptr) throw ErrorOf("ErrorInvalidOperation");
  CheckDisposition(request, element);
  CheckSaid(request, element, "CalendarItem", "SendMeetingInvitations",
            "ErrorSendMeetingInvitationsRequired");
  if (!folder.folderClass.starts_with(of->folderClass)) throw ErrorOf(of->mismatch);
}

void CheckSize(const Context& context, const NewItem& item) {
  auto size = static_cast<std::int64_t>(item.mime.size() + item.info.body.size());
  for (const NewAttachment& attachment : item.attachments) {
    size += static_cast<std::int64_t>(attachment.content.size());
  }
  if (size > context.maximumMessageSize) throw ErrorOf("ErrorMessageSizeExceeded");
}

// Where a new item is to lie: among the drafts, if the request does not say.
FolderInfo PlaceOf(const Context& context, pugi::xml_node request) {
  if (const pugi::xml_node id = FirstElement(Child(request, "SavedItemFolderId"))) {
    return ResolveFolder(context, id);
  }
  const auto drafts = context.store.FindWellKnown(context.store.Mailbox(context.mailbox), "drafts");
  return context.store.Folder(drafts.value_or(0)).value_or(FolderInfo());
}

void WriteIds(const NewItem& item, EwsResponse& response) {
  response.Empty("t:ItemId", IdAttributes(IdKind::kItem, item.info.id, item.info.version));
  if (item.attachments.empty()) return;
  response.Open("t:Attachments");
  for (const NewAttachment& attachment : item.attachments) {
    const std::string tag = AttachmentTag(attachment.info);
    response.Open(tag);
    response.Empty("t:AttachmentId",
                   XmlAttribute("Id", MakeId(IdKind::kAttachment, attachment.info.id)));
    response.Close(tag);
  }
  response.Close("t:Attachments");
}

void CreateOne(const Context& context, pugi::xml_node request, pugi::xml_node node,
               EwsResponse& response) {
  const FolderInfo folder = PlaceOf(context, request);
  CheckPlace(request, node, folder);
  NewItem item = ReadNewItem(node);
  CheckSize(context, item);
  KeepZone(context.zone, item.info);
  item.info.folder = folder.id;
  context.store.CreateItem(item);
  response.Success("m:Items", [&] {
    const std::string tag = "t:" + item.info.element;
    response.Open(tag);
    WriteIds(item, response);
    response.Close(tag);
  });
}

void GetOne(const Context& context, const ItemPlace& place, const ItemShape& shape,
            EwsResponse& response) {
  ItemInfo item = ItemAt(context, place);
  MailOfItem mail(context.store, place.row);
  if (shape.Wants("item:HasAttachments") && LookForFiles(mail, item)) {
    context.store.SetMailHasFiles({{place.row, *item.mailHasFiles}});
  }
  response.Success("m:Items", [&] { WriteItem(context, item, mail, shape, response); });
}

// A page of what a request finds in a folder.
struct Found {
  std::int64_t total = 0;
  Page page;
  std::vector<ItemInfo> items;
};

Found FindIn(const Context& context, const FolderInfo& folder, pugi::xml_node request) {
  const pugi::xml_node view = Child(request, "IndexedPageItemView");
  const pugi::xml_node restriction = Child(request, "Restriction");
  const pugi::xml_node sortOrder = Child(request, "SortOrder");
  Found found;
  if (Attribute(request, "Traversal") != "Shallow") {  // no item is deleted softly, or associated
    found.page = ReadPage(view, 0);
  } else if (!restriction && !sortOrder) {
    found.total = folder.total;
    found.page = ReadPage(view, found.total);
    found.items = context.store.Items(folder.id, found.page.first, found.page.Size());
  } else {
    const auto rows = SearchItems(context.store, folder.id, restriction, sortOrder);
    found.total = static_cast<std::int64_t>(rows.size());
    found.page = ReadPage(view, found.total);
    for (std::int64_t i = found.page.first; i < found.page.end; ++i) {
      auto item = context.store.Item(rows[static_cast<size_t>(i)]);
      if (item) found.items.push_back(std::move(*item));
    }
  }
  return found;
}

void WriteFound(const Context& context, const std::string& attributes,
                const std::vector<ItemInfo>& items, const ItemShape& shape, EwsResponse& response) {
  response.BeginSuccess();
  response.Open("m:RootFolder", attributes);
  response.Open("t:Items");
  for (const ItemInfo& item : items) {
    MailOfItem mail(context.store, item.id);
    WriteItem(context, item, mail, shape, response);
  }
  response.Close("t:Items");
  response.Close("m:RootFolder");
  response.EndMessage();
}

void FindBelow(const Context& context, pugi::xml_node request, pugi::xml_node parent,
               const ItemShape& shape, EwsResponse& response) {
  const FolderInfo folder = ResolveFolder(context, parent);
  if (const pugi::xml_node view = Child(request, "CalendarView")) {
    const CalendarPart part = FindInCalendar(context, folder, view);
    const bool isLast = part.items.size() == part.total;
    return WriteFound(context,
                      XmlAttribute("TotalItemsInView", std::to_string(part.total)) +
                          XmlAttribute("IncludesLastItemInRange", isLast ? "true" : "false"),
                      part.items, shape, response);
  }
  Found found = FindIn(context, folder, request);
  if (shape.Wants("item:HasAttachments")) LookForFiles(context.store, found.items);
  WriteFound(context, PageAttributes(found.page, found.total), found.items, shape, response);
}

// Whether the client may write over what it has seen last. Only AlwaysOverwrite does without saying
// what that was; AutoResolve gives way to no other change, for each property is written whole.
void CheckConflict(std::string_view resolution, std::string_view changeKey, const ItemInfo& item) {
  const auto seen = ReadChangeKey(changeKey, IdKind::kItem);
  if (!changeKey.empty() && !seen) throw ErrorOf("ErrorInvalidChangeKey");
  if (resolution == "AlwaysOverwrite") return;
  if (!seen) throw ErrorOf("ErrorChangeKeyRequiredForWriteOperations");
  if (resolution == "NeverOverwrite" && *seen != item.version) {
    throw ErrorOf("ErrorIrresolvableConflict");
  }
}

std::int64_t TextSize(const ItemInfo& item) {
  return static_cast<std::int64_t>(item.body.size() + item.subject.size());
}

// The item with all changes of a request made to it, or none. Somebody else may change it
// meanwhile: then it is read and changed again.
ItemInfo ChangeItem(const Context& context, pugi::xml_node request, pugi::xml_node change) {
  const pugi::xml_node id = IdOfChange(change);
  const auto [row, occurrence] = PlaceOfItem(id);
  MailOfItem mail(context.store, row);
  for (;;) {
    auto item = context.store.Item(row);
    if (!item) throw ErrorOf("ErrorItemNotFound");
    CheckDisposition(request, item->element);
    CheckSaid(request, item->element, "CalendarItem", "SendMeetingInvitationsOrCancellations",
              "ErrorSendMeetingInvitationsOrCancellationsRequired");
    CheckConflict(Attribute(request, "ConflictResolution"), Attribute(id, "ChangeKey"), *item);
    item->size -= TextSize(*item);
    const pugi::xml_node updates = Child(change, "Updates");
    occurrence > 0 ? ChangeOccurrence(occurrence, updates, mail, *item)
                   : ApplyChanges(updates, mail, *item);
    item->size += TextSize(*item);
    if (item->size > context.maximumMessageSize) throw ErrorOf("ErrorMessageSizeExceeded");
    if (!context.store.UpdateItem(*item)) continue;
    return occurrence > 0 ? ItemAt(context, {row, occurrence}) : *item;
  }
}

void UpdateOne(const Context& context, pugi::xml_node request, pugi::xml_node change,
               EwsResponse& response) {
  const ItemInfo item = ChangeItem(context, request, change);
  const std::string tag = "t:" + item.element;
  response.BeginSuccess();
  response.Open("m:Items");
  response.Open(tag);
  response.Empty("t:ItemId", IdAttributesOf(item));
  response.Close(tag);
  response.Close("m:Items");
  response.Open("m:ConflictResults");
  response.Number("t:Count", 0);
  response.Close("m:ConflictResults");
  response.EndMessage();
}

// Somebody else may change the series meanwhile.
void DeleteOccurrenceOf(const Context& context, const ItemPlace& place) {
  for (;;) {
    ItemInfo master = ItemAt(context, {place.row});
    DeleteOccurrence(place.occurrence, master);
    if (context.store.UpdateItem(master)) return;
  }
}

void DeleteOne(const Context& context, pugi::xml_node request, const ItemPlace& place) {
  const std::int64_t id = place.row;
  const auto item = context.store.Item(id);
  if (!item) throw ErrorOf("ErrorItemNotFound");
  CheckSaid(request, item->element, "CalendarItem", "SendMeetingCancellations",
            "ErrorSendMeetingCancellationsRequired");
  CheckSaid(request, item->element, "Task", "AffectedTaskOccurrences",
            "ErrorAffectedTaskOccurrencesRequired");
  if (place.occurrence > 0) return DeleteOccurrenceOf(context, place);
  if (Attribute(request, "DeleteType") != "MoveToDeletedItems") {
    if (!context.store.DeleteItem(id)) throw ErrorOf("ErrorItemNotFound");
    return;
  }
  const auto folder = context.store.Folder(item->folder);
  const auto bin = context.store.FindWellKnown(folder ? folder->mailbox : 0, "deleteditems");
  const bool done = bin ? context.store.MoveItem(id, *bin) : context.store.DeleteItem(id);
  if (!done) throw ErrorOf("ErrorItemNotFound");
}

// Items of every class may be moved to any folder of their mailbox.
void MoveOne(const Context& context, const FolderInfo& target, const ItemPlace& place,
             EwsResponse& response) {
  if (place.occurrence > 0) throw ErrorOf("ErrorCalendarCannotMoveOrCopyOccurrence");
  const std::int64_t id = place.row;
  const auto item = context.store.Item(id);
  const auto folder = item ? context.store.Folder(item->folder) : std::nullopt;
  if (!folder) throw ErrorOf("ErrorItemNotFound");
  if (folder->mailbox != target.mailbox) throw ErrorOf("ErrorCrossMailboxMoveCopy");
  if (!context.store.MoveItem(id, target.id)) throw ErrorOf("ErrorItemNotFound");
  response.Success("m:Items", [&] {
    const std::string tag = "t:" + item->element;
    response.Open(tag);
    response.Empty("t:ItemId", IdAttributes(IdKind::kItem, id, item->version + 1));
    response.Close(tag);
  });
}

}  // namespace

void CreateItem(const Context& context, pugi::xml_node request, EwsResponse& response) {
  AnswerEach(context, Child(request, "Items"), "Items", response,
             [&](pugi::xml_node node) { CreateOne(context, request, node, response); });
}

void GetItem(const Context& context, pugi::xml_node request, EwsResponse& response) {
  AnswerEach(context, Child(request, "ItemIds"), "Items", response, [&](pugi::xml_node id) {
    const ItemShape shape(Child(request, "ItemShape"), Depth::kFull);
    GetOne(context, PlaceOfItem(id), shape, response);
  });
}

void FindItem(const Context& context, pugi::xml_node request, EwsResponse& response) {
  AnswerEach(context, Child(request, "ParentFolderIds"), "", response, [&](pugi::xml_node parent) {
    const ItemShape shape(Child(request, "ItemShape"), Depth::kSummary);
    FindBelow(context, request, parent, shape, response);
  });
}

void UpdateItem(const Context& context, pugi::xml_node request, EwsResponse& response) {
  AnswerEach(context, Child(request, "ItemChanges"), "Items", response,
             [&](pugi::xml_node change) { UpdateOne(context, request, change, response); });
}

void DeleteItem(const Context& context, pugi::xml_node request, EwsResponse& response) {
  AnswerEach(context, Child(request, "ItemIds"), "", response, [&](pugi::xml_node id) {
    DeleteOne(context, request, PlaceOfItem(id));
    response.BeginSuccess();
    response.EndMessage();
  });
}

void MoveItem(const Context& context, pugi::xml_node request, EwsResponse& response) {
  const pugi::xml_node target = FirstElement(Child(request, "ToFolderId"));
  AnswerEach(context, Child(request, "ItemIds"), "Items", response, [&](pugi::xml_node id) {
    MoveOne(context, ResolveFolder(context, target), PlaceOfItem(id), response);
  });
}

}  // namespace mailbox
