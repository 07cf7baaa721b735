#pragma once

#include <span>
#include <string_view>

namespace mail {

// One code page as it is stored in the program; see StoredTable for the form of the texts.
struct StoredPage {
  unsigned nCodePage;
  std::span<const std::string_view> arrText;  // the table's text in pieces, to be joined
  std::string_view strEdit;  // a table in edit form that is loaded after it; empty for most pages
};

// All stored pages, sorted by number. Generated; see scripts/charset-tables.md.
std::span<const StoredPage> storedPages();

}  // namespace mail
