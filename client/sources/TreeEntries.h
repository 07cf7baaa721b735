#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "client/sources/FolderWalk.h"
#include "client/sources/MhMarks.h"
#include "client/sources/MhSequences.h"
#include "client/sources/TagNames.h"

// What the folders and files of a tree mean to the program that made it.
namespace client {

// The profile of a Thunderbird: all its mail lies in folders of accounts, whose folders become one
// tree. False for any other folder.
bool TakeProfile(const SourceFolder& folder, const std::vector<FolderEntry>& entries,
                 Listing& listing, std::vector<SourceFolder>& below);

// What its owner calls the tags of mails.
TagNames TagsOfProfile(const std::string& path);

// The levels of the target that a folder of the tree adds to those of the one that it lies in:
// "Name\", "Name\" of "Name.sbd" and "Name.mbox", none of what programs put between.
std::string LevelsOfFolder(const SourceFolder& parent, std::string_view name);
// A folder in which programs keep what is no mail of its own.
bool IsFolderBesideMail(const SourceFolder& parent, std::string_view name);

// Adds what a file holds that is no .eml, calendar or cards: an mbox, a mail of MH or Apple Mail;
// or the problem that it may be mail and is not read.
class OtherTreeFiles {
 public:
  // Of one folder.
  OtherTreeFiles(const SourceFolder& folder, const std::vector<FolderEntry>& entries,
                 MboxKind mbox);
  void Take(const FolderEntry& entry, Listing& listing) const;

 private:
  void TakeEmlx(const std::string& path, const FolderEntry& entry, Listing& listing) const;
  bool TakeMh(const std::string& path, const FolderEntry& entry, std::string_view head,
              Listing& listing) const;
  bool HasEntry(const std::string& name) const;

  const SourceFolder& m_folder;
  const std::vector<FolderEntry>& m_entries;  // sorted by name
  MboxKind m_mbox;
  bool m_isMh;
  MhSequences m_sequences;
  MhMarks m_marks;
};

// The bytes of a mail of a tree, whatever file it lies in. Throws SourceError.
std::string ReadTreeMail(const SourceItem& item, MboxKind mbox);

}  // namespace client
