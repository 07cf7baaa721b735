#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "body/rtf/Notes.h"

namespace rtf {

// Takes the pictures of a document while it is read, in the order in which they stand in the page.
class PictureSaver {
 public:
  virtual ~PictureSaver() = default;
  // The extension has its dot and four characters. Returns the value of the src attribute, which
  // goes into the page as it is; what it throws ends the conversion.
  virtual std::string Save(std::string_view strExtension, std::string_view strBytes) = 0;
};

struct HtmlResult {
  std::string strHtml;  // ASCII but for what the saver gave
  Notes objNotes;
  std::size_t nSteps = 0;  // tokens and bytes of text moved: the work that it took
};

// Turns rich text, also in its compressed form, into a page; a page or a plain text that was
// wrapped in rich text is given back. Bytes that are neither are a page, where they begin like one,
// else plain text. nAnsiPage is the code
// page of text whose page nothing tells. The text of damaged and cut input comes out as far as it
// is there. Linear in the input, in time and memory. Throws std::bad_alloc and what the saver
// throws.
HtmlResult RtfToHtml(std::string_view strRtf, unsigned nAnsiPage, PictureSaver& objSaver);

}  // namespace rtf
