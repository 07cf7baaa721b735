// Rich text to HTML: the page is ASCII with balanced tags, follows the size of its source, and text
// behind everything comes out, whatever stood before it.

#include <algorithm>
#include <cstdlib>
#include <string>
#include <string_view>

#include "body/rtf/RtfToHtml.h"
#include "tests/support/HtmlBalance.h"

namespace {

class NoPictures : public rtf::PictureSaver {
 public:
  std::string Save(std::string_view, std::string_view) override { return "p"; }
};

rtf::HtmlResult Convert(std::string_view text) {
  NoPictures pictures;
  return rtf::RtfToHtml(text, 1252, pictures);
}

void Require(bool holds) {
  if (!holds) std::abort();
}

void CheckPage(std::string_view source) {
  const rtf::HtmlResult result = Convert(source);
  // Pages that are no rich text come back as they are, balanced or not.
  const bool ours = result.strHtml.starts_with("<!DOCTYPE html>\n<html>\n<head></head>\n<body") &&
                    source.find("<!DOCTYPE") == std::string_view::npos;
  Require(html_balance::IsAscii(result.strHtml));
  if (ours && source.find("\\fromhtml") == std::string_view::npos) {
    Require(html_balance::Fault(result.strHtml).empty());
  }
  Require(result.strHtml.size() < (2 << 20) + 100 * source.size());
}

// All groups are closed before it; only bytes that are announced as binary may hold it, and fonts
// of signs show other letters.
void CheckTextBehind(std::string_view source) {
  for (const std::string_view word : {"bin", "deff", "\\f-"}) {
    if (source.find(word) != std::string_view::npos) return;
  }
  std::string text = "{\\rtf1 x";
  text.append(source).append(" ").append(source.size() + 1, '}').append(" behind42");
  Require(Convert(text).strHtml.find("behind42") != std::string::npos);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  CheckPage(bytes);
  CheckPage("{\\rtf1" + std::string(bytes));
  CheckTextBehind(bytes);
  return 0;
}
