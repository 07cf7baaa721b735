#include "charset/CkCharset.h"

#include <array>

#include "charset/CharsetNames.h"
#include "platform/NarrowText.h"

namespace mail {
namespace {

struct BomPrefix {
  std::string_view strPrefix;
  _ckCharset::BomMode nMode;
};

constexpr std::array kBomPrefixes = std::to_array<BomPrefix>({
    {"bom-", _ckCharset::kBomWanted},
    {"bom:", _ckCharset::kBomWanted},
    {"no-bom-", _ckCharset::kBomUnwanted},
    {"no-bom:", _ckCharset::kBomUnwanted},
});

}  // namespace

bool _ckCharset::setByName(const char* pszName) {
  return setByName(pszName != nullptr ? std::string_view(pszName) : std::string_view());
}

bool _ckCharset::setByName(std::string_view strName) {
  if (strName.empty()) strName = "ansi";
  m_bomMode = kBomUnsaid;
  for (const BomPrefix& objPrefix : kBomPrefixes) {
    if (!strName.starts_with(objPrefix.strPrefix)) continue;
    m_bomMode = objPrefix.nMode;
    strName.remove_prefix(objPrefix.strPrefix.size());
    break;
  }
  StringBuffer strSought(strName);
  clear();
  if (strSought.equals("default") || strSought.equals("x-user-defined")) return true;
  if (strSought.equalsIgnoreCase("ansi") || strSought.equalsIgnoreCase("oem")) {
    const bool bAnsi = strSought.equalsIgnoreCase("ansi");
    setByCodePage(static_cast<int>(bAnsi ? platform::AnsiCodePage() : platform::OemCodePage()));
    return true;
  }
  m_codePage = nameToCodePage(strSought);
  if (m_codePage == 0) return false;
  (void)codePageToName(m_codePage, m_name);  // false: the page writes no name
  return true;
}

void _ckCharset::setByCodePage(int nCodePage) {
  m_codePage = codePageToName(nCodePage, m_name) ? nCodePage : 0;
  if (m_codePage == 0) m_name.clear();
}

void _ckCharset::clear() {
  m_codePage = 0;
  m_name.clear();
}

}  // namespace mail
