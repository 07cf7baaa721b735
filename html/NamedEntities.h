#pragma once

#include <string>
#include <string_view>

namespace mail {

// Whether "&nbsp;" becomes a blank as the other names become their characters, or stays.
enum class NbspEntity { kBlank, kStays };

// Appends the text, UTF-8, to strOut with the entities of NamedEntitiesTable.h as characters. It is
// as if each name were replaced in the whole text, one after the other in the order of the table:
// "&amp;lt;" ends as "<" and "&amp;amp;" as "&amp;". What is no such entity stays as it is.
void decodeNamedEntities(std::string_view strText, NbspEntity nNbsp, std::string& strOut);

}  // namespace mail
