#pragma once

#include <string>

#include "html/HtmlTree.h"

namespace mail {

// Appends the tree as well-formed XML in UTF-8, without a declaration: an element for each node,
// named by its tag; runs of text are elements "text". Names that XML does not allow are mended,
// characters that it does not allow and attributes that come again are left out. U+00A0 is written
// as "&#160;".
void writeXml(const HtmlTree& objTree, std::string& strOut);

}  // namespace mail
