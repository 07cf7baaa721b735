#pragma once

#include <string_view>
#include <vector>

#include "base/LogBase.h"
#include "mime/email/Email2.h"

namespace mail {

// What in a mail is text to read, and what is a file that came with it.

// A node and the one that it is part of; null for the root.
struct PlacedEmail {
  const Email2* pNode = nullptr;
  const Email2* pParent = nullptr;
};

// Whether a node is an attachment. A verbose log gets the reason, here and from all below that asks
// this.
bool isAttachment(const PlacedEmail& objPlaced, LogBase& log);

// Every node, each in front of its children. Pointers are good while the tree is the same.
std::vector<PlacedEmail> nodesOf(const Email2& objRoot);

// The texts of the message itself, in their order: the same text in several types, or one behind
// the other.
std::vector<const Email2*> alternativesOf(const Email2& objRoot, LogBase& log);

// The first alternative of a type, such as "text/html"; null if there is none.
const Email2* findAlternative(const Email2& objRoot, std::string_view strType, LogBase& log);

// Appends a body as HTML text is handed out: with CR LF line ends, and a blank for each NUL, which
// would end narrow text. False for want of memory.
bool appendHtml(std::string_view strBody, StringBuffer& strHtml);

// The HTML text of a mail in UTF-8, with CR LF line ends, blanks for NULs and otherwise as it is.
// False, with the reason in the log, when there is none and for want of memory.
bool htmlBodyOf(const Email2& objRoot, StringBuffer& strHtml, LogBase& log);

}  // namespace mail
