#pragma once

#include <string_view>
#include <vector>

#include "base/DataBuffer.h"
#include "base/LogBase.h"
#include "mime/email/Email2.h"
#include "mime/email/EmailBodies.h"

namespace mail {

// A mail as a reader of mail lays it out: nothing in it stays out of sight. Where the e-mail object
// knows bodies and attachments of the forms that it was made for (EmailBodies.h), this finds the
// HTML text of a bounce too, and a file that nobody called one.

enum class Role {
  kText,    // plain text, shown one behind the other
  kHtml,    // the HTML text; one node at most
  kFile,    // listed with its name
  kWithin,  // part of what is shown: a picture of the HTML text, the same text in another form, a
            // signature, or nothing at all
};

struct ShownNode {
  PlacedEmail objPlaced;
  Role nRole = Role::kWithin;
  bool bMail = false;  // a whole mail, attached or in a digest
};

// Every node without parts, in the order of the mail. Pointers are good while the tree is the same.
std::vector<ShownNode> layOut(const Email2& objRoot, LogBase& log);

// Whether a file is HTML that no name and no disposition makes one: one more text of the mail,
// which is listed since one HTML text is shown at most.
bool isFurtherHtml(const ShownNode& objNode, LogBase& log);

// Whether the node brings a name, of its disposition or of its type.
bool isNamed(const Email2& objNode);

// Its name, of the disposition, else of the type; one of blanks alone is none. Empty without one. A
// view of the node.
std::string_view fileNameOf(const Email2& objNode);

// The type that a node is listed with: in a digest a mail need not say that it is one. A view of
// the node; may be empty.
std::string_view listedType(const ShownNode& objNode);

// A body as text to read, in UTF-8. One that came without its charset, which the e-mail object
// leaves as it is, is taken for windows-1252 if it is no UTF-8, and for iso-2022-jp if it has the
// escapes of that. A view of the body or of the room; of what memory sufficed for.
std::string_view readableText(const Email2& objNode, DataBuffer& objRoom, LogBase& log);

}  // namespace mail
