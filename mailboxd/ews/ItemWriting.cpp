#include "mailboxd/ews/ItemWriting.h"

#include <algorithm>
#include <array>
#include <map>
#include <optional>
#include <utility>

#include "mailboxd/ews/EwsRequest.h"
#include "mailboxd/ews/ExtendedProperties.h"
#include "mailboxd/ews/FieldXml.h"
#include "mailboxd/ews/ItemClasses.h"
#include "mailboxd/ews/ItemPlace.h"
#include "mailboxd/store/DateTime.h"
#include "mailboxd/store/ItemFields.h"
#include "mailboxd/store/Occurrences.h"

namespace mailbox {

ItemShape::ItemShape(pugi::xml_node node, Depth depth) : m_depth(depth) {
  m_all = ChildText(node, "BaseShape") != "IdOnly";
  m_mime = IsTrue(ChildText(node, "IncludeMimeContent"));
  m_text = ChildText(node, "BodyType") == "Text";
  const pugi::xml_node paths = Child(node, "AdditionalProperties");
  CheckLength(paths, kMostPaths);
  for (auto path = FirstElement(paths); path; path = NextElement(path)) {
    if (LocalName(path) == "FieldURI") m_fields.push_back(Attribute(path, "FieldURI"));
    if (LocalName(path) == "ExtendedFieldURI") {
      m_properties.push_back(
          {PropertyKey(path), std::string(Attribute(path, "PropertyType")), path});
    }
    if (LocalName(path) != "IndexedFieldURI") continue;
    if (const EntryPath* const entry = FindEntryPath(Attribute(path, "FieldURI"))) {
      m_entries.push_back({entry->field, Attribute(path, "FieldIndex")});
    }
  }
}

namespace {

void WriteMailbox(const Address& address, EwsResponse& response) {
  response.Open("t:Mailbox");
  if (!address.name.empty()) response.Element("t:Name", address.name);
  if (!address.address.empty()) response.Element("t:EmailAddress", address.address);
  response.Element("t:RoutingType", address.routing.empty() ? "SMTP" : address.routing);
  response.Close("t:Mailbox");
}

void WriteSingle(const char* name, const std::optional<Address>& address, EwsResponse& response) {
  if (!address) return;
  response.Open(name);
  WriteMailbox(*address, response);
  response.Close(name);
}

void WriteRecipients(std::string_view name, const std::vector<Address>& list,
                     EwsResponse& response) {
  if (list.empty()) return;
  response.Open(name);
  for (const Address& address : list) WriteMailbox(address, response);
  response.Close(name);
}

std::string Display(const std::vector<Address>& list) {
  std::string text;
  for (const Address& address : list) {
    text += (text.empty() ? "" : "; ") + (address.name.empty() ? address.address : address.name);
  }
  return text;
}

// Those that are stored beside the item, then those within its mail.
void WriteAttachments(const Context& context, const ItemInfo& item, MailOfItem& mail,
                      EwsResponse& response) {
  if (const ItemField* const whole = FindField(item, "Attachments")) {
    return response.Raw(whole->xml);  // of an item inside another
  }
  std::vector<AttachmentInfo> stored;
  if (!mail.IsWithin()) stored = context.store.Attachments(item.id);
  const MailContent* const content = mail.Content();
  const size_t inside = content != nullptr ? content->Attachments().size() : 0;
  if (stored.empty() && inside == 0) return;
  const auto write = [&](const std::string& id, const AttachmentInfo& attachment) {
    OpenAttachment(id, attachment, response);
    CloseAttachment(attachment, response);
  };
  response.Open("t:Attachments");
  for (const AttachmentInfo& one : stored) write(MakeId(IdKind::kAttachment, one.id), one);
  for (size_t i = 0; i < inside; ++i) {
    write(MakePartId(mail.PartAt(i)), mail.Shown(i, item.created));
  }
  response.Close("t:Attachments");
}

void WriteProperties(const ItemInfo& item, const ItemShape& shape, EwsResponse& response) {
  for (const ItemShape::Property& asked : shape.Properties()) {
    const auto found = PropertyOf(item, asked.key, asked.type);
    if (found) WriteProperty(*found, asked.path, response);
  }
}

void WriteMime(MailOfItem& mail, EwsResponse& response) {
  mail.WithMime([&](std::string_view charset, std::string_view bytes) {
    response.Open("t:MimeContent",
                  XmlAttribute("CharacterSet", charset.empty() ? "UTF-8" : charset));
    response.Base64(bytes);
    response.Close("t:MimeContent");
  });
}

// The item's own body, else that of its mail.
void WriteBody(const ItemInfo& item, MailOfItem& mail, const ItemShape& shape,
               EwsResponse& response) {
  const auto write = [&](std::string_view type, std::string_view text) {
    response.Open("t:Body", XmlAttribute("BodyType", type));
    response.Text(text);
    response.Close("t:Body");
  };
  if (!item.bodyType.empty()) return write(item.bodyType, item.body);
  const MailContent* const content = mail.Content();
  if (content == nullptr) return;
  const bool hasChoice = !content->Html().empty() && !content->Text().empty();
  if (hasChoice && shape.PrefersText()) return write("Text", content->Text());
  if (!content->Html().empty()) return write("HTML", content->Html());
  if (!content->Text().empty()) write("Text", content->Text());
}

// What the writing of one item works with.
struct Work {
  const Context& context;
  const ItemInfo& item;
  MailOfItem& mail;
  const ItemShape& shape;
  EwsResponse& response;
};

void WriteCategories(const Work& work) {
  if (work.item.categories.empty()) return;
  work.response.Open("t:Categories");
  for (const std::string& category : work.item.categories) {
    work.response.Element("t:String", category);
  }
  work.response.Close("t:Categories");
}

// "PT1H30M" for an hour and a half.
std::string DurationOf(const ItemInfo& item) {
  const auto start = ReadSeconds(item.starts);
  const auto end = ReadSeconds(item.ends);
  if (!start || !end) return "";
  const std::int64_t minutes = (*end - *start) / 60;
  return "PT" + std::to_string(minutes / 60) + "H" + std::to_string(minutes % 60) + "M";
}

bool IsPhoto(const AttachmentInfo& attachment) { return attachment.isContactPhoto; }

void WriteHasPicture(const Work& work) {
  const bool looks = work.item.attachmentCount > 0 && !work.mail.IsWithin();
  work.response.Boolean(
      "t:HasPicture",
      looks && std::ranges::any_of(work.context.store.Attachments(work.item.id), IsPhoto));
}

template <auto kMember>
void WriteText(const Work& work, const std::string& tag) {
  work.response.Element(tag, work.item.*kMember);
}
template <auto kMember>
void WriteIfAny(const Work& work, const std::string& tag) {
  if (!(work.item.*kMember).empty()) work.response.Element(tag, work.item.*kMember);
}
template <auto kMember>
void WritePeople(const Work& work, const std::string& tag) {
  WriteRecipients(tag, work.item.*kMember, work.response);
}
template <auto kMember>
void WriteDisplay(const Work& work, const std::string& tag) {
  work.response.Element(tag, Display(work.item.*kMember));
}
template <auto kMember>
void WriteFlag(const Work& work, const std::string& tag) {
  work.response.Boolean(tag, work.item.*kMember);
}

void WriteOriginalStart(const Work& work, const std::string& tag) {
  const std::string& start = work.item.occurrence.originalStart;
  if (!start.empty()) work.response.Element(tag, start);
}

void WriteChangedOccurrences(const Work& work, const std::string& tag) {
  const auto occurrences = Occurrences::Of(work.item);
  const std::vector<ItemInfo> all =
      occurrences ? occurrences->AllChanged() : std::vector<ItemInfo>();
  if (all.empty()) return;
  work.response.Open(tag);
  for (const ItemInfo& one : all) {
    work.response.Open("t:Occurrence");
    work.response.Empty("t:ItemId", IdAttributesOf(one));
    work.response.Element("t:Start", one.starts);
    work.response.Element("t:End", one.ends);
    work.response.Element("t:OriginalStart", one.occurrence.originalStart);
    work.response.Close("t:Occurrence");
  }
  work.response.Close(tag);
}

void WriteDeletedOccurrences(const Work& work, const std::string& tag) {
  const auto occurrences = Occurrences::Of(work.item);
  const std::vector<std::string> starts =
      occurrences ? occurrences->DeletedStarts() : std::vector<std::string>();
  if (starts.empty()) return;
  work.response.Open(tag);
  for (const std::string& start : starts) {
    work.response.Open("t:DeletedOccurrence");
    work.response.Element("t:Start", start);
    work.response.Close("t:DeletedOccurrence");
  }
  work.response.Close(tag);
}

// The fields that are more than what a client sent.
struct Writer {
  std::string_view name;
  void (*write)(const Work& work, const std::string& tag);
};
constexpr auto kWriters = std::to_array<Writer>({
    {"MimeContent", [](const Work& w, const std::string&) { WriteMime(w.mail, w.response); }},
    {"ItemId",
     [](const Work& w, const std::string& tag) {
       w.response.Empty(tag, IdAttributesOf(w.item));
     }},
    {"ParentFolderId",
     [](const Work& w, const std::string& tag) {
       w.response.Empty(tag, IdAttributes(IdKind::kFolder, w.item.folder, 1));
     }},
    {"ItemClass", WriteText<&ItemInfo::itemClass>},
    {"Subject", WriteText<&ItemInfo::subject>},
    {"Sensitivity", WriteText<&ItemInfo::sensitivity>},
    {"Body",
     [](const Work& w, const std::string&) { WriteBody(w.item, w.mail, w.shape, w.response); }},
    {"Attachments",
     [](const Work& w, const std::string&) {
       WriteAttachments(w.context, w.item, w.mail, w.response);
     }},
    {"DateTimeReceived", WriteIfAny<&ItemInfo::received>},
    {"Size", [](const Work& w, const std::string& tag) { w.response.Number(tag, w.item.size); }},
    {"Categories", [](const Work& w, const std::string&) { WriteCategories(w); }},
    {"Importance", WriteText<&ItemInfo::importance>},
    {"InReplyTo", WriteIfAny<&ItemInfo::inReplyTo>},
    {"IsDraft", WriteFlag<&ItemInfo::isDraft>},
    {"DateTimeSent", WriteIfAny<&ItemInfo::sent>},
    {"DateTimeCreated", WriteIfAny<&ItemInfo::created>},
    {"DisplayCc", WriteDisplay<&ItemInfo::cc>},
    {"DisplayTo", WriteDisplay<&ItemInfo::to>},
    {"HasAttachments",
     [](const Work& w, const std::string& tag) { w.response.Boolean(tag, HasFiles(w.item)); }},
    {"ExtendedProperty",
     [](const Work& w, const std::string&) { WriteProperties(w.item, w.shape, w.response); }},
    {"Sender",
     [](const Work& w, const std::string&) { WriteSingle("t:Sender", w.item.sender, w.response); }},
    {"ToRecipients", WritePeople<&ItemInfo::to>},
    {"CcRecipients", WritePeople<&ItemInfo::cc>},
    {"BccRecipients", WritePeople<&ItemInfo::bcc>},
    {"From",
     [](const Work& w, const std::string&) { WriteSingle("t:From", w.item.from, w.response); }},
    {"InternetMessageId", WriteIfAny<&ItemInfo::messageId>},
    {"IsRead", WriteFlag<&ItemInfo::isRead>},
    {"References", WriteIfAny<&ItemInfo::references>},
    {"ReplyTo", WritePeople<&ItemInfo::replyTo>},
    {"HasPicture", [](const Work& w, const std::string&) { WriteHasPicture(w); }},
    {"IsRecurring",
     [](const Work& w, const std::string& tag) {
       w.response.Boolean(tag, w.item.isSeries || w.item.occurrence.number > 0);
     }},
    {"IsMeeting",
     [](const Work& w, const std::string& tag) {
       w.response.Boolean(tag, FindField(w.item, "RequiredAttendees") != nullptr ||
                                   FindField(w.item, "OptionalAttendees") != nullptr ||
                                   FindField(w.item, "Resources") != nullptr);
     }},
    {"CalendarItemType",
     [](const Work& w, const std::string& tag) {
       const OccurrenceInfo& one = w.item.occurrence;
       w.response.Element(tag, w.item.isSeries   ? "RecurringMaster"
                               : one.number == 0 ? "Single"
                               : one.isChanged   ? "Exception"
                                                 : "Occurrence");
     }},
    {"OriginalStart", WriteOriginalStart},
    {"ModifiedOccurrences", WriteChangedOccurrences},
    {"DeletedOccurrences", WriteDeletedOccurrences},
    {"Duration",
     [](const Work& w, const std::string& tag) {
       const std::string duration = DurationOf(w.item);
       if (!duration.empty()) w.response.Element(tag, duration);
     }},
    {"IsComplete",
     [](const Work& w, const std::string& tag) {
       w.response.Boolean(tag, FieldText(w.item, "Status") == "Completed");
     }},
});

// A dictionary with those entries alone that are asked for.
void WriteEntries(const ItemField& field, const ItemShape& shape, EwsResponse& response) {
  const FieldTree tree(&field);
  std::string entries;
  for (const pugi::xml_node entry : tree.Root().children()) {
    const bool isAsked = std::ranges::any_of(shape.Entries(), [&](const ItemShape::Entry& asked) {
      return asked.field == field.name && asked.key == entry.attribute("Key").value();
    });
    if (isAsked) entries += FieldXml(entry);
  }
  if (entries.empty()) return;
  response.Open("t:" + field.name);
  response.Raw(entries);
  response.Close("t:" + field.name);
}

// A field as its client sent it.
void WriteKept(const FieldRule& rule, const Work& work, bool isWanted) {
  const ItemField* const field = FindField(work.item, rule.name);
  if (field != nullptr && isWanted) {
    work.response.Raw(field->xml);
  } else if (field != nullptr) {
    WriteEntries(*field, work.shape, work.response);
  } else if (isWanted && !rule.absent.empty()) {
    work.response.Element("t:" + rule.name, rule.absent);
  }
}

bool IsWanted(const FieldRule& rule, const Work& work) {
  const bool isWithin = work.mail.IsWithin();  // and so has no place of its own
  if (rule.name == "MimeContent") return work.shape.WantsMime();
  if (rule.name == "ItemId") return !isWithin;
  if (rule.name == "ParentFolderId" && isWithin) return false;
  if (rule.name == "ExtendedProperty") return !work.shape.Properties().empty();
  return rule.inLists ? work.shape.Wants(rule.uri) : work.shape.WantsFull(rule.uri);
}

// The fields of a class, each with its writer if it has one.
using WriterList = std::vector<std::pair<const FieldRule*, const Writer*>>;
const WriterList& WritersOf(const std::string& element) {
  static const std::map<std::string, WriterList, std::less<>> kLists = [] {
    std::map<std::string, WriterList, std::less<>> lists;
    for (const char* const one :
         {"Item", "Message", "CalendarItem", "Contact", "DistributionList", "Task"}) {
      for (const FieldRule& rule : FieldsOf(one)) {
        const auto row = std::ranges::find(kWriters, rule.name, &Writer::name);
        lists[one].emplace_back(&rule, row == kWriters.end() ? nullptr : &*row);
      }
    }
    return lists;
  }();
  static const WriterList kNone;
  const auto found = kLists.find(element);
  return found == kLists.end() ? kNone : found->second;
}

}  // namespace

void WriteItem(const Context& context, const ItemInfo& item, MailOfItem& mail,
               const ItemShape& shape, EwsResponse& response) {
  const Work work{context, item, mail, shape, response};
  const std::string tag = "t:" + item.element;
  response.Open(tag);
  for (const auto& [rule, writer] : WritersOf(item.element)) {
    const bool isWanted = IsWanted(*rule, work);
    if (writer == nullptr) {
      WriteKept(*rule, work, isWanted);
    } else if (isWanted) {
      writer->write(work, "t:" + rule->name);
    }
  }
  response.Close(tag);
}

}  // namespace mailbox
