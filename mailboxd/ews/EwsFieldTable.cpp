#include "mailboxd/ews/EwsFieldTable.h"

#include <algorithm>
#include <array>
#include <cctype>

#include "mailboxd/ews/ItemClasses.h"

namespace mailbox {
namespace {

constexpr auto kFolderFields = std::to_array<std::string_view>(
    {"FolderId", "ParentFolderId", "DisplayName", "UnreadCount", "TotalCount", "ChildFolderCount",
     "FolderClass", "SearchParameters", "ManagedFolderInformation", "PermissionSet",
     "EffectiveRights", "SharingEffectiveRights", "DistinguishedFolderId", "PolicyTag",
     "ArchiveTag", "ReplicaList"});
constexpr auto kItemFields = std::to_array<std::string_view>({"ItemId",
                                                              "ParentFolderId",
                                                              "ItemClass",
                                                              "MimeContent",
                                                              "Attachments",
                                                              "Subject",
                                                              "DateTimeReceived",
                                                              "Size",
                                                              "Categories",
                                                              "HasAttachments",
                                                              "Importance",
                                                              "InReplyTo",
                                                              "InternetMessageHeaders",
                                                              "IsAssociated",
                                                              "IsDraft",
                                                              "IsFromMe",
                                                              "IsResend",
                                                              "IsSubmitted",
                                                              "IsUnmodified",
                                                              "DateTimeSent",
                                                              "DateTimeCreated",
                                                              "Body",
                                                              "ResponseObjects",
                                                              "Sensitivity",
                                                              "ReminderDueBy",
                                                              "ReminderIsSet",
                                                              "ReminderNextTime",
                                                              "ReminderMinutesBeforeStart",
                                                              "DisplayTo",
                                                              "DisplayCc",
                                                              "DisplayBcc",
                                                              "Culture",
                                                              "EffectiveRights",
                                                              "LastModifiedName",
                                                              "LastModifiedTime",
                                                              "ConversationId",
                                                              "UniqueBody",
                                                              "Flag",
                                                              "StoreEntryId",
                                                              "InstanceKey",
                                                              "NormalizedBody",
                                                              "EntityExtractionResult",
                                                              "PolicyTag",
                                                              "ArchiveTag",
                                                              "RetentionDate",
                                                              "Preview",
                                                              "PredictedActionReasons",
                                                              "IsClutter",
                                                              "RightsManagementLicenseData",
                                                              "BlockStatus",
                                                              "HasBlockedImages",
                                                              "WebClientReadFormQueryString",
                                                              "WebClientEditFormQueryString",
                                                              "TextBody",
                                                              "IconIndex",
                                                              "MimeContentUTF8",
                                                              "Mentions",
                                                              "MentionedMe",
                                                              "MentionsPreview",
                                                              "MentionsEx",
                                                              "Hashtags",
                                                              "AppliedHashtags",
                                                              "AppliedHashtagsPreview",
                                                              "Likes",
                                                              "LikesPreview",
                                                              "PendingSocialActivityTagIds",
                                                              "AtAllMention",
                                                              "CanDelete",
                                                              "InferenceClassification",
                                                              "FirstBody"});
constexpr auto kMessageFields = std::to_array<std::string_view>({"ConversationIndex",
                                                                 "ConversationTopic",
                                                                 "InternetMessageId",
                                                                 "IsRead",
                                                                 "IsResponseRequested",
                                                                 "IsReadReceiptRequested",
                                                                 "IsDeliveryReceiptRequested",
                                                                 "ReceivedBy",
                                                                 "ReceivedRepresenting",
                                                                 "References",
                                                                 "ReplyTo",
                                                                 "From",
                                                                 "Sender",
                                                                 "ToRecipients",
                                                                 "CcRecipients",
                                                                 "BccRecipients",
                                                                 "ApprovalRequestData",
                                                                 "VotingInformation",
                                                                 "ReminderMessageData",
                                                                 "PublishedCalendarItemIcs",
                                                                 "PublishedCalendarItemName",
                                                                 "MessageSafety"});
// Of kinds that are not kept here, any name of letters is taken.
constexpr auto kOtherGroups =
    std::to_array<std::string_view>({"meeting", "meetingRequest", "conversation"});
constexpr auto kOwnElements =
    std::to_array<std::string_view>({"CalendarItem", "Contact", "DistributionList", "Task"});

template <typename Names>
bool Has(const Names& names, std::string_view name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

}  // namespace

bool IsFieldUri(std::string_view text) {
  const size_t colon = text.find(':');
  if (colon == std::string_view::npos) return false;
  const std::string_view group = text.substr(0, colon);
  const std::string_view name = text.substr(colon + 1);
  if (group == "folder") return Has(kFolderFields, name);
  if (group == "item") return Has(kItemFields, name);
  if (group == "message") return Has(kMessageFields, name);
  if (text == "contacts:Culture") return true;
  for (const std::string_view element : kOwnElements) {
    if (FindFieldByUri(element, text) != nullptr) return true;
  }
  return Has(kOtherGroups, group) && !name.empty() &&
         std::all_of(name.begin(), name.end(),
                     [](unsigned char c) { return std::isalnum(c) != 0; });
}

}  // namespace mailbox
