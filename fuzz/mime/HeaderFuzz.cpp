#include <array>
#include <cstdlib>
#include <string>

#include "base/LogNull.h"
#include "charset/CodePages.h"
#include "mime/header/CkContentType.h"
#include "mime/header/ContentDisposition.h"
#include "mime/header/MimeHeader.h"
#include "platform/NarrowText.h"

// What is read from any bytes can be written for any page, on lines that all belong to a field, and
// reading that gives fields of the same names in the same order. A content type or disposition that
// was written once is written the same again.
//
// The first byte chooses the page and the control.
namespace {

void Check(bool holds) {
  if (!holds) std::abort();
}

// Whether reading what is written must find the same names: escapes of ISO-2022-JP make the text
// one of another kind.
bool KeepsNames(const mail::MimeHeader& header, std::string_view written) {
  if (written.find('\x1B') != written.npos) return false;
  for (std::size_t n = 0; n < header.getCount(); ++n) {
    for (const char ch : header.at(n)->name().view()) {
      if ((ch & 0x80) != 0) return false;
    }
  }
  return true;
}

// "iso-2022-jp-1" is written as a name that reads as another page, which has a name of its own.
bool IsWrittenAsAnother(const mail::_ckContentType& type) {
  return type.m_charset.getCodePage() == mail::code_page::kIso2022Jp1;
}
bool IsWrittenAsAnother(const mail::ContentDisposition&) { return false; }

template <class Value>
void CheckValue(std::string_view text) {
  mail::LogNull log;
  Value value;
  value.load(text, log);
  if (IsWrittenAsAnother(value)) return;
  mail::StringBuffer once;
  value.emit(once);
  value.load(once.view(), log);
  mail::StringBuffer twice;
  value.emit(twice);
  Check(once.view() == twice.view());
  Check(once.view().find_first_of("\r\n") == once.view().npos);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, size_t size) {
  constexpr std::array kPages = {0, 20127, 65001, 28591, 1252, 1251, 932, 936, 949, 50220, 1200};
  platform::SetAnsiCodePage(1252);
  if (size == 0) return 0;
  const std::string_view text(reinterpret_cast<const char*>(data) + 1, size - 1);
  mail::LogNull log;
  mail::MimeHeader header;
  header.m_control.m_bMailAddresses = (data[0] & 0x80) != 0;
  Check(header.loadMimeHeaderText(text, "", 0, "", log));

  mail::StringBuffer written;
  header.emit(written, kPages[(data[0] & 0x7F) % kPages.size()], log);
  (void)written.append("\r\n\r\n");
  mail::MimeHeader again;
  Check(again.loadMimeHeaderText(written.view(), "", 0, "", log));
  if (!KeepsNames(header, written.view())) return 0;
  Check(again.getCount() == header.getCount());
  for (std::size_t n = 0; n < header.getCount(); ++n) {
    Check(again.at(n)->name().view() == header.at(n)->name().view());
    Check(again.at(n)->type() == header.at(n)->type());
  }
  CheckValue<mail::_ckContentType>(text);
  CheckValue<mail::ContentDisposition>(text);
  return 0;
}
