#include "mailboxd/ews/EwsSchemaTable.h"

#include "mailboxd/ews/EwsSchemaMakers.h"

namespace mailbox::schema {
namespace {

const Kind kTag{Value::kTag, "PropertyTagType", {}};
const Kind kField{Value::kField, "UnindexedFieldURIType", {}};
const Kind kIndexedField{
    Value::kChoices,
    "DictionaryURIType",
    {"item:InternetMessageHeader", "contacts:ImAddress", "contacts:PhysicalAddress:Street",
     "contacts:PhysicalAddress:City", "contacts:PhysicalAddress:State",
     "contacts:PhysicalAddress:CountryOrRegion", "contacts:PhysicalAddress:PostalCode",
     "contacts:PhoneNumber", "contacts:EmailAddress", "distributionlist:Members:Member"}};
const Kind kTraversal{
    Value::kChoices, "FolderQueryTraversalType", {"Shallow", "Deep", "SoftDeleted"}};
const Kind kItemTraversal{
    Value::kChoices, "ItemQueryTraversalType", {"Shallow", "SoftDeleted", "Associated"}};
const Kind kBasePoint{Value::kChoices, "IndexBasePointType", {"Beginning", "End"}};
const Kind kDirection{Value::kChoices, "SortDirectionType", {"Ascending", "Descending"}};
const Kind kShape{Value::kChoices,
                  "DefaultShapeNamesType",
                  {"IdOnly", "Default", "AllProperties", "PcxPeopleSearch"}};
const Kind kBodyShape{Value::kChoices, "BodyTypeResponseType", {"Best", "HTML", "Text"}};
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
const Kind kConflictResolution{Value::kChoices,
                               "ConflictResolutionType",
                               {"NeverOverwrite", "AutoResolve", "AlwaysOverwrite"}};
const Kind kUpdateInvitations{Value::kChoices,
                              "CalendarItemUpdateOperationType",
                              {"SendToNone", "SendOnlyToAll", "SendOnlyToChanged",
                               "SendToAllAndSaveCopy", "SendToChangedAndSaveCopy"}};
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
  types["Header"].mayBeEmpty = true;
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
                          {"UpdateItem", "UpdateItem"},
                          {"DeleteItem", "DeleteItem"},
                          {"MoveItem", "MoveItem"}});
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
  const std::vector<ChildRule> expressions = {
      {"Contains", "Contains", kOptional, kMany},
      {"IsEqualTo", "Comparison", kOptional, kMany},
      {"IsNotEqualTo", "Comparison", kOptional, kMany},
      {"IsGreaterThan", "Comparison", kOptional, kMany},
      {"IsGreaterThanOrEqualTo", "Comparison", kOptional, kMany},
      {"IsLessThan", "Comparison", kOptional, kMany},
      {"IsLessThanOrEqualTo", "Comparison", kOptional, kMany},
      {"Exists", "Exists", kOptional, kMany},
      {"Excludes", "Excludes", kOptional, kMany},
      {"Not", "Not", kOptional, kMany},
      {"And", "AndOr", kOptional, kMany},
      {"Or", "AndOr", kOptional, kMany}};
  types["Restriction"] = Of(Order::kOneOf, Space::kTypes, expressions);
  types["Not"] = Of(Order::kOneOf, Space::kTypes, expressions);
  types["AndOr"] = Of(Order::kAnyOf, Space::kTypes, expressions);
  types["Contains"] = OneOfEach({3, 4}, Of(Order::kOneOf, Space::kTypes,
                                           {{"FieldURI", "FieldUri"},
                                            {"IndexedFieldURI", "IndexedUri"},
                                            {"ExtendedFieldURI", "ExtendedUri"},
                                            {"Constant", "Constant", kRequired}},
                                           {{"ContainmentMode", kOptional, &kContainment},
                                            {"ContainmentComparison", kOptional, &kComparison}}));
  types["Comparison"] =
      OneOfEach({3, 4}, Of(Order::kOneOf, Space::kTypes,
                           {{"FieldURI", "FieldUri"},
                            {"IndexedFieldURI", "IndexedUri"},
                            {"ExtendedFieldURI", "ExtendedUri"},
                            {"FieldURIOrConstant", "FieldOrConstant", kRequired}}));
  types["Excludes"] = OneOfEach({3, 4}, Of(Order::kOneOf, Space::kTypes,
                                           {{"FieldURI", "FieldUri"},
                                            {"IndexedFieldURI", "IndexedUri"},
                                            {"ExtendedFieldURI", "ExtendedUri"},
                                            {"Bitmask", "Constant", kRequired}}));
  types["FieldOrConstant"] = Of(Order::kOneOf, Space::kTypes,
                                {{"FieldURI", "FieldUri"},
                                 {"IndexedFieldURI", "IndexedUri"},
                                 {"ExtendedFieldURI", "ExtendedUri"},
                                 {"Constant", "Constant"}});
  types["Exists"] = types["Paths"] = Of(Order::kAnyOf, Space::kTypes,
                                        {{"FieldURI", "FieldUri", kOptional, kMany},
                                         {"IndexedFieldURI", "IndexedUri", kOptional, kMany},
                                         {"ExtendedFieldURI", "ExtendedUri", kOptional, kMany}});
  types["SortOrder"] =
      Of(Order::kAnyOf, Space::kTypes, {{"FieldOrder", "FieldOrder", kOptional, kMany}});
  types["FieldOrder"] = Of(Order::kOneOf, Space::kTypes,
                           {{"FieldURI", "FieldUri"},
                            {"IndexedFieldURI", "IndexedUri"},
                            {"ExtendedFieldURI", "ExtendedUri"}},
                           {{"Order", kRequired, &kDirection}});
  types["Constant"] = Of(Order::kSequence, Space::kTypes, {}, {{"Value", kRequired, &kString}});
  types["FieldUri"] = Of(Order::kSequence, Space::kTypes, {}, {{"FieldURI", kRequired, &kField}});
  types["IndexedUri"] =
      Of(Order::kSequence, Space::kTypes, {},
         {{"FieldURI", kRequired, &kIndexedField}, {"FieldIndex", kRequired, &kString}});
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
         {{"AttachmentShape", "AttachmentShape"}, {"AttachmentIds", "AttachmentIds", kRequired}});
  types["AttachmentIds"] =
      Of(Order::kAnyOf, Space::kTypes, {{"AttachmentId", "RequestId", kOptional, kMany}});
  types["AttachmentShape"] = Of(Order::kSequence, Space::kTypes,
                                {{"IncludeMimeContent", "Boolean"},
                                 {"BodyType", "BodyShape"},
                                 {"FilterHtmlContent", "Boolean"},
                                 {"AdditionalProperties", "Paths"}});
  types["RequestId"] = Of(Order::kSequence, Space::kTypes, {}, {{"Id", kRequired, &kString}});
  types["GetItem"] = Of(Order::kSequence, Space::kMessages,
                        {{"ItemShape", "ItemShape", kRequired}, {"ItemIds", "ItemIds", kRequired}});
  types["FindItem"] = Of(Order::kSequence, Space::kMessages,
                         {{"ItemShape", "ItemShape", kRequired},
                          {"IndexedPageItemView", "PageView"},
                          {"CalendarView", "CalendarView"},
                          {"Restriction", "Restriction"},
                          {"SortOrder", "SortOrder"},
                          {"ParentFolderIds", "FolderIds", kRequired}},
                         {{"Traversal", kRequired, &kItemTraversal}});
  types["CalendarView"] = Of(Order::kSequence, Space::kTypes, {},
                             {{"MaxEntriesReturned", kOptional, &kInt},
                              {"StartDate", kRequired, &kDateTime},
                              {"EndDate", kRequired, &kDateTime}});
  types["DeleteItem"] = Of(Order::kSequence, Space::kMessages, {{"ItemIds", "ItemIds", kRequired}},
                           {{"DeleteType", kRequired, &kDisposal},
                            {"SendMeetingCancellations", kOptional, &kInvitations},
                            {"AffectedTaskOccurrences", kOptional, &kOccurrences},
                            {"SuppressReadReceipts", kOptional, &kBoolean}});
  types["MoveItem"] = Of(Order::kSequence, Space::kMessages,
                         {{"ToFolderId", "FolderId", kRequired},
                          {"ItemIds", "ItemIds", kRequired},
                          {"ReturnNewItemIds", "Boolean"}});
  types["ItemIds"] = Of(Order::kAnyOf, Space::kTypes,
                        {{"ItemId", "PlainId", kOptional, kMany},
                         {"OccurrenceItemId", "OccurrenceId", kOptional, kMany},
                         {"RecurringMasterItemId", "MasterId", kOptional, kMany}});
  types["OccurrenceId"] = Of(Order::kSequence, Space::kTypes, {},
                             {{"RecurringMasterId", kRequired, &kString},
                              {"ChangeKey", kOptional, &kString},
                              {"InstanceIndex", kRequired, &kInt}});
  types["MasterId"] =
      Of(Order::kSequence, Space::kTypes, {},
         {{"OccurrenceId", kRequired, &kString}, {"ChangeKey", kOptional, &kString}});
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

void AddUpdates(TypeTable& types) {
  const std::vector<ChildRule> path = {{"FieldURI", "FieldUri"},
                                       {"IndexedFieldURI", "IndexedUri"},
                                       {"ExtendedFieldURI", "ExtendedUri"}};
  std::vector<ChildRule> value = path;
  value.insert(value.end(), {{"Item", "Item"},
                             {"Message", "Message"},
                             {"CalendarItem", "CalendarItem"},
                             {"Contact", "Contact"},
                             {"DistributionList", "DistributionList"},
                             {"Task", "Task"}});
  types["UpdateItem"] =
      Of(Order::kSequence, Space::kMessages,
         {{"SavedItemFolderId", "FolderId"}, {"ItemChanges", "ItemChanges", kRequired}},
         {{"ConflictResolution", kRequired, &kConflictResolution},
          {"MessageDisposition", kOptional, &kDisposition},
          {"SendMeetingInvitationsOrCancellations", kOptional, &kUpdateInvitations},
          {"SuppressReadReceipts", kOptional, &kBoolean}});
  types["ItemChanges"] =
      Of(Order::kAnyOf, Space::kTypes, {{"ItemChange", "ItemChange", kOptional, kMany}});
  types["ItemChange"] = OneOfEach({3, 4}, Of(Order::kOneOf, Space::kTypes,
                                             {{"ItemId", "PlainId"},
                                              {"OccurrenceItemId", "OccurrenceId"},
                                              {"RecurringMasterItemId", "MasterId"},
                                              {"Updates", "Updates", kRequired}}));
  types["Updates"] = Of(Order::kAnyOf, Space::kTypes,
                        {{"AppendToItemField", "FieldValue", kOptional, kMany},
                         {"SetItemField", "FieldValue", kOptional, kMany},
                         {"DeleteItemField", "FieldPath", kOptional, kMany}});
  types["FieldPath"] = Of(Order::kOneOf, Space::kTypes, path);
  types["FieldValue"] =
      OneOfEach({path.size(), value.size()}, Of(Order::kOneOf, Space::kTypes, value));
}

// Puts the children of a type's base in front of its own, once.
void JoinBases(TypeTable& types) {
  for (auto& [name, type] : types) {
    if (type.base.empty()) continue;
    const std::vector<ChildRule>& first = types.at(type.base).children;
    type.children.insert(type.children.begin(), first.begin(), first.end());
  }
}

}  // namespace

const TypeTable& Types() {
  static const TypeTable kTable = [] {
    TypeTable types;
    AddEnvelope(types);
    AddFolders(types);
    AddRestrictions(types);
    AddItemRequests(types);
    AddUpdates(types);
    AddItemTypes(types);
    JoinBases(types);
    return types;
  }();
  return kTable;
}

}  // namespace mailbox::schema
