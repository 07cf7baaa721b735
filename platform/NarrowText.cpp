#include "platform/NarrowText.h"

#include <atomic>

#include "platform/Locale.h"

namespace platform {
namespace {

std::atomic<const NarrowConverter*> g_pConverter{nullptr};
std::atomic<unsigned> g_nAnsiSet{0};  // 0: as the locale says

CodePages LocalePages() {
  static const CodePages objPages = CodePagesOf(CurrentUserLocale());
  return objPages;
}

}  // namespace

void InstallNarrowConverter(const NarrowConverter& objConverter) { g_pConverter = &objConverter; }

unsigned AnsiCodePage() {
  const unsigned nSet = g_nAnsiSet;
  return nSet != 0 ? nSet : LocalePages().nAnsi;
}

unsigned OemCodePage() { return LocalePages().nOem; }

void SetAnsiCodePage(unsigned nCodePage) { g_nAnsiSet = nCodePage; }

std::u16string NarrowToWide(std::string_view strBytes) {
  if (const NarrowConverter* pConverter = g_pConverter) {
    return pConverter->ToWide(strBytes, AnsiCodePage());
  }
  std::u16string strResult;
  strResult.reserve(strBytes.size());
  for (const unsigned char ch : strBytes) strResult += ch < 0x80 ? char16_t{ch} : u'\xFFFD';
  return strResult;
}

std::string WideToNarrow(std::u16string_view str) {
  if (const NarrowConverter* pConverter = g_pConverter) {
    return pConverter->ToNarrow(str, AnsiCodePage());
  }
  std::string strResult;
  strResult.reserve(str.size());
  for (const char16_t ch : str) {
    if (ch < 0x80) strResult += static_cast<char>(ch);
  }
  return strResult;
}

}  // namespace platform
