#pragma once

#include <optional>
#include <string_view>

#include "ews/FolderId.h"
#include "platform/CString.h"

// Facts about folder names. Those of the source are compared exactly, case included.

// The display name in the target for the name of a source's system folder; any other name stays.
std::u16string_view TargetFolderName(std::u16string_view strSourceName);

// The class of a level that is not the last. "IPF.Jornal" (sic) is told to nobody.
std::u16string_view FolderClassByName(std::u16string_view strSourceName);

// The class of the last level: three names in any case, then the number of the folder's type.
std::u16string_view FolderClassByNameAndType(std::u16string_view strName, int nType);

// Programs show a folder of that class as a calendar, as people, tasks, notes or a journal, and no
// mail in it.
bool ShowsNoMail(std::u16string_view strClass);
// With the safe switch, mail whose path leads through such a folder goes to this path behind it.
inline constexpr std::u16string_view kMailElsewhere = u"Inbox\\";

// A folder that mailboxes have at their root.
struct OwnFolderName {
  ews::WellKnownFolderName eFolder;
  bool bEverywhere;  // every mailbox has it, and every server knows it by that name
};
// With the safe switch, the one that Exchange calls so in English, in any case, whatever the
// mailbox calls it; nothing for any other name or parent. Makes no request.
std::optional<OwnFolderName> OwnFolder(std::u16string_view strName, const ews::FolderId& objParent);

inline constexpr std::u16string_view kClassAppointment = u"IPF.Appointment";
inline constexpr std::u16string_view kClassTask = u"IPF.Task";
inline constexpr std::u16string_view kClassContact = u"IPF.Contact";
inline constexpr std::u16string_view kClassNote = u"IPF.Note";
