#include "mime/MailHeader.h"

#include "base/AsciiText.h"
#include "base/ExtPtrArray.h"
#include "base/LogNull.h"
#include "mime/header/CkEmailAddress.h"
#include "mime/tree/MimeInput.h"

namespace mail {

MailHeader::MailHeader(std::string_view strMail) {
  LogNull log;
  (void)loadMimeInput(m_objRoot, strMail, log, {.bHeaderOnly = true});
}

std::optional<std::string> MailHeader::find(std::string_view strName) const {
  const MimeField* pField = fields().find(strName);
  if (pField == nullptr) return std::nullopt;
  return std::string(trimmed(pField->value().view()));
}

std::vector<MailPerson> MailHeader::people(std::string_view strName) const {
  LogNull log;
  ExtPtrArrayOf<_ckEmailAddress> arrAddresses;
  for (std::size_t i = 0; i < fields().getCount(); ++i) {
    const MimeField& objField = *fields().at(i);
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
