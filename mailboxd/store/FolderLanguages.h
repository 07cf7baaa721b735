#pragma once

#include <string_view>

#include "mailboxd/store/StoreSchema.h"

namespace mailbox {

// Names the folders of the mailboxes that this process makes from now on as those of a language
// are: "ar", "de", "en" or "ja". False for another. To be called before there are threads.
bool SetFolderLanguage(std::string_view language);

// The name in that language; in English where none was set.
std::string_view NameOfFolder(const WellKnownFolder& folder);

}  // namespace mailbox
