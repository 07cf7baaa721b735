#pragma once

#include <cstdint>
#include <string>
#include <vector>

// Items that are no mail, by their ItemType (pipeline/ST_EML_INFO.h): an event or a task as the
// text of a calendar, a contact or a group as that of cards.
namespace client {

// What its source knows it by, its UID, or that and which occurrence it is; empty where there is
// none.
std::string IdOfOther(std::int32_t type, const std::string& text);

// What of an item does not arrive.
struct LeftOut {
  std::vector<std::string> texts;  // for people
  // Occurrences of a series or members of a group are among it: more than a detail of what arrives.
  bool isReduced = false;
};

// Writes the files of one item into the work folder, the descriptor last, with ItemProps.json where
// a key is given. The folder must have been emptied. Throws SourceError and WriteError.
LeftOut WriteOther(const std::string& workFolder, std::int32_t type, const std::string& text,
                   const std::string& key);

// For a list of remarks: "left out: …", or kReduced (ReducedMail.h) in front; empty for nothing.
std::string LeftOutText(const LeftOut& left);

}  // namespace client
