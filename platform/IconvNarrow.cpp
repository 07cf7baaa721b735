#include "platform/IconvNarrow.h"

#include <iconv.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <memory>
#include <string>

#include "platform/NarrowText.h"

namespace platform {
namespace {

constexpr std::string_view kWide = "UTF-16LE";

struct CloseIconv {
  using pointer = iconv_t;
  void operator()(iconv_t p) const {
    if (p != reinterpret_cast<iconv_t>(-1)) iconv_close(p);
  }
};

// One direction of one code page.
class Conversion {
 public:
  Conversion(const std::string& strTo, const std::string& strFrom)
      : m_pIconv(iconv_open(strTo.c_str(), strFrom.c_str())) {}
  explicit operator bool() const { return m_pIconv.get() != reinterpret_cast<iconv_t>(-1); }

  // Appends to strOut; where the input does not convert, fnSkip(bytes left) appends what stands in
  // its place and returns how many bytes to pass over (at least 1, at most what is left).
  template <typename Skip>
  void Run(const char* pIn, size_t nIn, std::string& strOut, Skip fnSkip) {
    iconv(m_pIconv.get(), nullptr, nullptr, nullptr, nullptr);
    char* p = const_cast<char*>(pIn);
    std::array<char, 8192> arrOut;
    while (nIn > 0) {
      char* pOut = arrOut.data();
      size_t nOut = arrOut.size();
      const size_t nResult = iconv(m_pIconv.get(), &p, &nIn, &pOut, &nOut);
      const int nError = errno;
      strOut.append(arrOut.data(), pOut);
      if (nResult != static_cast<size_t>(-1) || nError == E2BIG) continue;
      const size_t nSkip = fnSkip(p, nIn);
      p += nSkip;
      nIn -= nSkip;
    }
    char* pOut = arrOut.data();
    size_t nOut = arrOut.size();
    iconv(m_pIconv.get(), nullptr, nullptr, &pOut, &nOut);  // back to the initial state
    strOut.append(arrOut.data(), pOut);
  }

 private:
  std::unique_ptr<void, CloseIconv> m_pIconv;
};

std::string PageName(unsigned nCodePage) {
  return nCodePage == 65001 ? "UTF-8" : "CP" + std::to_string(nCodePage);
}

class IconvNarrow : public NarrowConverter {
 public:
  std::u16string ToWide(std::string_view strBytes, unsigned nCodePage) const override {
    Conversion objConversion(std::string(kWide), PageName(nCodePage));
    std::string strOut;
    strOut.reserve(2 * strBytes.size());
    const auto fnSkip = [&](const char*, size_t) -> size_t {
      strOut.append("\xFD\xFF", 2);
      return 1;
    };
    if (objConversion) {
      objConversion.Run(strBytes.data(), strBytes.size(), strOut, fnSkip);
    } else {
      for (const char ch : strBytes)
        strOut.append(ch & 0x80 ? "\xFD\xFF" : std::string{ch, '\0'}, 0, 2);
    }
    std::u16string strResult(strOut.size() / 2, u'\0');
    std::copy_n(strOut.data(), 2 * strResult.size(), reinterpret_cast<char*>(strResult.data()));
    return strResult;
  }

  std::string ToNarrow(std::u16string_view str, unsigned nCodePage) const override {
    Conversion objConversion(PageName(nCodePage), std::string(kWide));
    std::string strOut;
    strOut.reserve(str.size());
    if (!objConversion) {
      for (const char16_t ch : str) {
        if (ch < 0x80) strOut += static_cast<char>(ch);
      }
      return strOut;
    }
    const auto fnSkip = [](const char* p, size_t nLeft) -> size_t {
      const auto fnIs = [p](size_t nAt, int nHighByte) { return (p[nAt] & 0xFC) == nHighByte; };
      const bool bPair = nLeft >= 4 && fnIs(1, 0xD8) && fnIs(3, 0xDC);
      return bPair ? 4 : std::min<size_t>(2, nLeft);
    };
    objConversion.Run(reinterpret_cast<const char*>(str.data()), 2 * str.size(), strOut, fnSkip);
    return strOut;
  }
};

}  // namespace

void InstallIconvNarrowConverter() {
  static const IconvNarrow objConverter;
  InstallNarrowConverter(objConverter);
}

}  // namespace platform
