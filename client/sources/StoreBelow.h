#pragma once

#include <string>
#include <vector>

#include "client/sources/FolderWalk.h"

namespace client {

// Who moves to another system copies his home or the folder of a program, in which a mail store
// lies some levels below: "Maildir", "mail/local" of an Evolution, "Library/Mail" of an Apple Mail.
// Its path where the source holds one such store, and no mail that is seen beside it; else empty.
std::string StoreBelow(const std::string& source);

// A file of mail by its name or its first bytes, or a Maildir.
bool IsMailByLook(const std::string& path);

// The folders between the source and that store are no levels of the target.
void DropLevelsAbove(const std::string& store, const std::string& levels,
                     std::vector<SourceFolder>& below);

}  // namespace client
