#pragma once

#include <string>
#include <string_view>

namespace platform {

// Narrow text is bytes in a code page. platform/ converts none itself: each program installs a
// converter when it starts (without one, only ASCII passes).
class NarrowConverter {
 public:
  virtual ~NarrowConverter() = default;
  // Every byte sequence converts; what the page does not map becomes U+FFFD.
  virtual std::u16string ToWide(std::string_view strBytes, unsigned nCodePage) const = 0;
  // A character that the page lacks is left out.
  virtual std::string ToNarrow(std::u16string_view str, unsigned nCodePage) const = 0;
};

// The converter must outlive the program's last conversion.
void InstallNarrowConverter(const NarrowConverter& objConverter);

// The ANSI and OEM code pages follow the language of the locale's name (LC_ALL, else LC_CTYPE, else
// LANG); none, C or POSIX means 1252 and 437. They are never 65001. Tests set them.
unsigned AnsiCodePage();
unsigned OemCodePage();
void SetAnsiCodePage(unsigned nCodePage);

// In the ANSI code page, through the installed converter.
std::u16string NarrowToWide(std::string_view strBytes);
std::string WideToNarrow(std::u16string_view str);

}  // namespace platform
