#pragma once

#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "client/sources/FolderNames.h"
#include "client/sources/FolderWalk.h"
#include "client/sources/HashedName.h"
#include "client/sources/MailProfiles.h"
#include "client/sources/MhMarks.h"
#include "client/sources/MhSequences.h"
#include "client/sources/MovedMail.h"
#include "client/sources/SourceFiles.h"

// What the folders and files of a tree mean to the program that made it.
namespace client {

// A folder in which programs keep what is no mail of its own.
bool IsFolderBesideMail(const SourceFolder& parent, std::string_view name);

// Adds a file that is called .eml: a mail; or the mails of an mbox with that name, where it lies.
void ListEml(const SourceItem& file, MboxKind mbox, Listing& listing);

// Adds what a file holds that is no calendar or cards: a mail, an mbox, a mail of MH or Apple Mail;
// or the problem that it may be mail and is not read.
class OtherTreeFiles {
 public:
  // Of one folder; the names are of all of a source, and stay. What its program keeps of the state
  // of mails in hidden files, and cannot be read, becomes a problem.
  OtherTreeFiles(const SourceFolder& folder, MboxKind mbox, TrueNames& names,
                 std::vector<SourceProblem>& problems);
  void TakeEml(const FolderEntry& entry, Listing& listing) const;
  void Take(const FolderEntry& entry, Listing& listing) const;
  // A file whose name begins with a dot: the problem that it looks like mail, if it does, or that
  // it cannot be read and may be mail by its name or its place.
  void TakeHidden(const FolderEntry& entry, Listing& listing) const;
  // The levels of the target that a folder in it adds to its own: "Name\", "Name\" of "Name.sbd"
  // and "Name.mbox", none of what programs put between.
  std::string LevelsOfFolder(std::string_view name) const;
  // The folder is one, or lies in one, whose folders have the names of a server.
  bool IsServers() const;

 private:
  void NameCopy(const FolderEntry& entry, Listing& listing) const;
  bool MayBeHiddenMail(const FolderEntry& entry) const;
  bool HoldsMail() const;
  void TakeEmlx(const std::string& path, const FolderEntry& entry, Listing& listing) const;
  bool TakeMh(const std::string& path, const FolderEntry& entry, std::string_view head,
              Listing& listing) const;
  std::string LevelsOfFile(const std::string& name) const;
  bool HasEntry(const std::string& name) const;
  // An index or folders below lie beside it.
  bool HasPlaceOfMbox(const std::string& name) const;
  bool HasToc(const std::string& name) const;  // beside an mbox of a Eudora
  bool IsEmptyFolder(const std::string& name) const;
  const std::set<std::string>& EndingsOfMboxes() const;

  const SourceFolder& m_folder;
  MboxKind m_mbox;
  TrueNames& m_names;
  MailProfiles m_profiles;
  bool m_isAboveAccounts;
  bool m_isMh;
  EudoraNames m_eudora;
  MhSequences m_sequences;
  MhMarks m_marks;
  // Found when they are asked for.
  mutable std::optional<bool> m_isServers;
  mutable std::optional<bool> m_holdsMail;
  mutable std::optional<std::set<std::string>> m_endings;
};

// The bytes of a mail of a tree, whatever file it lies in. Throws SourceError.
std::string ReadTreeMail(const SourceItem& item, MboxKind mbox, MovedMail& moved);

}  // namespace client
