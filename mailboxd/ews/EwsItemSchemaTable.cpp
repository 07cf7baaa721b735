#include "mailboxd/ews/EwsSchemaMakers.h"

// The classes of items, with every field that the schema knows of them. A field of type ReadOnly is
// the server's to say: it may stand in a request for the schema's sake, and is refused there.
namespace mailbox::schema {
namespace {

const Kind kBinary{Value::kBinary, "base64Binary", {}};
const Kind kDate{Value::kDate, "date", {}};
const Kind kDouble{Value::kDouble, "double", {}};
const Kind kLong{Value::kLong, "long", {}};
const Kind kBodyType{Value::kChoices, "BodyTypeType", {"HTML", "Text"}};
const Kind kImportance{Value::kChoices, "ImportanceChoicesType", {"Low", "Normal", "High"}};
const Kind kSensitivity{
    Value::kChoices, "SensitivityChoicesType", {"Normal", "Personal", "Private", "Confidential"}};
const Kind kFreeBusy{Value::kChoices,
                     "LegacyFreeBusyType",
                     {"Free", "Tentative", "Busy", "OOF", "WorkingElsewhere", "NoData"}};
const Kind kTaskStatus{Value::kChoices,
                       "TaskStatusType",
                       {"NotStarted", "InProgress", "Completed", "WaitingOnOthers", "Deferred"}};
const Kind kDay{Value::kChoices,
                "DayOfWeekType",
                {"Sunday", "Monday", "Tuesday", "Wednesday", "Thursday", "Friday", "Saturday",
                 "Day", "Weekday", "WeekendDay"}};
const Kind kDayIndex{
    Value::kChoices, "DayOfWeekIndexType", {"First", "Second", "Third", "Fourth", "Last"}};
const Kind kMonth{Value::kChoices,
                  "MonthNamesType",
                  {"January", "February", "March", "April", "May", "June", "July", "August",
                   "September", "October", "November", "December"}};
const Kind kFileAs{
    Value::kChoices,
    "FileAsMappingType",
    {"None", "LastCommaFirst", "FirstSpaceLast", "Company", "LastCommaFirstCompany",
     "CompanyLastFirst", "LastFirst", "LastFirstCompany", "CompanyLastCommaFirst",
     "LastFirstSuffix", "LastSpaceFirstCompany", "CompanyLastSpaceFirst", "LastSpaceFirst",
     "DisplayName", "FirstName", "LastFirstMiddleSuffix", "LastName", "Empty"}};
const Kind kEmailKey{
    Value::kChoices, "EmailAddressKeyType", {"EmailAddress1", "EmailAddress2", "EmailAddress3"}};
const Kind kPhoneKey{Value::kChoices,
                     "PhoneNumberKeyType",
                     {"AssistantPhone",
                      "BusinessFax",
                      "BusinessPhone",
                      "BusinessPhone2",
                      "Callback",
                      "CarPhone",
                      "CompanyMainPhone",
                      "HomeFax",
                      "HomePhone",
                      "HomePhone2",
                      "Isdn",
                      "MobilePhone",
                      "OtherFax",
                      "OtherTelephone",
                      "Pager",
                      "PrimaryPhone",
                      "RadioPhone",
                      "Telex",
                      "TtyTddPhone",
                      "BusinessMobile",
                      "IPPhone",
                      "Mms",
                      "Msn"}};
const Kind kAddressKey{Value::kChoices, "PhysicalAddressKeyType", {"Home", "Business", "Other"}};
const Kind kImKey{Value::kChoices, "ImAddressKeyType", {"ImAddress1", "ImAddress2", "ImAddress3"}};
const Kind kAddressIndex{
    Value::kChoices, "PhysicalAddressIndexType", {"None", "Home", "Business", "Other"}};
const Kind kMemberStatus{
    Value::kChoices, "MemberStatusType", {"Unrecognized", "Normal", "Demoted"}};
const Kind kMailboxType{Value::kChoices,
                        "MailboxTypeType",
                        {"Unknown", "OneOff", "Mailbox", "PublicDL", "PrivateDL", "Contact",
                         "PublicFolder", "GroupMailbox", "ImplicitContact"}};
const Kind kFlagStatus{Value::kChoices, "FlagStatusType", {"NotFlagged", "Flagged", "Complete"}};
const Kind kResponse{
    Value::kChoices,
    "ResponseTypeType",
    {"Unknown", "Organizer", "Tentative", "Accept", "Decline", "NoResponseReceived"}};
const Kind kTarget{Value::kChoices, "TransitionTargetKindType", {"Period", "Group"}};
const Kind kDays{Value::kChoiceList,
                 "DaysOfWeekType",
                 {"Sunday", "Monday", "Tuesday", "Wednesday", "Thursday", "Friday", "Saturday",
                  "Day", "Weekday", "WeekendDay"}};

Type MayBeEmpty(Type type) {
  type.mayBeEmpty = true;
  return type;
}
// A list of one element.
Type ListOf(std::string_view name, std::string_view of) {
  return Of(Order::kAnyOf, Space::kTypes, {{name, of, kOptional, kMany}});
}

void AddCommonFields(TypeTable& types) {
  types["Item"] = Of(Order::kSequence, Space::kTypes,
                     {{"MimeContent", "MimeContent"},
                      {"ItemId", "ReadOnly"},
                      {"ParentFolderId", "ReadOnly"},
                      {"ItemClass", "String"},
                      {"Subject", "String"},
                      {"Sensitivity", "Sensitivity"},
                      {"Body", "Body"},
                      {"Attachments", "Attachments"},
                      {"DateTimeReceived", "DateTime"},
                      {"Size", "ReadOnly"},
                      {"Categories", "Strings"},
                      {"Importance", "Importance"},
                      {"InReplyTo", "String"},
                      {"IsSubmitted", "ReadOnly"},
                      {"IsDraft", "ReadOnly"},
                      {"IsFromMe", "ReadOnly"},
                      {"IsResend", "ReadOnly"},
                      {"IsUnmodified", "ReadOnly"},
                      {"InternetMessageHeaders", "ReadOnly"},
                      {"DateTimeSent", "DateTime"},
                      {"DateTimeCreated", "ReadOnly"},
                      {"ResponseObjects", "ReadOnly"},
                      {"ReminderDueBy", "DateTime"},
                      {"ReminderIsSet", "Boolean"},
                      {"ReminderNextTime", "ReadOnly"},
                      {"ReminderMinutesBeforeStart", "Minutes"},
                      {"DisplayCc", "ReadOnly"},
                      {"DisplayTo", "ReadOnly"},
                      {"DisplayBcc", "ReadOnly"},
                      {"HasAttachments", "ReadOnly"},
                      {"ExtendedProperty", "ExtendedProperty", kOptional, kMany},
                      {"Culture", "String"},
                      {"EffectiveRights", "ReadOnly"},
                      {"LastModifiedName", "ReadOnly"},
                      {"LastModifiedTime", "ReadOnly"},
                      {"IsAssociated", "ReadOnly"},
                      {"WebClientReadFormQueryString", "ReadOnly"},
                      {"WebClientEditFormQueryString", "ReadOnly"},
                      {"ConversationId", "ReadOnly"},
                      {"UniqueBody", "ReadOnly"},
                      {"Flag", "Flag"},
                      {"StoreEntryId", "ReadOnly"},
                      {"InstanceKey", "ReadOnly"},
                      {"NormalizedBody", "ReadOnly"},
                      {"EntityExtractionResult", "ReadOnly"},
                      {"PolicyTag", "RetentionTag"},
                      {"ArchiveTag", "RetentionTag"},
                      {"RetentionDate", "DateTime"},
                      {"Preview", "ReadOnly"},
                      {"RightsManagementLicenseData", "ReadOnly"},
                      {"PredictedActionReasons", "ReadOnly"},
                      {"IsClutter", "ReadOnly"},
                      {"BlockStatus", "ReadOnly"},
                      {"HasBlockedImages", "ReadOnly"},
                      {"TextBody", "ReadOnly"},
                      {"IconIndex", "ReadOnly"},
                      {"SearchKey", "ReadOnly"},
                      {"SortKey", "ReadOnly"},
                      {"Hashtags", "ReadOnly"},
                      {"Mentions", "ReadOnly"},
                      {"MentionedMe", "ReadOnly"},
                      {"MentionsPreview", "ReadOnly"},
                      {"MentionsEx", "ReadOnly"},
                      {"AppliedHashtags", "ReadOnly"},
                      {"AppliedHashtagsPreview", "ReadOnly"},
                      {"Likes", "ReadOnly"},
                      {"LikesPreview", "ReadOnly"},
                      {"PendingSocialActivityTagIds", "ReadOnly"},
                      {"AtAllMention", "ReadOnly"},
                      {"CanDelete", "ReadOnly"},
                      {"InferenceClassification", "ReadOnly"}});
}

void AddMessage(TypeTable& types) {
  types["Message"] = Of(Order::kSequence, Space::kTypes,
                        {{"Sender", "SingleRecipient"},
                         {"ToRecipients", "Recipients"},
                         {"CcRecipients", "Recipients"},
                         {"BccRecipients", "Recipients"},
                         {"IsReadReceiptRequested", "Boolean"},
                         {"IsDeliveryReceiptRequested", "Boolean"},
                         {"ConversationIndex", "Binary"},
                         {"ConversationTopic", "String"},
                         {"From", "SingleRecipient"},
                         {"InternetMessageId", "String"},
                         {"IsRead", "Boolean"},
                         {"IsResponseRequested", "Boolean"},
                         {"References", "String"},
                         {"ReplyTo", "Recipients"},
                         {"ReceivedBy", "SingleRecipient"},
                         {"ReceivedRepresenting", "SingleRecipient"},
                         {"ApprovalRequestData", "ReadOnly"},
                         {"VotingInformation", "ReadOnly"},
                         {"ReminderMessageData", "ReadOnly"},
                         {"MessageSafety", "ReadOnly"},
                         {"SenderSMTPAddress", "ReadOnly"},
                         {"MailboxGuids", "ReadOnly"},
                         {"PublishedCalendarItemIcs", "ReadOnly"},
                         {"PublishedCalendarItemName", "ReadOnly"}},
                        {}, "Item");
}

void AddCalendarItem(TypeTable& types) {
  types["CalendarItem"] = Of(Order::kSequence, Space::kTypes,
                             {{"UID", "String"},
                              {"RecurrenceId", "ReadOnly"},
                              {"DateTimeStamp", "ReadOnly"},
                              {"Start", "DateTime"},
                              {"End", "DateTime"},
                              {"OriginalStart", "ReadOnly"},
                              {"IsAllDayEvent", "Boolean"},
                              {"LegacyFreeBusyStatus", "FreeBusy"},
                              {"Location", "String"},
                              {"When", "ReadOnly"},
                              {"IsMeeting", "ReadOnly"},
                              {"IsCancelled", "ReadOnly"},
                              {"IsRecurring", "ReadOnly"},
                              {"MeetingRequestWasSent", "ReadOnly"},
                              {"IsResponseRequested", "Boolean"},
                              {"CalendarItemType", "ReadOnly"},
                              {"MyResponseType", "ReadOnly"},
                              {"Organizer", "ReadOnly"},
                              {"RequiredAttendees", "Attendees"},
                              {"OptionalAttendees", "Attendees"},
                              {"Resources", "Attendees"},
                              {"InboxReminders", "ReadOnly"},
                              {"ConflictingMeetingCount", "ReadOnly"},
                              {"AdjacentMeetingCount", "ReadOnly"},
                              {"ConflictingMeetings", "ReadOnly"},
                              {"AdjacentMeetings", "ReadOnly"},
                              {"Duration", "ReadOnly"},
                              {"TimeZone", "ReadOnly"},
                              {"AppointmentReplyTime", "ReadOnly"},
                              {"AppointmentSequenceNumber", "ReadOnly"},
                              {"AppointmentState", "ReadOnly"},
                              {"Recurrence", "Recurrence"},
                              {"FirstOccurrence", "ReadOnly"},
                              {"LastOccurrence", "ReadOnly"},
                              {"ModifiedOccurrences", "ReadOnly"},
                              {"DeletedOccurrences", "ReadOnly"},
                              {"MeetingTimeZone", "ReadOnly"},
                              {"StartTimeZone", "TimeZone"},
                              {"EndTimeZone", "TimeZone"},
                              {"ConferenceType", "Int"},
                              {"AllowNewTimeProposal", "Boolean"},
                              {"IsOnlineMeeting", "Boolean"},
                              {"MeetingWorkspaceUrl", "String"},
                              {"NetShowUrl", "String"},
                              {"EnhancedLocation", "ReadOnly"},
                              {"StartWallClock", "ReadOnly"},
                              {"EndWallClock", "ReadOnly"},
                              {"StartTimeZoneId", "String"},
                              {"EndTimeZoneId", "String"},
                              {"IntendedFreeBusyStatus", "ReadOnly"},
                              {"JoinOnlineMeetingUrl", "ReadOnly"},
                              {"OnlineMeetingSettings", "ReadOnly"},
                              {"IsOrganizer", "ReadOnly"},
                              {"CalendarActivityData", "ReadOnly"},
                              {"DoNotForwardMeeting", "Boolean"}},
                             {}, "Item");
}

void AddContact(TypeTable& types) {
  types["Contact"] = Of(Order::kSequence, Space::kTypes,
                        {{"FileAs", "String"},
                         {"FileAsMapping", "FileAsMapping"},
                         {"DisplayName", "String"},
                         {"GivenName", "String"},
                         {"Initials", "String"},
                         {"MiddleName", "String"},
                         {"Nickname", "String"},
                         {"CompleteName", "ReadOnly"},
                         {"CompanyName", "String"},
                         {"EmailAddresses", "EmailEntries"},
                         {"AbchEmailAddresses", "ReadOnly"},
                         {"PhysicalAddresses", "AddressEntries"},
                         {"PhoneNumbers", "PhoneEntries"},
                         {"AssistantName", "String"},
                         {"Birthday", "DateTime"},
                         {"BusinessHomePage", "String"},
                         {"Children", "Strings"},
                         {"Companies", "Strings"},
                         {"ContactSource", "ReadOnly"},
                         {"Department", "String"},
                         {"Generation", "String"},
                         {"ImAddresses", "ImEntries"},
                         {"JobTitle", "String"},
                         {"Manager", "String"},
                         {"Mileage", "String"},
                         {"OfficeLocation", "String"},
                         {"PostalAddressIndex", "AddressIndex"},
                         {"Profession", "String"},
                         {"SpouseName", "String"},
                         {"Surname", "String"},
                         {"WeddingAnniversary", "DateTime"},
                         {"HasPicture", "ReadOnly"},
                         {"PhoneticFullName", "String"},
                         {"PhoneticFirstName", "String"},
                         {"PhoneticLastName", "String"},
                         {"Alias", "String"},
                         {"Notes", "String"},
                         {"Photo", "Binary"},
                         {"UserSMIMECertificate", "Binaries"},
                         {"MSExchangeCertificate", "Binaries"},
                         {"DirectoryId", "String"},
                         {"ManagerMailbox", "SingleRecipient"},
                         {"DirectReports", "Recipients"},
                         {"AccountName", "String"},
                         {"IsAutoUpdateDisabled", "Boolean"},
                         {"IsMessengerEnabled", "Boolean"},
                         {"Comment", "String"},
                         {"ContactShortId", "Int"},
                         {"ContactType", "String"},
                         {"Gender", "String"},
                         {"IsHidden", "Boolean"},
                         {"ObjectId", "String"},
                         {"PassportId", "Long"},
                         {"IsPrivate", "Boolean"},
                         {"SourceId", "String"},
                         {"TrustLevel", "Int"},
                         {"CreatedBy", "String"},
                         {"Urls", "ReadOnly"},
                         {"Cid", "Long"},
                         {"SkypeAuthCertificate", "String"},
                         {"SkypeContext", "String"},
                         {"SkypeId", "String"},
                         {"SkypeRelationship", "String"},
                         {"YomiNickname", "String"},
                         {"XboxLiveTag", "String"},
                         {"InviteFree", "Boolean"},
                         {"HidePresenceAndProfile", "Boolean"},
                         {"IsPendingOutbound", "Boolean"},
                         {"SupportGroupFeeds", "Boolean"},
                         {"UserTileHash", "String"},
                         {"UnifiedInbox", "Boolean"},
                         {"Mris", "Strings"},
                         {"Wlid", "String"},
                         {"AbchContactId", "Guid"},
                         {"NotInBirthdayCalendar", "Boolean"},
                         {"ShellContactType", "String"},
                         {"ImMri", "String"},
                         {"PresenceTrustLevel", "Int"},
                         {"OtherMri", "String"},
                         {"ProfileLastChanged", "String"},
                         {"MobileIMEnabled", "Boolean"},
                         {"PartnerNetworkProfilePhotoUrl", "String"},
                         {"PartnerNetworkThumbnailPhotoUrl", "String"},
                         {"PersonId", "String"},
                         {"ConversationGuid", "Guid"}},
                        {}, "Item");
}

void AddDistributionList(TypeTable& types) {
  types["DistributionList"] = Of(Order::kSequence, Space::kTypes,
                                 {{"DisplayName", "String"},
                                  {"FileAs", "String"},
                                  {"ContactSource", "ReadOnly"},
                                  {"Members", "Members"}},
                                 {}, "Item");
}

void AddTask(TypeTable& types) {
  types["Task"] = Of(Order::kSequence, Space::kTypes,
                     {{"ActualWork", "Int"},
                      {"AssignedTime", "ReadOnly"},
                      {"BillingInformation", "String"},
                      {"ChangeCount", "ReadOnly"},
                      {"Companies", "Strings"},
                      {"CompleteDate", "DateTime"},
                      {"Contacts", "Strings"},
                      {"DelegationState", "ReadOnly"},
                      {"Delegator", "ReadOnly"},
                      {"DueDate", "DateTime"},
                      {"IsAssignmentEditable", "ReadOnly"},
                      {"IsComplete", "ReadOnly"},
                      {"IsRecurring", "ReadOnly"},
                      {"IsTeamTask", "ReadOnly"},
                      {"Mileage", "String"},
                      {"Owner", "String"},
                      {"PercentComplete", "Double"},
                      {"Recurrence", "TaskRecurrence"},
                      {"StartDate", "DateTime"},
                      {"Status", "TaskStatus"},
                      {"StatusDescription", "String"},
                      {"TotalWork", "Int"}},
                     {}, "Item");
}

void AddValues(TypeTable& types) {
  types["ReadOnly"] = Open();
  types["Binary"] = TextOf(kBinary);
  types["Date"] = TextOf(kDate);
  types["Double"] = TextOf(kDouble);
  types["Long"] = TextOf(kLong);
  types["Guid"] = TextOf(kGuid);
  types["Minutes"] = TextOf(kInt);
  types["MimeContent"] = TextOf(kBase64, {{"CharacterSet", kOptional, &kString}});
  types["Sensitivity"] = TextOf(kSensitivity);
  types["Importance"] = TextOf(kImportance);
  types["FreeBusy"] = TextOf(kFreeBusy);
  types["TaskStatus"] = TextOf(kTaskStatus);
  types["FileAsMapping"] = TextOf(kFileAs);
  types["AddressIndex"] = TextOf(kAddressIndex);
  types["Body"] =
      TextOf(kString, {{"BodyType", kRequired, &kBodyType}, {"IsTruncated", kOptional, &kBoolean}});
  types["Strings"] = MayBeEmpty(ListOf("String", "String"));
  types["Binaries"] = MayBeEmpty(ListOf("Base64Binary", "Binary"));
  types["RetentionTag"] = TextOf(kGuid, {{"IsExplicit", kRequired, &kBoolean}});
  types["FlagStatus"] = TextOf(kFlagStatus);
  types["Flag"] = Of(Order::kSequence, Space::kTypes,
                     {{"FlagStatus", "FlagStatus", kRequired},
                      {"StartDate", "DateTime"},
                      {"DueDate", "DateTime"},
                      {"CompleteDate", "DateTime"}});
  types["ExtendedProperty"] = Of(
      Order::kSequence, Space::kTypes,
      {{"ExtendedFieldURI", "ExtendedUri", kRequired}, {"Value", "String"}, {"Values", "Values"}});
  types["Values"] = ListOf("Value", "String");
}

void AddPeople(TypeTable& types) {
  types["Recipients"] = MayBeEmpty(ListOf("Mailbox", "Mailbox"));
  types["SingleRecipient"] = Of(Order::kOneOf, Space::kTypes, {{"Mailbox", "Mailbox"}});
  types["MailboxType"] = TextOf(kMailboxType);
  types["Mailbox"] = Of(Order::kSequence, Space::kTypes,
                        {{"Name", "String"},
                         {"EmailAddress", "NonEmpty"},
                         {"RoutingType", "NonEmpty"},
                         {"MailboxType", "MailboxType"},
                         {"ItemId", "PlainId"},
                         {"OriginalDisplayName", "String"}});
  types["Attendees"] = ListOf("Attendee", "Attendee");
  types["Response"] = TextOf(kResponse);
  types["Attendee"] = Of(Order::kSequence, Space::kTypes,
                         {{"Mailbox", "Mailbox", kRequired},
                          {"ResponseType", "Response"},
                          {"LastResponseTime", "DateTime"},
                          {"ProposedStart", "DateTime"},
                          {"ProposedEnd", "DateTime"}});
  types["Members"] = MayBeEmpty(ListOf("Member", "Member"));
  types["MemberStatus"] = TextOf(kMemberStatus);
  types["Member"] =
      Of(Order::kSequence, Space::kTypes, {{"Mailbox", "Mailbox"}, {"Status", "MemberStatus"}},
         {{"Key", kOptional, &kString}});
}

void AddDictionaries(TypeTable& types) {
  types["EmailEntries"] = ListOf("Entry", "EmailEntry");
  types["PhoneEntries"] = ListOf("Entry", "PhoneEntry");
  types["ImEntries"] = ListOf("Entry", "ImEntry");
  types["AddressEntries"] = ListOf("Entry", "AddressEntry");
  types["EmailEntry"] = TextOf(kString, {{"Key", kRequired, &kEmailKey},
                                         {"Name", kOptional, &kString},
                                         {"RoutingType", kOptional, &kString},
                                         {"MailboxType", kOptional, &kMailboxType}});
  types["PhoneEntry"] = TextOf(kString, {{"Key", kRequired, &kPhoneKey}});
  types["ImEntry"] = TextOf(kString, {{"Key", kRequired, &kImKey}});
  types["AddressEntry"] = Of(Order::kSequence, Space::kTypes,
                             {{"Street", "String"},
                              {"City", "String"},
                              {"State", "String"},
                              {"CountryOrRegion", "String"},
                              {"PostalCode", "String"}},
                             {{"Key", kRequired, &kAddressKey}});
}

void AddRecurrences(TypeTable& types) {
  std::vector<ChildRule> patterns = {{"RelativeYearlyRecurrence", "RelativeYearly"},
                                     {"AbsoluteYearlyRecurrence", "AbsoluteYearly"},
                                     {"RelativeMonthlyRecurrence", "RelativeMonthly"},
                                     {"AbsoluteMonthlyRecurrence", "AbsoluteMonthly"},
                                     {"WeeklyRecurrence", "Weekly"},
                                     {"DailyRecurrence", "Interval"}};
  const std::vector<ChildRule> regenerations = {{"DailyRegeneration", "Interval"},
                                                {"WeeklyRegeneration", "Interval"},
                                                {"MonthlyRegeneration", "Interval"},
                                                {"YearlyRegeneration", "Interval"}};
  const std::vector<ChildRule> ranges = {{"NoEndRecurrence", "NoEnd"},
                                         {"EndDateRecurrence", "EndDate"},
                                         {"NumberedRecurrence", "Numbered"}};
  const auto withRange = [&] {
    const std::size_t count = patterns.size();
    std::vector<ChildRule> children = patterns;
    children.insert(children.end(), ranges.begin(), ranges.end());
    return OneOfEach({count, children.size()}, Of(Order::kOneOf, Space::kTypes, children));
  };
  types["Recurrence"] = withRange();
  patterns.insert(patterns.end(), regenerations.begin(), regenerations.end());
  types["TaskRecurrence"] = withRange();
}

void AddPatterns(TypeTable& types) {
  types["Day"] = TextOf(kDay);
  types["Days"] = TextOf(kDays);
  types["DayIndex"] = TextOf(kDayIndex);
  types["Month"] = TextOf(kMonth);
  const ChildRule interval = {"Interval", "Int", kRequired};
  const ChildRule day = {"DaysOfWeek", "Day", kRequired};
  const ChildRule index = {"DayOfWeekIndex", "DayIndex", kRequired};
  const ChildRule dayOfMonth = {"DayOfMonth", "Int", kRequired};
  const ChildRule month = {"Month", "Month", kRequired};
  const ChildRule start = {"StartDate", "Date", kRequired};
  const auto sequence = [&](std::string_view name, std::vector<ChildRule> children) {
    types[name] = Of(Order::kSequence, Space::kTypes, std::move(children));
  };
  sequence("RelativeYearly", {day, index, month});
  sequence("AbsoluteYearly", {dayOfMonth, month});
  sequence("RelativeMonthly", {interval, day, index});
  sequence("AbsoluteMonthly", {interval, dayOfMonth});
  sequence("Weekly", {interval, {"DaysOfWeek", "Days", kRequired}, {"FirstDayOfWeek", "Day"}});
  sequence("Interval", {interval});
  sequence("NoEnd", {start});
  sequence("EndDate", {start, {"EndDate", "Date", kRequired}});
  sequence("Numbered", {start, {"NumberOfOccurrences", "Int", kRequired}});
}

void AddTimeZones(TypeTable& types) {
  types["TimeZone"] = Of(Order::kSequence, Space::kTypes,
                         {{"Periods", "Periods"},
                          {"TransitionsGroups", "TransitionsGroups"},
                          {"Transitions", "Transitions"}},
                         {{"Id", kOptional, &kString}, {"Name", kOptional, &kString}});
  types["Periods"] = ListOf("Period", "Period");
  types["Period"] = Of(
      Order::kSequence, Space::kTypes, {},
      {{"Bias", kRequired, &kString}, {"Name", kRequired, &kString}, {"Id", kRequired, &kString}});
  types["TransitionsGroups"] = ListOf("TransitionsGroup", "Transitions");
  types["Transitions"] = Of(Order::kAnyOf, Space::kTypes,
                            {{"Transition", "Transition", kOptional, kMany},
                             {"AbsoluteDateTransition", "DateTransition", kOptional, kMany},
                             {"RecurringDayTransition", "DayTransition", kOptional, kMany},
                             {"RecurringDateTransition", "RecurringTransition", kOptional, kMany}},
                            {{"Id", kOptional, &kString}});
  types["Target"] = TextOf(kString, {{"Kind", kRequired, &kTarget}});
  const ChildRule to = {"To", "Target", kRequired};
  const ChildRule offset = {"TimeOffset", "String", kRequired};
  const ChildRule month = {"Month", "Int", kRequired};
  types["Transition"] = Of(Order::kSequence, Space::kTypes, {to});
  types["DateTransition"] =
      Of(Order::kSequence, Space::kTypes, {to, {"DateTime", "DateTime", kRequired}});
  types["DayTransition"] =
      Of(Order::kSequence, Space::kTypes,
         {to, offset, month, {"DayOfWeek", "Day", kRequired}, {"Occurrence", "Int", kRequired}});
  types["RecurringTransition"] =
      Of(Order::kSequence, Space::kTypes, {to, offset, month, {"Day", "Int", kRequired}});
}

void AddAttachments(TypeTable& types) {
  const std::vector<ChildRule> common = {{"AttachmentId", "RequestId"},
                                         {"Name", "String"},
                                         {"ContentType", "String"},
                                         {"ContentId", "String"},
                                         {"ContentLocation", "String"},
                                         {"AttachmentOriginalUrl", "String"},
                                         {"Size", "Int"},
                                         {"LastModifiedTime", "DateTime"},
                                         {"IsInline", "Boolean"}};
  std::vector<ChildRule> file = common;
  file.insert(file.end(), {{"IsContactPhoto", "Boolean"}, {"Content", "Base64"}});
  std::vector<ChildRule> item = common;
  item.insert(item.end(), {{"Item", "Item"},
                           {"Message", "Message"},
                           {"CalendarItem", "CalendarItem"},
                           {"Contact", "Contact"},
                           {"Task", "Task"}});
  types["FileAttachment"] = Of(Order::kSequence, Space::kTypes, std::move(file));
  types["ItemAttachment"] = Of(Order::kSequence, Space::kTypes, std::move(item));
  types["Attachments"] = Of(Order::kAnyOf, Space::kTypes,
                            {{"FileAttachment", "FileAttachment", kOptional, kMany},
                             {"ItemAttachment", "ItemAttachment", kOptional, kMany}});
}

}  // namespace

void AddItemTypes(TypeTable& types) {
  types["Items"] = Of(Order::kAnyOf, Space::kTypes,
                      {{"Message", "Message", kOptional, kMany},
                       {"CalendarItem", "CalendarItem", kOptional, kMany},
                       {"Contact", "Contact", kOptional, kMany},
                       {"DistributionList", "DistributionList", kOptional, kMany},
                       {"Task", "Task", kOptional, kMany}});
  AddCommonFields(types);
  AddMessage(types);
  AddCalendarItem(types);
  AddContact(types);
  AddDistributionList(types);
  AddTask(types);
  AddValues(types);
  AddPeople(types);
  AddDictionaries(types);
  AddRecurrences(types);
  AddPatterns(types);
  AddTimeZones(types);
  AddAttachments(types);
}

}  // namespace mailbox::schema
