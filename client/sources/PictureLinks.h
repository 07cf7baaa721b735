#pragma once

#include <map>
#include <set>
#include <string>
#include <string_view>

namespace client {

// A name as it is compared with another one: UTF-8, without regard to case.
std::string FoldedFileName(std::string_view name);

// By what the HTML text of a mail shows pictures whose files lie beside it: for the key of a file
// the link in the text, "cid:" with the id of a part, or the place where its program had it. Of
// those keys alone.
//
// Nothing but names tells which file a link means: that of the id ("cid:logo.gif",
// "cid:logo.gif@01C5A2B3"), the last one of a place, or what the tag says for those who see no
// picture (alt="logo.gif"). Links that no field of a part can hold and those to the web mean none;
// nor is a file any of several that have its name.
using PictureLinks = std::map<std::string, std::string>;
PictureLinks PictureLinksIn(std::string_view html, const std::set<std::string>& keys);

}  // namespace client
