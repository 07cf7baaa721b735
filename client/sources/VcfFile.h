#pragma once

#include <string>
#include <vector>

#include "client/sources/Source.h"

namespace client {

// The cards of .vcf files: each is a contact or a group below `folder`. The files are those of one
// folder, whose groups may name each other's people. A card that nothing can be made of is told,
// and costs the others nothing.
void ListVcfFiles(const std::vector<std::string>& paths, const std::string& folder,
                  std::vector<SourceItem>& items, std::vector<SourceProblem>& problems);

// The card, and behind that of a group what the cards of its people say of them. Throws
// SourceError.
std::string ReadVcfItem(const SourceItem& item);

}  // namespace client
