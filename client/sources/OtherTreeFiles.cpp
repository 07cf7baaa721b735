#include "client/sources/OtherTreeFiles.h"

#include <algorithm>
#include <array>
#include <limits>

#include <fmt/format.h>

#include "client/sources/ArchiveFiles.h"
#include "client/sources/Emlx.h"
#include "client/sources/EudoraFiles.h"
#include "client/sources/Maildir.h"
#include "client/sources/MboxBegin.h"
#include "client/sources/MboxSource.h"
#include "client/sources/ModifiedUtf7.h"
#include "client/sources/Names.h"
#include "client/sources/OtherFiles.h"
#include "client/sources/StoreBelow.h"
#include "client/sources/ThunderbirdProfile.h"

namespace client {
namespace {

constexpr std::string_view kSbd = ".sbd";
constexpr std::string_view kMbox = ".mbox";
constexpr std::string_view kMbx = ".mbx";
constexpr std::string_view kFol = ".fol";

std::string_view EndingOf(std::string_view name) {
  return name.substr(std::min(name.find('.', 1), name.size()));
}

// By its folder and number a file is one mail, whatever a program put in front of it.
bool HoldsOneMail(const std::string& path, MboxKind kind) {
  Listing mails;
  ListMbox(path, {}, kind, mails);
  return mails.items.size() < 2;
}

// It may belong to a source of another kind.
SourceProblem LeftOut(const SourceFolder& folder, const FolderEntry& entry, std::string_view head) {
  const std::string path = folder.path + "/" + entry.name;
  if (HoldsMailOfMaildir(folder.path)) {
    return {path, "it lies in a Maildir: name that as a source", /*isUnread=*/true};
  }
  if (std::string form = UnreadMailForm(path, entry.size, head); !form.empty()) {
    return {path, std::move(form), /*isUnread=*/true};
  }
  if (IsAddressBook(path)) {
    return {path, "an address book: have its program write it as a .vcf file"};
  }
  return {path, "its name does not end in .eml, .ics or .vcf"};
}

// By what is in it.
std::string ReasonOfHidden(const std::string& path, const FolderEntry& entry,
                           std::string_view head) {
  const bool isMbox = MboxSource::IsMbox(head) || FindFirstMail(head);
  const std::string form(isMbox ? "an mbox" : MailFormOf(head));
  if (!form.empty()) return "looks like " + form + " and is not read";
  try {
    return IsOfMac(entry.name) ? "" : ArchiveReason(path, entry.size, head);
  } catch (const SourceError& error) {
    return error.what();
  }
}

// Of a user, with what shells and desktops keep there.
bool IsHome(const std::string& path) {
  static constexpr auto kSigns =
      std::to_array<std::string_view>({".bash_history", ".bashrc", ".cache", ".config", ".cshrc",
                                       ".local", ".profile", ".ssh", ".zshrc"});
  return std::ranges::any_of(kSigns, [&](std::string_view name) { return HasEntry(path, name); });
}

}  // namespace

std::string OtherTreeFiles::LevelsOfFile(const std::string& name) const {
  if (const auto own = m_eudora.Of(name)) return LevelName(*own) + "\\";
  const std::string own = m_names.Of(m_folder.path, name);
  return own == name ? MboxFolder(name) : LevelName(FromModifiedUtf7(own)) + "\\";
}

std::string OtherTreeFiles::LevelsOfFolder(std::string_view name) const {
  const SourceFolder& parent = m_folder;
  if (m_isAboveAccounts) return LevelsOfAccount(parent.path, name);
  if (IsAboveAccounts(parent.path + "/" + std::string(name))) return {};
  if (const auto level = m_profiles.LevelOf(name)) return *level;
  if (parent.isInMaildir && name.starts_with('.')) return MaildirLevels(parent.path, name);
  if (name.ends_with(kSbd) && name.size() > kSbd.size()) {
    const std::string own = m_names.Of(parent.path, name.substr(0, name.size() - kSbd.size()));
    return LevelName(FromModifiedUtf7(own)) + "\\";
  }
  const bool isMbox = name.ends_with(kMbox) && name.size() > kMbox.size();
  if (isMbox || (name.find(':') != std::string_view::npos && IsAppleGroup(parent, name))) {
    std::string own(name.substr(0, name.size() - (isMbox ? kMbox.size() : 0)));
    std::ranges::replace(own, ':', '/');  // as a Mac has it on its disk
    return LevelName(own) + "\\";
  }
  if (IsAboveAppleFolders(parent, name) || IsBetweenAppleFolders(parent, name) ||
      IsAboveEvolutionFolders(parent, name)) {
    return {};
  }
  if (name.size() > kFol.size() && EndsWithNoCase(name, kFol)) {
    const std::string stem(name.substr(0, name.size() - kFol.size()));
    return LevelName(m_eudora.Of(name).value_or(stem)) + "\\";
  }
  const std::string path = parent.path + "/" + std::string(name);
  const bool isMaildir = IsMaildir(path);
  if (isMaildir && HasEntry(std::string(name) + ".msf")) {
    return LevelName(FromModifiedUtf7(m_names.Of(parent.path, name))) + "\\";
  }
  if (isMaildir && HasLevelsByDots(parent, name)) {
    return MaildirLevels(parent.path, "." + std::string(name));
  }
  const bool isKMails = name.starts_with('.') && name.ends_with(".directory");
  if (isMaildir || isKMails || parent.isInMaildir) return MaildirLevels(parent.path, name);
  const std::string own = FromModifiedUtf7(name);
  const bool isServers = own != name && (IsServers() || HoldsServersFolders(path));
  return LevelName(isServers ? own : name) + "\\";
}

bool OtherTreeFiles::IsServers() const {
  if (m_folder.isServers || m_folder.isInMaildir) return true;
  if (!m_isServers) m_isServers = HoldsServersFolders(m_folder.path);
  return *m_isServers;
}

void ListEml(const SourceItem& file, MboxKind mbox, Listing& listing) {
  try {
    if (HoldsSeveralMails(file.location, mbox)) {
      return ListMbox(file.location, file.folder, mbox, listing);
    }
  } catch (const SourceError&) {  // told when its turn comes
  }
  listing.items.Add(file);
}

bool IsFolderBesideMail(const SourceFolder& parent, std::string_view name) {
  if (IsEudoraFilesFolder(parent.path, name)) return true;
  return IsAppleMailData(parent, name) || IsAppleAttachments(parent, name) ||
         IsBesideProfiles(parent, name) || name == ".notmuch" || name == "courierimapkeywords" ||
         name == "courierimaphieracl" || name.ends_with(".mozmsgs");
}

OtherTreeFiles::OtherTreeFiles(const SourceFolder& folder, MboxKind mbox, TrueNames& names,
                               std::vector<SourceProblem>& problems)
    : m_folder(folder),
      m_mbox(mbox),
      m_names(names),
      m_profiles(folder.path),
      m_isAboveAccounts(IsAboveAccounts(folder.path)),
      m_isMh(HasEntry(".mh_sequences") || HasEntry(".claws_mark") || HasEntry(".sylpheed_mark")),
      m_eudora(TextOfFile(folder.path + "/" + EudoraNames::kFile)) {
  if (!m_isMh) return;
  const auto text = [&](const char* name) {
    return HeadOfFile(folder.path + name, kMostText, problems);
  };
  m_sequences = MhSequences(text("/.mh_sequences"));
  const std::string claws = text("/.claws_mark");
  m_marks = MhMarks(claws.empty() ? text("/.sylpheed_mark") : claws);
}

bool OtherTreeFiles::HasEntry(const std::string& name) const {
  return client::HasEntry(m_folder.path, name);
}

bool OtherTreeFiles::HasPlaceOfMbox(const std::string& name) const {
  return HasEntry(name + ".msf") || HasEntry(name + ".sbd") || HasEntry(name + ".cmeta") ||
         HasToc(name);
}

bool OtherTreeFiles::HasToc(const std::string& name) const {
  if (!EndsWithNoCase(name, kMbx)) return false;
  const std::string stem = name.substr(0, name.size() - kMbx.size());
  return HasEntry(stem + ".toc") || HasEntry(stem + ".TOC");
}

void OtherTreeFiles::TakeEml(const FolderEntry& entry, Listing& listing) const {
  const std::string path = m_folder.path + "/" + entry.name;
  ListEml({path, TargetOf(m_folder.levels), true, 0, entry.size}, m_mbox, listing);
}

// Of the mboxes in the folder, where it holds nothing else.
const std::set<std::string>& OtherTreeFiles::EndingsOfMboxes() const {
  if (m_endings) return *m_endings;
  m_endings.emplace();
  const bool hasOthers = HasName(m_folder.path, [&](std::string_view name) {
    const std::string head = HeadOfFile(m_folder.path + "/" + std::string(name), kFileHead);
    if (head.empty() || name.starts_with('.') || IsBesideMail(name)) return false;
    m_endings->emplace(EndingOf(name));
    return !MboxSource::IsMbox(head) && !FindFirstMail(head);
  });
  if (hasOthers) m_endings->clear();
  return *m_endings;
}

// An mbox without mail has an index or folders below, or lies among mboxes and is called as they
// are.
bool OtherTreeFiles::IsEmptyFolder(const std::string& name) const {
  if (HasPlaceOfMbox(name) || HasEntry(".imap/" + name)) return true;
  return !IsBesideMail(name) && EndingsOfMboxes().contains(std::string(EndingOf(name)));
}

void OtherTreeFiles::Take(const FolderEntry& entry, Listing& listing) const {
  const std::string path = m_folder.path + "/" + entry.name;
  if (IsCopyOfMail(entry.name)) return NameCopy(entry, listing);
  if (IsEmlxName(entry.name)) return TakeEmlx(path, entry, listing);
  const bool isExport = entry.name == "mbox" && m_folder.path.ends_with(kMbox);
  const std::string levels = m_folder.levels + (isExport ? "" : LevelsOfFile(entry.name));
  if (entry.size == 0) {
    if (m_isMh && TakeMh(path, entry, {}, listing)) return;  // it fails as any empty mail does
    if (isExport || IsEmptyFolder(entry.name)) listing.folders.push_back(levels);
    return;
  }
  try {  // one that cannot be read may be full of mail
    const std::string head = ReadFileRange(path, 0, kFileHead);
    if (TakeMh(path, entry, head, listing)) return;
    if (MboxSource::IsMbox(head)) return ListMbox(path, TargetOf(levels), m_mbox, listing);
    const bool isPlaceOfMbox = isExport || IsCalledAsMail(entry.name) || HasPlaceOfMbox(entry.name);
    if (const auto begin = BeginOfMails(path, head, isPlaceOfMbox)) {
      return ListMbox(path, TargetOf(levels), m_mbox, listing, *begin);
    }
    // A folder of mail may have the name of such a file.
    const bool isBeside = IsBesideMail(entry.name) && !IsAddressBook(entry.name);
    if (isBeside && !isPlaceOfMbox && MailFormOf(head).empty() &&
        ArchiveReason(path, entry.size, head).empty()) {
      return;
    }
    SourceProblem problem = LeftOut(m_folder, entry, head);
    if (isPlaceOfMbox && !problem.isUnread) {
      problem = {path, "it lies where its program keeps mail, and none can be told in it",
                 /*isUnread=*/true};
    } else if (!problem.isUnread && IsTextOfMails(path, head)) {
      problem = {path, "mails stand in it as in an mbox: call it NAME.mbox to have them read",
                 /*isUnread=*/true};
    } else if (!problem.isUnread && head.find_first_not_of('\0') == std::string::npos) {
      problem = {path, "it begins with NULs, as a crash leaves a file: mail may have been in it",
                 /*isUnread=*/true};
    }
    listing.problems.push_back(std::move(problem));
  } catch (const SourceError& error) {
    listing.problems.push_back({path, error.what(), /*isUnread=*/true});
  }
}

// Most are what systems leave in folders; what a program writes beside an mbox until it is whole
// has such names, too.
void OtherTreeFiles::TakeHidden(const FolderEntry& entry, Listing& listing) const {
  const std::string path = m_folder.path + "/" + entry.name;
  std::string reason;
  try {
    reason = ReasonOfHidden(path, entry, ReadFileRange(path, 0, kFileHead));
  } catch (const ReadError& error) {
    if (MayBeHiddenMail(entry)) reason = error.what();
  }
  if (reason.empty()) return;
  listing.problems.push_back({path, "it is hidden, " + reason, /*isUnread=*/true});
}

// Of one that nobody can look into its name and its place must say it, as they would if it could be
// read: most hidden files, those of a home above all, are what programs keep for themselves, and a
// run is whole without them.
bool OtherTreeFiles::MayBeHiddenMail(const FolderEntry& entry) const {
  const std::string path = m_folder.path + "/" + entry.name;
  if (entry.size == 0 || IsOfMac(entry.name) || IsHiddenBesideMail(entry.name)) return false;
  if (IsCalledAsMail(entry.name) || IsCalledAsArchive(entry.name)) return IsThere(path);
  return HoldsMail() && !IsHome(m_folder.path) && IsThere(path);
}

bool OtherTreeFiles::HoldsMail() const {
  if (m_isMh || m_folder.isInMaildir) return true;
  if (m_holdsMail) return *m_holdsMail;
  m_holdsMail = HasName(m_folder.path, [&](std::string_view name) {
    return IsMailByLook(m_folder.path + "/" + std::string(name));
  });
  return *m_holdsMail;
}

void OtherTreeFiles::TakeEmlx(const std::string& path, const FolderEntry& entry,
                              Listing& listing) const {
  SourceItem item{path, TargetOf(m_folder.levels), true, 0, entry.size};
  try {
    const OpenedFile file = OpenSourceFile(path, Links::kFollow);
    if (const auto place = EmlxPlaceIn(file)) {
      if (place->offset + place->length > file.size) {
        listing.problems.push_back(
            {path,
             fmt::format("the mail is cut: {} of its {} bytes are there",
                         file.size - std::min(file.size, place->offset), place->length),
             /*isUnread=*/true});
      }
      const EmlxState found =
          ReadEmlxState(ReadRange(file, place->offset + place->length, 16 * kFileHead));
      item.read = found.read;
      item.state = found.state;
    }
  } catch (const SourceError&) {  // told when its turn comes
  }
  listing.items.Add(item);
}

// Where a program broke off while it wrote one, the copy may be all that is left.
void OtherTreeFiles::NameCopy(const FolderEntry& entry, Listing& listing) const {
  const std::string path = m_folder.path + "/" + entry.name;
  try {
    const std::string head = ReadFileRange(path, 0, kFileHead);
    if (!MboxSource::IsMbox(head) && !FindFirstMail(head)) return;
  } catch (const ReadError& error) {
    if (!IsCopyOfMbox(entry.name) || !IsThere(path)) return;
    return listing.problems.push_back({path, error.what(), /*isUnread=*/true});
  }
  listing.problems.push_back(
      {path,
       "its program made it of mails that lie elsewhere: name it as a source "
       "if it is all that is left of them",
       /*isUnread=*/true});
}

// A removed one has a comma in front of its number.
bool OtherTreeFiles::TakeMh(const std::string& path, const FolderEntry& entry,
                            std::string_view head, Listing& listing) const {
  const bool isRemoved = m_isMh && (entry.name.starts_with(',') || entry.name.starts_with('#'));
  const auto number = MhNumber(std::string_view(entry.name).substr(isRemoved ? 1 : 0));
  if (!number || (MboxSource::IsMbox(head) && !(m_isMh && HoldsOneMail(path, m_mbox))))
    return false;
  if (!m_isMh && !LooksLikeField(WithoutRelayTrace(head))) return false;
  const auto has = [&](const char* sequence, MhMarks::Flag mark) {
    return m_sequences.Has(sequence, *number) || m_marks.Has(*number, mark);
  };
  const bool isUnread = m_sequences.Has("unseen", *number) || m_marks.IsUnread(*number);
  SourceItem item{path, TargetOf(m_folder.levels), !isUnread, 0, entry.size};
  item.state.answered = has("replied", MhMarks::kReplied);
  item.state.flagged = has("flagged", MhMarks::kMarked);
  item.state.forwarded = has("forwarded", MhMarks::kForwarded);
  item.state.deleted = isRemoved || m_marks.Has(*number, MhMarks::kDeleted);
  listing.items.Add(item);
  return true;
}

std::string ReadTreeMail(const SourceItem& item, MboxKind mbox, MovedMail& moved) {
  if (!item.file.empty()) return ReadMboxItem(item, mbox);
  if (!IsEmlxName(item.location)) return moved.Read(item.location);
  const OpenedFile file = OpenSourceFile(item.location, Links::kFollow);
  const auto place = EmlxPlaceIn(file);
  if (!place) throw SourceError("does not begin with the number of its bytes");
  std::string mail = ReadRange(file, place->offset, place->length);
  RequireMail(mail);
  return mail;
}

}  // namespace client
