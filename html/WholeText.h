#pragma once

#include <string>

namespace mail {

enum class LinkTargets { kShown, kLeftOut };

// All that a page has to say as plain text, both in UTF-8: as ClsHtmlToText makes it, however deep
// its elements lie and of however many digits its entities are, and with preformatted text on lines
// of its own. Throws std::bad_alloc.
std::string wholeText(std::string strHtml, LinkTargets eLinks = LinkTargets::kShown);

}  // namespace mail
