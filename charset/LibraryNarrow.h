#pragma once

#include <string>
#include <string_view>

#include "platform/NarrowText.h"

namespace mail {

// Narrow text by way of the library's own conversion. Programs install it at their start:
//
//   mail::installLibraryNarrow();
//
// Every byte sequence becomes wide text: what the page does not map is U+FFFD, one for each byte. A
// character that the page lacks is left out of narrow text. A page without a table passes ASCII
// alone. Throws std::bad_alloc for want of memory.
class LibraryNarrow : public platform::NarrowConverter {
 public:
  std::u16string ToWide(std::string_view strBytes, unsigned nCodePage) const override;
  std::string ToNarrow(std::u16string_view str, unsigned nCodePage) const override;
};

void installLibraryNarrow();

}  // namespace mail
