#include "ews/FolderNameTable.h"

#include <algorithm>
#include <array>

#include "ews/Settings.h"
#include "platform/Unicode.h"

namespace {

struct NamePair {
  std::u16string_view strName;
  std::u16string_view strMeans;
};

constexpr std::array<NamePair, 12> kTargetNames{{
    {u"($Inbox)", u"Inbox"},
    {u"($All)", u"All"},
    {u"($Sent)", u"Sent"},
    {u"($Trash)", u"Trash"},
    {u"My Contacts", u"My Contacts"},
    {u"($Alarms)", u"Alarms"},
    {u"($JunkMail)", u"Junk Mails"},
    {u"($Drafts)", u"Drafts"},
    {u"($Meetings)", u"Calendar"},
    {u"($ToDo)", u"To Do"},
    {u"($Journal)", u"Journals"},
    {u"($Follow-Up)", u"Follow Up"},
}};

constexpr std::array<NamePair, 11> kClassesByName{{
    {u"By Diary Date", u"IPF.Jornal"},  // sic
    {u"($Inbox)", kClassNote},
    {u"($Sent)", kClassNote},
    {u"($Trash)", kClassNote},
    {u"Contacts", kClassContact},
    {u"($Alarms)", kClassAppointment},
    {u"($Calendar)", kClassAppointment},
    {u"($Meetings)", kClassAppointment},
    {u"($JunkMail)", kClassNote},
    {u"($Drafts)", kClassNote},
    {u"($ToDo)", kClassTask},
}};

constexpr std::array<NamePair, 3> kClassesByUpperName{{
    {u"CONTACTS", kClassContact},
    {u"TASKS", kClassTask},
    {u"CALENDAR", kClassAppointment},
}};

struct TypeClass {
  int nType;
  std::u16string_view strClass;
};

constexpr std::array<TypeClass, 7> kClassesByType{{
    {2, kClassTask},
    {7, kClassTask},
    {13, kClassTask},
    {4, kClassAppointment},
    {6, kClassAppointment},
    {3, kClassContact},
    {14, kClassContact},
}};

// They may go on: "IPF.Contact.RecipientCache".
constexpr std::array<std::u16string_view, 5> kClassesWithoutMail{
    kClassAppointment, kClassContact, kClassTask, u"IPF.StickyNote", u"IPF.Journal"};

struct OwnName {
  std::u16string_view strName;
  ews::WellKnownFolderName eFolder;
  ews::WellKnownFolderName eParent = ews::WellKnownFolderName::MsgFolderRoot;
  bool bEverywhere = true;
};

constexpr std::array<OwnName, 15> kOwnNames{{
    {u"Inbox", ews::WellKnownFolderName::Inbox},
    {u"Sent Items", ews::WellKnownFolderName::SentItems},
    {u"Drafts", ews::WellKnownFolderName::Drafts},
    {u"Deleted Items", ews::WellKnownFolderName::DeletedItems},
    {u"Junk E-mail", ews::WellKnownFolderName::JunkEmail},
    {u"Junk Email", ews::WellKnownFolderName::JunkEmail},
    {u"Outbox", ews::WellKnownFolderName::Outbox},
    {u"Calendar", ews::WellKnownFolderName::Calendar},
    {u"Contacts", ews::WellKnownFolderName::Contacts},
    {u"Tasks", ews::WellKnownFolderName::Tasks},
    {u"Notes", ews::WellKnownFolderName::Notes},
    {u"Journal", ews::WellKnownFolderName::Journal},
    {u"Archive", ews::WellKnownFolderName::Archive, ews::WellKnownFolderName::MsgFolderRoot, false},
    {u"Inbox", ews::WellKnownFolderName::ArchiveInbox,
     ews::WellKnownFolderName::ArchiveMsgFolderRoot, false},
    {u"Deleted Items", ews::WellKnownFolderName::ArchiveDeletedItems,
     ews::WellKnownFolderName::ArchiveMsgFolderRoot, false},
}};

template <size_t kCount>
std::u16string_view Look(const std::array<NamePair, kCount>& arrTable, std::u16string_view strName,
                         std::u16string_view strOtherwise) {
  const auto it = std::find_if(arrTable.begin(), arrTable.end(),
                               [&](const NamePair& objRow) { return objRow.strName == strName; });
  return it == arrTable.end() ? strOtherwise : it->strMeans;
}

}  // namespace

std::u16string_view TargetFolderName(std::u16string_view strSourceName) {
  return Look(kTargetNames, strSourceName, strSourceName);
}

std::u16string_view FolderClassByName(std::u16string_view strSourceName) {
  return Look(kClassesByName, strSourceName, kClassNote);
}

std::u16string_view FolderClassByNameAndType(std::u16string_view strName, int nType) {
  const auto strByName = Look(kClassesByUpperName, platform::UpperUnits(strName), {});
  if (!strByName.empty()) return strByName;
  const auto it = std::find_if(kClassesByType.begin(), kClassesByType.end(),
                               [&](const TypeClass& objRow) { return objRow.nType == nType; });
  return it == kClassesByType.end() ? kClassNote : it->strClass;
}

bool ShowsNoMail(std::u16string_view strClass) {
  return std::ranges::any_of(kClassesWithoutMail, [&](std::u16string_view strOther) {
    const auto strRest = strClass.substr(std::min(strOther.size(), strClass.size()));
    return platform::EqualNoCase(strClass.substr(0, strOther.size()), strOther) &&
           (strRest.empty() || strRest.front() == u'.');
  });
}

std::optional<OwnFolderName> OwnFolder(std::u16string_view strName,
                                       const ews::FolderId& objParent) {
  if (!ews::Settings().bSafe) return std::nullopt;
  const auto it = std::find_if(kOwnNames.begin(), kOwnNames.end(), [&](const OwnName& objRow) {
    return objParent.FolderName() == objRow.eParent &&
           platform::EqualNoCase(objRow.strName, strName);
  });
  if (it == kOwnNames.end()) return std::nullopt;
  return OwnFolderName{it->eFolder, it->bEverywhere};
}
