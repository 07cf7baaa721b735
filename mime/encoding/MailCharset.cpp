#include "mime/encoding/MailCharset.h"

#include <algorithm>
#include <array>
#include <string>

#include "base/StringBuffer.h"
#include "charset/CharsetNames.h"
#include "mime/encoding/MailCharsetTable.h"

namespace mail::mail_charset {
namespace {

constexpr std::size_t kMostDigits = 5;

constexpr auto kIndex = [] {
  auto arrIndex = kSpellings;
  std::ranges::sort(arrIndex, {}, &Spelling::strWritten);
  return arrIndex;
}();
static_assert(std::ranges::adjacent_find(kIndex, {}, &Spelling::strWritten) == kIndex.end(),
              "a spelling stands for one charset");

bool IsNumber(std::string_view str) {
  return !str.empty() && str.size() <= kMostDigits &&
         str.find_first_not_of("0123456789") == str.npos;
}

// "iso8859-15" to "iso-8859-15", "win-1251" to "cp1251"; another name stays.
std::string WithoutVariants(std::string_view strName) {
  for (const Spelling& obj : kNumbered) {
    if (!strName.starts_with(obj.strWritten)) continue;
    const std::string_view strNumber = strName.substr(obj.strWritten.size());
    if (IsNumber(strNumber)) return std::string(obj.strKnown).append(strNumber);
  }
  return std::string(strName);
}

// The name that the lookup knows, from one in compared form that it does not know.
std::string KnownName(std::string_view strName) {
  std::string strPlain = WithoutVariants(strName);
  const auto it =
      std::ranges::lower_bound(kIndex, std::string_view(strPlain), {}, &Spelling::strWritten);
  const bool bFound = it != kIndex.end() && it->strWritten == strPlain;
  return bFound ? std::string(it->strKnown) : strPlain;
}

}  // namespace

int pageOf(std::string_view strName) {
  StringBuffer strSought(strName);
  if (const int nPage = nameToCodePage(strSought); nPage != 0) return nPage;
  StringBuffer strKnown(KnownName(strSought.view()));
  return nameToCodePage(strKnown);
}

bool setByName(_ckCharset& objCharset, std::string_view strName) {
  if (objCharset.setByName(strName)) return true;
  StringBuffer strSought(strName);
  (void)nameToCodePage(strSought);  // for its compared form
  return objCharset.setByName(KnownName(strSought.view()));
}

}  // namespace mail::mail_charset
