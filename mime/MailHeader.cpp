#include "mime/MailHeader.h"

#include "mime/base/AsciiText.h"
#include "mime/base/ExtPtrArray.h"
#include "mime/base/LogNull.h"
#include "mime/header/CkEmailAddress.h"

namespace mail {
namespace {

// Up to the first empty line of either kind; a mail of lone CRs is left whole.
std::string_view HeaderBlock(std::string_view strMail) {
  strMail = strMail.substr(0, MailHeader::kMaxBytes);
  std::size_t nLine = 0;
  while (nLine < strMail.size()) {
    const std::string_view strRest = strMail.substr(nLine);
    if (strRest.front() == '\n' || strRest.starts_with("\r\n")) return strMail.substr(0, nLine);
    const std::size_t nEnd = strRest.find('\n');
    if (nEnd == std::string_view::npos) break;
    nLine += nEnd + 1;
  }
  return strMail;
}

}  // namespace

MailHeader::MailHeader(std::string_view strMail) {
  LogNull log;
  (void)m_header.loadMimeHeaderText(HeaderBlock(strMail), "", 0, "", log);
}

std::optional<std::string> MailHeader::find(std::string_view strName) const {
  const MimeField* pField = m_header.find(strName);
  if (pField == nullptr) return std::nullopt;
  return std::string(trimmed(pField->value().view()));
}

std::vector<MailPerson> MailHeader::people(std::string_view strName) const {
  LogNull log;
  ExtPtrArrayOf<_ckEmailAddress> arrAddresses;
  for (std::size_t i = 0; i < m_header.getCount(); ++i) {
    const MimeField& objField = *m_header.at(i);
    if (!objField.name().equalsIgnoreCase(strName)) continue;
    _ckEmailAddress::loadList(objField.value().view(), arrAddresses, log);
  }
  std::vector<MailPerson> arrPeople;
  arrPeople.reserve(arrAddresses.getSize());
  for (std::size_t i = 0; i < arrAddresses.getSize(); ++i) {
    const _ckEmailAddress& objAddress = *arrAddresses.at(i);
    arrPeople.push_back(
        {std::string(objAddress.m_friendlyName.view()), std::string(objAddress.m_address.view())});
  }
  return arrPeople;
}

}  // namespace mail
