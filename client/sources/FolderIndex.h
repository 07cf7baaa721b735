#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace client {

// What the index of a folder of a Thunderbird ("NAME.msf") knows of it:
//
//   < <(a=c)> (A1=numMsgs)(AF=imapFlags) >  the names of columns, by number
//   <(83=12c)>                              texts that cells share, by numbers of their own
//   [1:^9F(^A1^83)(^AF=8)]                  cells: a text by its number, another as it stands
//
// A later cell changes an earlier one.
struct FolderIndex {
  std::optional<std::uint64_t> mails;  // nothing for a folder that was never counted
  bool isSearch = false;               // shows what a search finds in other folders
  bool isLevel = false;                // of a server: folders lie below, and no mail in it
};

// Hands over the bytes of an index in pieces of any size, from its beginning each time it is
// called: twice where a number in it stands apart from its cell.
using EachPiece = std::function<void(const std::function<void(std::string_view)>& take)>;

// In memory that does not grow with the index.
FolderIndex FolderIndexOf(const EachPiece& each);
// Of a file. Throws SourceError.
FolderIndex ReadFolderIndex(const std::string& path);

}  // namespace client
