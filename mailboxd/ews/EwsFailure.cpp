#include "mailboxd/ews/EwsFailure.h"

#include <algorithm>
#include <array>

namespace mailbox {
namespace {

struct CodeText {
  std::string_view code;
  std::string_view text;
};
constexpr auto kTexts = std::to_array<CodeText>({
    {"ErrorAccessDenied", "Access is denied. Check credentials and try again."},
    {"ErrorAffectedTaskOccurrencesRequired",
     "The AffectedTaskOccurrences attribute is required for tasks."},
    {"ErrorArchiveMailboxNotEnabled", "Archive mailbox not enabled."},
    {"ErrorAttachmentNestLevelLimitExceeded", "Attached items are nested too deeply."},
    {"ErrorCalendarCannotMoveOrCopyOccurrence", "An occurrence stays where its series is."},
    {"ErrorCalendarCannotUseIdForOccurrenceId", "The id is no id of a series."},
    {"ErrorCalendarEndDateIsEarlierThanStartDate", "EndDate is earlier than StartDate."},
    {"ErrorCalendarFolderIsInvalidForCalendarView",
     "A calendar view is of a folder of a calendar alone."},
    {"ErrorCalendarInvalidRecurrence", "The recurrence is invalid."},
    {"ErrorCalendarOccurrenceIndexIsOutOfRecurrenceRange",
     "Occurrence with this index is out of recurrence range."},
    {"ErrorCalendarOccurrenceIsDeletedFromRecurrence",
     "Occurrence with this index was previously deleted from the recurrence."},
    {"ErrorCalendarViewRangeTooBig",
     "The specified view range exceeds the maximum range of two years."},
    {"ErrorCannotCreateCalendarItemInNonCalendarFolder",
     "Cannot create a calendar item in a non-calendar folder."},
    {"ErrorCannotCreateContactInNonContactFolder",
     "Cannot create a contact in a non-contact Folder."},
    {"ErrorCannotCreateTaskInNonTaskFolder", "Cannot create a task in a non-task Folder."},
    {"ErrorChangeKeyRequiredForWriteOperations", "A change key is required for this operation."},
    {"ErrorConnectionFailed", "Connection failed. Try again later."},
    {"ErrorCrossMailboxMoveCopy", "Items cannot be moved to another mailbox."},
    {"ErrorDataSizeLimitExceeded", "The request asks for more than one answer may hold."},
    {"ErrorDeleteDistinguishedFolder", "Distinguished folders cannot be deleted."},
    {"ErrorFolderExists", "A folder with the specified name already exists."},
    {"ErrorFolderNotFound", "The specified folder could not be found in the store."},
    {"ErrorFolderSavePropertyError",
     "The folder save operation failed due to invalid property values."},
    {"ErrorIncorrectUpdatePropertyCount",
     "An object within a change description must contain one and only one property to modify."},
    {"ErrorInternalServerError", "An internal server error occurred. The operation failed."},
    {"ErrorInternalServerTransientError", "An internal server error occurred. Try again later."},
    {"ErrorInvalidChangeKey", "The change key is invalid."},
    {"ErrorInvalidExcludesRestriction", "The bit mask is invalid."},
    {"ErrorInvalidIdMalformed", "Id is malformed."},
    {"ErrorInvalidItemForOperationCreateItemAttachment",
     "Only one item can be attached by one attachment."},
    {"ErrorInvalidOperation", "The operation is not valid here."},
    {"ErrorInvalidPagingMaxRows", "MaxEntriesReturned must be greater than zero."},
    {"ErrorInvalidPropertyAppend", "Append action is invalid for property."},
    {"ErrorInvalidPropertyDelete", "Delete action is invalid for property."},
    {"ErrorInvalidPropertySet", "Set action is invalid for property."},
    {"ErrorInvalidRequest", "The request is invalid."},
    {"ErrorInvalidValueForProperty", "The specified value is invalid for property."},
    {"ErrorIrresolvableConflict",
     "The send or update operation could not be performed because the change key passed in the "
     "request does not match the current change key for the item."},
    {"ErrorItemNotFound", "The specified object was not found in the store."},
    {"ErrorItemSave", "An error occurred while the item was saved."},
    {"ErrorMailboxStoreUnavailable", "The mailbox database is temporarily unavailable."},
    {"ErrorMessageDispositionRequired",
     "The MessageDisposition attribute is required for messages."},
    {"ErrorMessageSizeExceeded", "The message exceeds the maximum supported size."},
    {"ErrorMimeContentInvalidBase64String", "The MIME content contains an invalid base64 string."},
    {"ErrorMissingItemForCreateItemAttachment", "The attachment holds no item."},
    {"ErrorNonExistentMailbox", "The SMTP address has no mailbox associated with it."},
    {"ErrorQuotaExceeded", "The mailbox has exceeded its quota."},
    {"ErrorRecurrenceHasNoOccurrence", "The recurrence has no occurrences associated with it."},
    {"ErrorRestrictionTooLong", "The restriction has too many conditions."},
    {"ErrorSendMeetingCancellationsRequired",
     "The SendMeetingCancellations attribute is required for calendar items."},
    {"ErrorSendMeetingInvitationsOrCancellationsRequired",
     "The SendMeetingInvitationsOrCancellations attribute is required for calendar items."},
    {"ErrorSendMeetingInvitationsRequired",
     "The SendMeetingInvitations attribute is required for calendar items."},
    {"ErrorServerBusy", "The server cannot service this request right now. Try again later."},
    {"ErrorTimeZone", "The time zone is not known."},
    {"ErrorTimeoutExpired", "The operation timed out."},
    {"ErrorUnsupportedPathForQuery", "The property can not be used with this type of restriction."},
    {"ErrorUpdatePropertyMismatch",
     "The property to be updated is not the one that the change description holds."},
});
static_assert(std::is_sorted(kTexts.begin(), kTexts.end(),
                             [](const CodeText& a, const CodeText& b) { return a.code < b.code; }));

const CodeText* Find(std::string_view code) {
  const auto found =
      std::lower_bound(kTexts.begin(), kTexts.end(), code,
                       [](const CodeText& row, std::string_view key) { return row.code < key; });
  return found != kTexts.end() && found->code == code ? &*found : nullptr;
}

}  // namespace

OperationError ErrorOf(std::string_view responseCode) {
  const CodeText* row = Find(responseCode);
  return OperationError(responseCode, row ? row->text : "The operation failed.");
}

SoapFault FaultOf(std::string_view responseCode) {
  return SoapFault(responseCode, ErrorOf(responseCode).text);
}

bool IsKnownCode(std::string_view responseCode) { return Find(responseCode) != nullptr; }

}  // namespace mailbox
