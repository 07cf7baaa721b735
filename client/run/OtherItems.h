#pragma once

#include <cstdint>
#include <string>
#include <vector>

// Items that are no mail, by their ItemType (pipeline/ST_EML_INFO.h): an event or a task as the
// text of a calendar, a contact or a group as that of cards.
namespace client {

// What its source knows it by, its UID; empty where there is none.
std::string IdOfOther(std::int32_t type, const std::string& text);

// Writes the files of one item into the work folder, the descriptor last, with ItemProps.json where
// a key is given. Returns what of the item does not arrive, for people. The folder must have been
// emptied. Throws SourceError and WriteError.
std::vector<std::string> WriteOther(const std::string& workFolder, std::int32_t type,
                                    const std::string& text, const std::string& key);

// For a list of remarks: "left out: …"; empty for nothing.
std::string LeftOutText(const std::vector<std::string>& left);

}  // namespace client
