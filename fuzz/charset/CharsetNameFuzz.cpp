#include <cstdlib>
#include <string>

#include "charset/CharsetNames.h"
#include "charset/CkCharset.h"
#include "platform/NarrowText.h"

// Whatever a name is, normalising makes it no longer; and a value made from it holds the page that
// the canonical name stands for.
namespace {

void Check(bool holds) {
  if (!holds) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, size_t size) {
  platform::SetAnsiCodePage(1252);
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  mail::StringBuffer name(text);
  const int page = mail::nameToCodePage(name);
  Check(page >= 0 && name.getSize() <= size);
  Check(name.view().find_first_of("_\"") == std::string_view::npos);
  Check(mail::isKnownCharset(text) == (page != 0));

  mail::_ckCharset charset;
  const bool known = charset.setByName(text);
  Check(known || (charset.getCodePage() == 0 && charset.getName().isEmpty()));
  if (!charset.getName().isEmpty() && charset.getName().getSize() > 2) {
    mail::StringBuffer written(charset.getName());
    const int again = mail::nameToCodePage(written);
    // The three numbers of iso-2022-jp write names that all read as the first.
    const bool japanese = charset.getCodePage() == 50221 || charset.getCodePage() == 50222;
    Check(again == (japanese ? 50220 : charset.getCodePage()));
  }
  return 0;
}
