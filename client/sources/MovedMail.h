#pragma once

#include <string>

namespace client {

// Where a mail of a Maildir lies now that is not at its path any more: whoever reads it takes it
// from new/ to cur/ and gives it other letters. Empty where it is at its path or nowhere, and for
// what is in no Maildir.
std::string WhereMoved(const std::string& path);

// SourceFiles' ReadMail, of a mail that may have moved so since it was listed.
std::string ReadMailThatMayMove(const std::string& path);

}  // namespace client
