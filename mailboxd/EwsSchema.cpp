#include "mailboxd/EwsSchema.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <initializer_list>
#include <map>
#include <span>
#include <string>
#include <vector>

#include "mailboxd/DateTime.h"
#include "mailboxd/EwsFailure.h"
#include "mailboxd/EwsRequest.h"
#include "platform/Unicode.h"

// Each element that a request may hold has a type, a row of kTypes; a type names its children in
// the order in which they must come, its attributes and the kind of its text. The walk goes through
// the document with a stack on the heap; an element outside the tables ends it, so what is walked
// is never deeper than the tables allow, but for restrictions, which nest, up to kMaximumDepth.
namespace mailbox {
namespace {

constexpr std::string_view kSoapSpace = "http://schemas.xmlsoap.org/soap/envelope/";
constexpr std::string_view kMessagesSpace =
    "http://schemas.microsoft.com/exchange/services/2006/messages";
constexpr std::string_view kTypesSpace =
    "http://schemas.microsoft.com/exchange/services/2006/types";

enum class Space { kSoap, kMessages, kTypes };
enum class Value {
  kNone,
  kString,
  kNonEmpty,
  kBoolean,
  kInt,
  kDateTime,
  kBase64,
  kTag,
  kGuid,
  kField,
  kChoices
};
enum class Order { kSequence, kAnyOf, kOneOf, kOpen };  // kOpen: whatever it holds is taken

struct Kind {
  Value value = Value::kNone;
  std::string_view name;  // of the data type, as a violation names it
  std::initializer_list<std::string_view> choices = {};
};
struct AttributeRule {
  std::string_view name;
  bool required;
  const Kind* kind;
};
struct ChildRule {
  std::string_view name;
  std::string_view type;
  bool required = false;
  bool many = false;
};
struct Type {
  Order order = Order::kSequence;
  Space space = Space::kTypes;  // of its children
  std::vector<ChildRule> children;
  std::vector<AttributeRule> attributes;
  const Kind* text = nullptr;  // nullptr: no text
  std::string_view base = {};  // a type whose children come first
};

const Kind kString{Value::kString, "string", {}};
const Kind kNonEmpty{Value::kNonEmpty, "NonEmptyStringType", {}};
const Kind kBoolean{Value::kBoolean, "boolean", {}};
const Kind kInt{Value::kInt, "int", {}};
const Kind kDateTime{Value::kDateTime, "dateTime", {}};
const Kind kBase64{Value::kBase64, "base64Binary", {}};
const Kind kTag{Value::kTag, "PropertyTagType", {}};
const Kind kGuid{Value::kGuid, "GuidType", {}};
const Kind kField{Value::kField, "UnindexedFieldURIType", {}};
const Kind kTraversal{
    Value::kChoices, "FolderQueryTraversalType", {"Shallow", "Deep", "SoftDeleted"}};
const Kind kItemTraversal{
    Value::kChoices, "ItemQueryTraversalType", {"Shallow", "SoftDeleted", "Associated"}};
const Kind kBasePoint{Value::kChoices, "IndexBasePointType", {"Beginning", "End"}};
const Kind kShape{Value::kChoices,
                  "DefaultShapeNamesType",
                  {"IdOnly", "Default", "AllProperties", "PcxPeopleSearch"}};
const Kind kBodyType{Value::kChoices, "BodyTypeType", {"HTML", "Text"}};
const Kind kBodyShape{Value::kChoices, "BodyTypeResponseType", {"Best", "HTML", "Text"}};
const Kind kImportance{Value::kChoices, "ImportanceChoicesType", {"Low", "Normal", "High"}};
const Kind kSensitivity{
    Value::kChoices, "SensitivityChoicesType", {"Normal", "Personal", "Private", "Confidential"}};
const Kind kContainment{Value::kChoices,
                        "ContainmentModeType",
                        {"FullString", "Prefixed", "Substring", "PrefixOnWords", "ExactPhrase"}};
const Kind kComparison{Value::kChoices,
                       "ContainmentComparisonType",
                       {"Exact", "IgnoreCase", "IgnoreNonSpacingCharacters", "Loose",
                        "IgnoreCaseAndNonSpacingCharacters", "LooseAndIgnoreCase",
                        "LooseAndIgnoreNonSpace", "LooseAndIgnoreCaseAndIgnoreNonSpace"}};
const Kind kDisposition{
    Value::kChoices, "MessageDispositionType", {"SaveOnly", "SendOnly", "SendAndSaveCopy"}};
const Kind kInvitations{Value::kChoices,
                        "CalendarItemCreateOrDeleteOperationType",
                        {"SendToNone", "SendOnlyToAll", "SendToAllAndSaveCopy"}};
const Kind kDisposal{
    Value::kChoices, "DisposalType", {"HardDelete", "SoftDelete", "MoveToDeletedItems"}};
const Kind kOccurrences{
    Value::kChoices, "AffectedTaskOccurrencesType", {"AllOccurrences", "SpecifiedOccurrenceOnly"}};
const Kind kPropertyType{Value::kChoices,
                         "MapiPropertyTypeType",
                         {"ApplicationTime",
                          "ApplicationTimeArray",
                          "Binary",
                          "BinaryArray",
                          "Boolean",
                          "CLSID",
                          "CLSIDArray",
                          "Currency",
                          "CurrencyArray",
                          "Double",
                          "DoubleArray",
                          "Error",
                          "Float",
                          "FloatArray",
                          "Integer",
                          "IntegerArray",
                          "Long",
                          "LongArray",
                          "Null",
                          "Object",
                          "ObjectArray",
                          "Short",
                          "ShortArray",
                          "SystemTime",
                          "SystemTimeArray",
                          "String",
                          "StringArray"}};
const Kind kPropertySet{
    Value::kChoices,
    "DistinguishedPropertySetType",
    {"Meeting", "Appointment", "Common", "PublicStrings", "Address", "InternetHeaders",
     "CalendarAssistant", "UnifiedMessaging", "Task", "Sharing"}};
const Kind kFolderName{Value::kChoices,
                       "DistinguishedFolderIdNameType",
                       {"calendar",
                        "contacts",
                        "deleteditems",
                        "drafts",
                        "inbox",
                        "journal",
                        "notes",
                        "outbox",
                        "sentitems",
                        "tasks",
                        "msgfolderroot",
                        "publicfoldersroot",
                        "root",
                        "junkemail",
                        "searchfolders",
                        "voicemail",
                        "recoverableitemsroot",
                        "recoverableitemsdeletions",
                        "recoverableitemsversions",
                        "recoverableitemspurges",
                        "archiveroot",
                        "archivemsgfolderroot",
                        "archivedeleteditems",
                        "archiveinbox",
                        "syncissues",
                        "conflicts",
                        "localfailures",
                        "serverfailures",
                        "recipientcache",
                        "quickcontacts",
                        "conversationhistory",
                        "todosearch",
                        "mycontacts",
                        "directory",
                        "favorites",
                        "archive"}};

// One-line makers for the many types that are alike.
Type TextOf(const Kind& kind, std::vector<AttributeRule> attributes = {}) {
  Type type;
  type.text = &kind;
  type.attributes = std::move(attributes);
  return type;
}
Type Of(Order order, Space space, std::vector<ChildRule> children,
        std::vector<AttributeRule> attributes = {}, std::string_view base = {}) {
  Type type;
  type.order = order;
  type.space = space;
  type.children = std::move(children);
  type.attributes = std::move(attributes);
  type.base = base;
  return type;
}
Type Open(std::vector<AttributeRule> attributes = {}) {
  return Of(Order::kOpen, Space::kTypes, {}, std::move(attributes));
}

constexpr bool kRequired = true;
constexpr bool kOptional = false;
constexpr bool kMany = true;

using TypeTable = std::map<std::string_view, Type>;

void AddEnvelope(TypeTable& types) {
  types["Document"] = Of(Order::kSequence, Space::kSoap, {{"Envelope", "Envelope", kRequired}});
  types["Envelope"] =
      Of(Order::kSequence, Space::kSoap, {{"Header", "Header"}, {"Body", "SoapBody", kRequired}});
  types["Header"] = Of(Order::kAnyOf, Space::kTypes,
                       {{"RequestServerVersion", "Version"},
                        {"TimeZoneContext", "Open"},
                        {"ExchangeImpersonation", "Impersonation"},
                        {"MailboxCulture", "Open"},
                        {"DateTimePrecision", "Open"}});
  types["Version"] = Of(Order::kSequence, Space::kTypes, {}, {{"Version", kRequired, &kString}});
  types["Impersonation"] =
      Of(Order::kSequence, Space::kTypes, {{"ConnectingSID", "Sid", kRequired}});
  types["Sid"] = Of(Order::kOneOf, Space::kTypes,
                    {{"PrincipalName", "NonEmpty"},
                     {"SID", "NonEmpty"},
                     {"PrimarySmtpAddress", "NonEmpty"},
                     {"SmtpAddress", "NonEmpty"}});
  types["SoapBody"] = Of(Order::kOneOf, Space::kMessages,
                         {{"FindFolder", "FindFolder"},
                          {"GetFolder", "GetFolder"},
                          {"CreateFolder", "CreateFolder"},
                          {"CreateItem", "CreateItem"},
                          {"CreateAttachment", "CreateAttachment"},
                          {"GetAttachment", "GetAttachment"},
                          {"GetItem", "GetItem"},
                          {"FindItem", "FindItem"},
                          {"DeleteItem", "DeleteItem"}});
  types["Open"] = Open();
  types["String"] = TextOf(kString);
  types["NonEmpty"] = TextOf(kNonEmpty);
  types["Boolean"] = TextOf(kBoolean);
  types["Int"] = TextOf(kInt);
  types["DateTime"] = TextOf(kDateTime);
  types["Base64"] = TextOf(kBase64);
  types["BaseShape"] = TextOf(kShape);
}

void AddFolders(TypeTable& types) {
  types["FindFolder"] = Of(Order::kSequence, Space::kMessages,
                           {{"FolderShape", "FolderShape", kRequired},
                            {"IndexedPageFolderView", "PageView"},
                            {"Restriction", "Restriction"},
                            {"ParentFolderIds", "FolderIds", kRequired}},
                           {{"Traversal", kRequired, &kTraversal}});
  types["GetFolder"] =
      Of(Order::kSequence, Space::kMessages,
         {{"FolderShape", "FolderShape", kRequired}, {"FolderIds", "FolderIds", kRequired}});
  types["CreateFolder"] =
      Of(Order::kSequence, Space::kMessages,
         {{"ParentFolderId", "FolderId", kRequired}, {"Folders", "NewFolders", kRequired}});
  types["FolderShape"] =
      Of(Order::kSequence, Space::kTypes,
         {{"BaseShape", "BaseShape", kRequired}, {"AdditionalProperties", "Paths"}});
  types["PageView"] = Of(Order::kSequence, Space::kTypes, {},
                         {{"MaxEntriesReturned", kOptional, &kInt},
                          {"Offset", kRequired, &kInt},
                          {"BasePoint", kRequired, &kBasePoint}});
  types["FolderIds"] = Of(Order::kAnyOf, Space::kTypes,
                          {{"FolderId", "PlainId", kOptional, kMany},
                           {"DistinguishedFolderId", "WellKnownId", kOptional, kMany}});
  types["FolderId"] = Of(Order::kOneOf, Space::kTypes,
                         {{"FolderId", "PlainId"}, {"DistinguishedFolderId", "WellKnownId"}});
  types["PlainId"] = Of(Order::kSequence, Space::kTypes, {},
                        {{"Id", kRequired, &kString}, {"ChangeKey", kOptional, &kString}});
  types["WellKnownId"] = Of(Order::kSequence, Space::kTypes, {{"Mailbox", "Mailbox"}},
                            {{"Id", kRequired, &kFolderName}, {"ChangeKey", kOptional, &kString}});
  types["NewFolders"] = Of(Order::kAnyOf, Space::kTypes,
                           {{"Folder", "Folder", kOptional, kMany},
                            {"CalendarFolder", "BaseFolder", kOptional, kMany},
                            {"ContactsFolder", "BaseFolder", kOptional, kMany},
                            {"SearchFolder", "Open", kOptional, kMany},
                            {"TasksFolder", "Folder", kOptional, kMany}});
  types["BaseFolder"] = Of(Order::kSequence, Space::kTypes,
                           {{"FolderId", "PlainId"},
                            {"ParentFolderId", "PlainId"},
                            {"FolderClass", "String"},
                            {"DisplayName", "String"},
                            {"TotalCount", "Int"},
                            {"ChildFolderCount", "Int"},
                            {"ExtendedProperty", "ExtendedProperty", kOptional, kMany}});
  types["Folder"] = Of(Order::kSequence, Space::kTypes,
                       {{"PermissionSet", "Open"}, {"UnreadCount", "Int"}}, {}, "BaseFolder");
}

void AddRestrictions(TypeTable& types) {
  const std::vector<ChildRule> expressions = {{"Contains", "Contains", kOptional, kMany},
                                              {"IsEqualTo", "Comparison", kOptional, kMany},
                                              {"IsNotEqualTo", "Comparison", kOptional, kMany},
                                              {"Exists", "Exists", kOptional, kMany},
                                              {"Not", "Not", kOptional, kMany},
                                              {"And", "AndOr", kOptional, kMany},
                                              {"Or", "AndOr", kOptional, kMany}};
  types["Restriction"] = Of(Order::kOneOf, Space::kTypes, expressions);
  types["Not"] = Of(Order::kOneOf, Space::kTypes, expressions);
  types["AndOr"] = Of(Order::kAnyOf, Space::kTypes, expressions);
  types["Contains"] = Of(Order::kSequence, Space::kTypes,
                         {{"FieldURI", "FieldUri"},
                          {"IndexedFieldURI", "Open"},
                          {"ExtendedFieldURI", "ExtendedUri"},
                          {"Constant", "Constant", kRequired}},
                         {{"ContainmentMode", kOptional, &kContainment},
                          {"ContainmentComparison", kOptional, &kComparison}});
  types["Comparison"] = Of(Order::kSequence, Space::kTypes,
                           {{"FieldURI", "FieldUri"},
                            {"IndexedFieldURI", "Open"},
                            {"ExtendedFieldURI", "ExtendedUri"},
                            {"FieldURIOrConstant", "FieldOrConstant", kRequired}});
  types["FieldOrConstant"] = Of(Order::kOneOf, Space::kTypes,
                                {{"FieldURI", "FieldUri"},
                                 {"IndexedFieldURI", "Open"},
                                 {"ExtendedFieldURI", "ExtendedUri"},
                                 {"Constant", "Constant"}});
  types["Exists"] = types["Paths"] = Of(Order::kAnyOf, Space::kTypes,
                                        {{"FieldURI", "FieldUri", kOptional, kMany},
                                         {"IndexedFieldURI", "Open", kOptional, kMany},
                                         {"ExtendedFieldURI", "ExtendedUri", kOptional, kMany}});
  types["Constant"] = Of(Order::kSequence, Space::kTypes, {}, {{"Value", kRequired, &kString}});
  types["FieldUri"] = Of(Order::kSequence, Space::kTypes, {}, {{"FieldURI", kRequired, &kField}});
  types["ExtendedUri"] = Of(Order::kSequence, Space::kTypes, {},
                            {{"DistinguishedPropertySetId", kOptional, &kPropertySet},
                             {"PropertySetId", kOptional, &kGuid},
                             {"PropertyTag", kOptional, &kTag},
                             {"PropertyName", kOptional, &kString},
                             {"PropertyId", kOptional, &kInt},
                             {"PropertyType", kRequired, &kPropertyType}});
}

void AddItemRequests(TypeTable& types) {
  types["CreateItem"] = Of(Order::kSequence, Space::kMessages,
                           {{"SavedItemFolderId", "FolderId"}, {"Items", "Items", kRequired}},
                           {{"MessageDisposition", kOptional, &kDisposition},
                            {"SendMeetingInvitations", kOptional, &kInvitations}});
  types["CreateAttachment"] =
      Of(Order::kSequence, Space::kMessages,
         {{"ParentItemId", "PlainId", kRequired}, {"Attachments", "Attachments", kRequired}});
  types["GetAttachment"] =
      Of(Order::kSequence, Space::kMessages,
         {{"AttachmentShape", "Open"}, {"AttachmentIds", "AttachmentIds", kRequired}});
  types["AttachmentIds"] =
      Of(Order::kAnyOf, Space::kTypes, {{"AttachmentId", "RequestId", kOptional, kMany}});
  types["RequestId"] = Of(Order::kSequence, Space::kTypes, {}, {{"Id", kRequired, &kString}});
  types["GetItem"] = Of(Order::kSequence, Space::kMessages,
                        {{"ItemShape", "ItemShape", kRequired}, {"ItemIds", "ItemIds", kRequired}});
  types["FindItem"] = Of(Order::kSequence, Space::kMessages,
                         {{"ItemShape", "ItemShape", kRequired},
                          {"IndexedPageItemView", "PageView"},
                          {"ParentFolderIds", "FolderIds", kRequired}},
                         {{"Traversal", kRequired, &kItemTraversal}});
  types["DeleteItem"] = Of(Order::kSequence, Space::kMessages, {{"ItemIds", "ItemIds", kRequired}},
                           {{"DeleteType", kRequired, &kDisposal},
                            {"SendMeetingCancellations", kOptional, &kInvitations},
                            {"AffectedTaskOccurrences", kOptional, &kOccurrences},
                            {"SuppressReadReceipts", kOptional, &kBoolean}});
  types["ItemIds"] = Of(Order::kAnyOf, Space::kTypes, {{"ItemId", "PlainId", kOptional, kMany}});
  types["BodyShape"] = TextOf(kBodyShape);
  types["ItemShape"] = Of(Order::kSequence, Space::kTypes,
                          {{"BaseShape", "BaseShape", kRequired},
                           {"IncludeMimeContent", "Boolean"},
                           {"BodyType", "BodyShape"},
                           {"UniqueBodyType", "BodyShape"},
                           {"NormalizedBodyType", "BodyShape"},
                           {"FilterHtmlContent", "Boolean"},
                           {"ConvertHtmlCodePageToUTF8", "Boolean"},
                           {"InlineImageUrlTemplate", "String"},
                           {"BlockExternalImages", "Boolean"},
                           {"AddBlankTargetToLinks", "Boolean"},
                           {"MaximumBodySize", "Int"},
                           {"AdditionalProperties", "Paths"}});
}

void AddItems(TypeTable& types) {
  types["Items"] = Of(Order::kAnyOf, Space::kTypes,
                      {{"Message", "Message", kOptional, kMany},
                       {"CalendarItem", "Open", kOptional, kMany},
                       {"Contact", "Open", kOptional, kMany},
                       {"DistributionList", "Open", kOptional, kMany},
                       {"Task", "Open", kOptional, kMany}});
  types["Item"] = Of(Order::kSequence, Space::kTypes,
                     {{"MimeContent", "MimeContent"},
                      {"ItemId", "PlainId"},
                      {"ParentFolderId", "PlainId"},
                      {"ItemClass", "String"},
                      {"Subject", "String"},
                      {"Sensitivity", "Sensitivity"},
                      {"Body", "Body"},
                      {"Attachments", "Attachments"},
                      {"DateTimeReceived", "DateTime"},
                      {"Size", "Int"},
                      {"Categories", "Categories"},
                      {"Importance", "Importance"},
                      {"InReplyTo", "String"},
                      {"DateTimeSent", "DateTime"},
                      {"DateTimeCreated", "DateTime"},
                      {"ReminderDueBy", "DateTime"},
                      {"ReminderIsSet", "Boolean"},
                      {"ReminderMinutesBeforeStart", "String"},
                      {"ExtendedProperty", "ExtendedProperty", kOptional, kMany},
                      {"Culture", "String"}});
  types["Message"] = Of(Order::kSequence, Space::kTypes,
                        {{"Sender", "SingleRecipient"},
                         {"ToRecipients", "Recipients"},
                         {"CcRecipients", "Recipients"},
                         {"BccRecipients", "Recipients"},
                         {"IsReadReceiptRequested", "Boolean"},
                         {"IsDeliveryReceiptRequested", "Boolean"},
                         {"ConversationIndex", "Base64"},
                         {"ConversationTopic", "String"},
                         {"From", "SingleRecipient"},
                         {"InternetMessageId", "String"},
                         {"IsRead", "Boolean"},
                         {"IsResponseRequested", "Boolean"},
                         {"References", "String"},
                         {"ReplyTo", "Recipients"}},
                        {}, "Item");
  types["MimeContent"] = TextOf(kBase64, {{"CharacterSet", kOptional, &kString}});
  types["Sensitivity"] = TextOf(kSensitivity);
  types["Importance"] = TextOf(kImportance);
  types["Body"] =
      TextOf(kString, {{"BodyType", kRequired, &kBodyType}, {"IsTruncated", kOptional, &kBoolean}});
  types["Categories"] = Of(Order::kAnyOf, Space::kTypes, {{"String", "String", kOptional, kMany}});
  types["Recipients"] =
      Of(Order::kAnyOf, Space::kTypes, {{"Mailbox", "Mailbox", kOptional, kMany}});
  types["SingleRecipient"] = Of(Order::kOneOf, Space::kTypes, {{"Mailbox", "Mailbox"}});
  types["Mailbox"] = Of(Order::kSequence, Space::kTypes,
                        {{"Name", "String"},
                         {"EmailAddress", "NonEmpty"},
                         {"RoutingType", "NonEmpty"},
                         {"MailboxType", "String"},
                         {"ItemId", "PlainId"}});
  types["ExtendedProperty"] = Of(
      Order::kSequence, Space::kTypes,
      {{"ExtendedFieldURI", "ExtendedUri", kRequired}, {"Value", "String"}, {"Values", "Values"}});
  types["Values"] = Of(Order::kAnyOf, Space::kTypes, {{"Value", "String", kOptional, kMany}});
  types["Attachments"] = Of(Order::kAnyOf, Space::kTypes,
                            {{"FileAttachment", "FileAttachment", kOptional, kMany},
                             {"ItemAttachment", "Open", kOptional, kMany}});
  types["FileAttachment"] = Of(Order::kSequence, Space::kTypes,
                               {{"AttachmentId", "RequestId"},
                                {"Name", "String"},
                                {"ContentType", "String"},
                                {"ContentId", "String"},
                                {"ContentLocation", "String"},
                                {"Size", "Int"},
                                {"LastModifiedTime", "DateTime"},
                                {"IsInline", "Boolean"},
                                {"IsContactPhoto", "Boolean"},
                                {"Content", "Base64"}});
}

// Puts the children of a type's base in front of its own, once.
void JoinBases(TypeTable& types) {
  for (auto& [name, type] : types) {
    if (type.base.empty()) continue;
    const std::vector<ChildRule>& first = types.at(type.base).children;
    type.children.insert(type.children.begin(), first.begin(), first.end());
  }
}

const TypeTable& Types() {
  static const TypeTable kTable = [] {
    TypeTable types;
    AddEnvelope(types);
    AddFolders(types);
    AddRestrictions(types);
    AddItemRequests(types);
    AddItems(types);
    JoinBases(types);
    return types;
  }();
  return kTable;
}

std::string_view SpaceName(Space space) {
  switch (space) {
    case Space::kSoap:
      return kSoapSpace;
    case Space::kMessages:
      return kMessagesSpace;
    case Space::kTypes:
      break;
  }
  return kTypesSpace;
}

// The namespace of an element's prefix, looked up at it and its ancestors; "" when undeclared.
std::string_view NamespaceOf(pugi::xml_node node) {
  const std::string_view name(node.name());
  const size_t colon = name.find(':');
  const std::string_view prefix =
      colon == std::string_view::npos ? std::string_view() : name.substr(0, colon);
  for (; node && node.type() == pugi::node_element; node = node.parent()) {
    for (const pugi::xml_attribute attribute : node.attributes()) {
      const std::string_view declared(attribute.name());
      if (!declared.starts_with("xmlns")) continue;
      if (prefix.empty()
              ? declared == "xmlns"
              : declared.size() > 6 && declared[5] == ':' && declared.substr(6) == prefix)
        return attribute.value();
    }
  }
  return {};
}

std::string_view Trimmed(std::string_view text) {
  const size_t first = text.find_first_not_of(" \t\r\n");
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(" \t\r\n") - first + 1);
}

bool IsInt(std::string_view text) {
  if (text.starts_with('+')) text.remove_prefix(1);
  int value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  return error == std::errc() && end == text.data() + text.size();
}

bool IsTag(std::string_view text) {
  const bool hex = text.starts_with("0x") || text.starts_with("0X");
  if (hex) text.remove_prefix(2);
  unsigned value = 0;
  const auto [end, error] =
      std::from_chars(text.data(), text.data() + text.size(), value, hex ? 16 : 10);
  return error == std::errc() && end == text.data() + text.size() && value <= 0xFFFF;
}

bool IsGuid(std::string_view text) {
  if (text.size() != 36) return false;
  for (size_t i = 0; i < text.size(); ++i) {
    const bool dash = i == 8 || i == 13 || i == 18 || i == 23;
    if (dash ? text[i] != '-' : !std::isxdigit(static_cast<unsigned char>(text[i]))) return false;
  }
  return true;
}

// "item:Subject": one of the known groups and a name of letters.
bool IsField(std::string_view text) {
  constexpr std::array<std::string_view, 10> kGroups = {
      "folder",   "item", "message",  "meeting",      "meetingRequest",
      "calendar", "task", "contacts", "conversation", "distributionlist"};
  const size_t colon = text.find(':');
  if (colon == std::string_view::npos || colon + 1 == text.size()) return false;
  if (std::find(kGroups.begin(), kGroups.end(), text.substr(0, colon)) == kGroups.end())
    return false;
  return std::all_of(text.begin() + static_cast<std::ptrdiff_t>(colon) + 1, text.end(),
                     [](unsigned char c) { return std::isalnum(c) != 0; });
}

// Why a value does not fit its kind, in the words of a violation; "" when it does. Base64 is looked
// at where it is decoded.
std::string WhyNot(const Kind& kind, std::string_view text) {
  switch (kind.value) {
    case Value::kNone:
    case Value::kString:
    case Value::kBase64:
      return "";
    case Value::kNonEmpty:
      return text.empty() ? "The actual length is less than the MinLength value." : "";
    case Value::kBoolean: {
      const std::string_view word = Trimmed(text);
      if (word == "true" || word == "false" || word == "1" || word == "0") return "";
      return "The string '" + std::string(text) + "' is not a valid Boolean value.";
    }
    case Value::kInt:
      if (IsInt(Trimmed(text))) return "";
      return "The string '" + std::string(text) + "' is not a valid Int32 value.";
    case Value::kDateTime:
      if (ReadDateTime(Trimmed(text))) return "";
      return "The string '" + std::string(text) + "' is not a valid DateTime value.";
    case Value::kTag:
      return IsTag(text) ? "" : "The Pattern constraint failed.";
    case Value::kGuid:
      return IsGuid(text) ? "" : "The Pattern constraint failed.";
    case Value::kField:
      return IsField(text) ? "" : "The Enumeration constraint failed.";
    case Value::kChoices:
      if (std::find(kind.choices.begin(), kind.choices.end(), text) != kind.choices.end())
        return "";
      return "The Enumeration constraint failed.";
  }
  return "";
}

std::string DataTypeName(const Kind& kind) {
  switch (kind.value) {
    case Value::kString:
    case Value::kBoolean:
    case Value::kInt:
    case Value::kDateTime:
    case Value::kBase64:
      return "http://www.w3.org/2001/XMLSchema:" + std::string(kind.name);
    default:
      return std::string(kTypesSpace) + ":" + std::string(kind.name);
  }
}

// Characters that XML does not allow reach the tree as references or as raw bytes.
bool HasForbidden(std::string_view text) {
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 0x20 && byte != '\t' && byte != '\n' && byte != '\r') return true;
  }
  return text.find("\xEF\xBF\xBE") != std::string_view::npos ||
         text.find("\xEF\xBF\xBF") != std::string_view::npos || !platform::IsValidUtf8(text);
}

class Walk {
 public:
  explicit Walk(std::string_view buffer) : m_buffer(buffer) {}

  void Run(pugi::xml_node envelope) {
    if (!envelope || LocalName(envelope) != "Envelope" || NamespaceOf(envelope) != kSoapSpace) {
      ThrowViolation("The root element is no SOAP envelope.", m_buffer, 0);
    }
    m_open.push_back({envelope, &Types().at("Envelope")});
    while (!m_open.empty()) {
      const Open next = m_open.back();
      m_open.pop_back();
      if (next.depth > kMaximumDepth) {
        ThrowViolation("The request is nested too deeply.", m_buffer, next.node.offset_debug());
      }
      Check(next);
    }
  }

 private:
  struct Open {
    pugi::xml_node node;
    const Type* type;
    int depth = 0;
  };

  [[noreturn]] void Fail(pugi::xml_node node, const std::string& violation) const {
    ThrowViolation(violation, m_buffer, node.offset_debug());
  }

  static std::string Named(pugi::xml_node node) {
    return "'" + std::string(LocalName(node)) + "' in namespace '" +
           std::string(NamespaceOf(node)) + "'";
  }

  static std::string Expected(const Type& type, size_t from) {
    std::string names;
    for (size_t i = from; i < type.children.size(); ++i) {
      names += (names.empty() ? "" : ", ") + std::string(type.children[i].name);
      if (type.order == Order::kSequence && type.children[i].required) break;
    }
    if (names.empty()) return "";
    return " List of possible elements expected: '" + names + "' in namespace '" +
           std::string(SpaceName(type.space)) + "'.";
  }

  void Check(const Open& open) {
    if (open.type->order == Order::kOpen) return;
    CheckAttributes(open.node, *open.type);
    if (open.type->text != nullptr) {
      CheckText(open.node, *open.type->text);
    } else {
      CheckChildren(open);
    }
  }

  void CheckAttributes(pugi::xml_node node, const Type& type) const {
    for (const pugi::xml_attribute attribute : node.attributes()) {
      const std::string_view name(attribute.name());
      // Declarations, and what another vocabulary says about the element.
      if (name == "xmlns" || name.find(':') != std::string_view::npos) continue;
      const auto rule = std::find_if(type.attributes.begin(), type.attributes.end(),
                                     [&](const AttributeRule& r) { return r.name == name; });
      if (rule == type.attributes.end()) {
        Fail(node, "The '" + std::string(name) + "' attribute is not declared.");
      }
      if (HasForbidden(attribute.value())) Fail(node, "An attribute has an invalid character.");
      const std::string reason = WhyNot(*rule->kind, attribute.value());
      if (reason.empty()) continue;
      Fail(node, "The '" + std::string(name) + "' attribute is invalid - The value '" +
                     attribute.value() + "' is invalid according to its datatype '" +
                     DataTypeName(*rule->kind) + "' - " + reason);
    }
    for (const AttributeRule& rule : type.attributes) {
      if (rule.required && !node.attribute(std::string(rule.name).c_str())) {
        Fail(node, "The required attribute '" + std::string(rule.name) + "' is missing.");
      }
    }
  }

  void CheckText(pugi::xml_node node, const Kind& kind) const {
    if (const pugi::xml_node child = FirstElement(node)) {
      Fail(child, "The element " + Named(node) + " cannot contain child element " + Named(child) +
                      " because the parent element's content model is text only.");
    }
    const std::string_view text = Text(node);
    if (kind.value == Value::kBase64) return;
    if (HasForbidden(text)) Fail(node, "The text holds an invalid character.");
    const std::string reason = WhyNot(kind, text);
    if (reason.empty()) return;
    Fail(node, "The '" + std::string(NamespaceOf(node)) + ":" + std::string(LocalName(node)) +
                   "' element is invalid - The value '" + std::string(text) +
                   "' is invalid according to its datatype '" + DataTypeName(kind) + "' - " +
                   reason);
  }

  void CheckChildren(const Open& open) {
    const Type& type = *open.type;
    size_t position = 0;
    size_t count = 0;
    const size_t base = m_open.size();
    for (const pugi::xml_node child : open.node.children()) {
      if (child.type() == pugi::node_pcdata || child.type() == pugi::node_cdata) {
        if (Trimmed(child.value()).empty()) continue;
        Fail(open.node, "The element " + Named(open.node) + " cannot contain text." +
                            Expected(type, position));
      }
      if (child.type() != pugi::node_element) continue;
      const ChildRule& rule = Take(open.node, child, type, position, count++);
      m_open.push_back({child, &Types().at(rule.type), open.depth + 1});
    }
    CheckComplete(open.node, type, position, count);
    // The first child is looked at first, so that the first violation is the one reported.
    std::reverse(m_open.begin() + static_cast<std::ptrdiff_t>(base), m_open.end());
  }

  const ChildRule& Take(pugi::xml_node parent, pugi::xml_node child, const Type& type,
                        size_t& position, size_t count) const {
    const size_t start = type.order == Order::kSequence ? position : 0;
    const bool full = type.order == Order::kOneOf && count > 0;
    const std::string_view name = LocalName(child);
    if (!full && NamespaceOf(child) == SpaceName(type.space)) {
      for (size_t i = start; i < type.children.size(); ++i) {
        if (type.children[i].name == name) {
          position = type.children[i].many ? i : i + 1;
          return type.children[i];
        }
        // One that must come has not come yet.
        if (type.order == Order::kSequence && type.children[i].required) break;
      }
    }
    Fail(child, "The element " + Named(parent) + " has invalid child element " + Named(child) +
                    "." + (full ? "" : Expected(type, start)));
  }

  void CheckComplete(pugi::xml_node node, const Type& type, size_t position, size_t count) const {
    bool complete = true;
    if (type.order == Order::kOneOf) complete = count == 1;
    if (type.order == Order::kAnyOf && MustHold(node)) complete = count > 0;
    if (type.order == Order::kSequence) {
      for (size_t i = position; i < type.children.size(); ++i) {
        if (type.children[i].required) complete = false;
      }
    }
    if (!complete) {
      Fail(node, "The element " + Named(node) + " has incomplete content." +
                     Expected(type, type.order == Order::kSequence ? position : 0));
    }
  }

  // Lists that must not be empty; recipients, categories and the header may be.
  static bool MustHold(pugi::xml_node node) {
    const std::string_view name = LocalName(node);
    return name != "Header" && name != "Categories" && !name.ends_with("Recipients") &&
           name != "ReplyTo";
  }

  std::string_view m_buffer;
  std::vector<Open> m_open;
};

std::string Escaped(std::string_view text) {
  std::string escaped;
  for (const char c : text) {
    if (c == '<') {
      escaped += "&lt;";
    } else if (c == '>') {
      escaped += "&gt;";
    } else if (c == '&') {
      escaped += "&amp;";
    } else {
      escaped += static_cast<unsigned char>(c) < 0x20 ? ' ' : c;
    }
  }
  return escaped;
}

// A violation may quote what the client sent: its length is bounded, its bytes are made valid.
std::string Readable(std::string_view text) {
  constexpr size_t kLongest = 2000;
  return platform::Utf16ToUtf8(platform::Utf8ToUtf16(text.substr(0, kLongest)));
}

}  // namespace

void ThrowViolation(std::string_view violation, std::string_view buffer, std::ptrdiff_t offset) {
  const std::string text = Readable(violation);
  const size_t at =
      std::min(buffer.size(), static_cast<size_t>(std::max<std::ptrdiff_t>(offset, 0)));
  const std::string_view before = buffer.substr(0, at);
  const auto lines = std::count(before.begin(), before.end(), '\n');
  const size_t lineStart = before.rfind('\n');
  const size_t column = lineStart == std::string_view::npos ? at + 1 : at - lineStart;
  SoapFault fault("ErrorSchemaValidation", "The request failed schema validation: " + text);
  fault.message = "The request failed schema validation.";
  fault.messageXml = "<t:LineNumber>" + std::to_string(lines + 1) +
                     "</t:LineNumber><t:LinePosition>" + std::to_string(column) +
                     "</t:LinePosition><t:Violation>" + Escaped(text) + "</t:Violation>";
  throw fault;
}

void CheckEnvelope(pugi::xml_node envelope, std::string_view buffer) { Walk(buffer).Run(envelope); }

}  // namespace mailbox
