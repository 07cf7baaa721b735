#include "pipeline/MailAddressing.h"

#include <array>
#include <memory>
#include <string_view>
#include <vector>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "base/AsciiText.h"
#include "base/StringBuffer.h"
#include "body/WorkFileReaders.h"
#include "ews/SoapWriter.h"
#include "mime/header/AttributeReader.h"
#include "mime/header/MailDate.h"
#include "platform/COleDateTime.h"

namespace {

// Blanks, a separator or brackets within an address would make it another one.
bool CanStandInList(std::string_view address) {
  return address.find('@') != std::string_view::npos &&
         address.find_first_of("; \t\r\n<>()\"") == std::string_view::npos;
}

// So would a separator in a name, quoted or not; a bracket would hide where the address begins, and
// a label would be taken away.
bool CanStandBeforeAddress(std::string_view name) {
  return !name.empty() && name.find_first_of(";<>\r\n") == std::string_view::npos &&
         name.find(" : ") == std::string_view::npos;
}

std::vector<std::string> People(const mail::MailHeader& header, const char* field) {
  std::vector<std::string> people;
  for (const mail::MailPerson& person : header.people(field)) {
    std::string entry = PersonEntry(person.strName, person.strAddress);
    if (!entry.empty()) people.push_back(std::move(entry));
  }
  return people;
}

std::string AddressList(const mail::MailHeader& header, const char* field) {
  return fmt::format("{}", fmt::join(People(header, field), ";"));
}

// What the first word of a field means for the importance, as the descriptor has it.
struct ImportanceWord {
  const char* pszField;
  const char* pszBeginning;
  const char16_t* pszImportance;
};
constexpr std::array<ImportanceWord, 6> kImportanceWords = {{
    {"Importance", "high", u"1"},
    {"Importance", "low", u"3"},
    {"X-Priority", "1", u"1"},
    {"X-Priority", "2", u"1"},
    {"X-Priority", "4", u"3"},
    {"X-Priority", "5", u"3"},
}};

CString ImportanceOf(const mail::MailHeader& header) {
  for (const ImportanceWord& objWord : kImportanceWords) {
    if (mail::beginsWithNoCase(header.text(objWord.pszField), objWord.pszBeginning)) {
      return objWord.pszImportance;
    }
  }
  return {};
}

// What no request can carry would cost the mail.
void FillEmpty(CString& str, const CString& strValue) {
  if (str.IsEmpty() && ews::IsXmlText(strValue)) str = strValue;
}

void FillDate(COleDateTime& dt, const mail::MailHeader& header) {
  const bool bSet = dt.GetStatus() == COleDateTime::valid && dt.Value() != 0.0;
  if (bSet) return;
  if (const auto nSeconds = mail::parseMailDate(header.text("Date"))) {
    dt = platform::UtcSecondsToLocal(*nSeconds);
  }
}

}  // namespace

std::string PersonEntry(std::string_view name, std::string_view address) {
  if (!CanStandInList(address)) return {};
  if (!CanStandBeforeAddress(name)) return std::string(address);
  mail::StringBuffer quoted;
  mail::appendQuoted(name, quoted);
  return std::string(quoted.view()) + " <" + std::string(address) + ">";
}

MailAddressing AddressingOf(const mail::MailHeader& header) {
  MailAddressing addressing;
  if (const auto senders = People(header, "From"); !senders.empty()) addressing.from = senders[0];
  addressing.to = AddressList(header, "To");
  addressing.cc = AddressList(header, "Cc");
  addressing.bcc = AddressList(header, "Bcc");
  addressing.subject = header.text("Subject");
  return addressing;
}

void FillFromMime(const CString& strEml, ST_EML_INFO& objInfo) {
  int nLength = 0;
  const std::unique_ptr<unsigned char[]> pBytes(GetPureMime(strEml, &nLength));
  const mail::MailHeader header(
      {reinterpret_cast<const char*>(pBytes.get()), static_cast<std::size_t>(nLength)});
  const MailAddressing addressing = AddressingOf(header);
  FillEmpty(objInfo.strFrom, CString::FromUtf8(addressing.from));
  FillEmpty(objInfo.strTo, CString::FromUtf8(addressing.to));
  FillEmpty(objInfo.strCc, CString::FromUtf8(addressing.cc));
  FillEmpty(objInfo.strBcc, CString::FromUtf8(addressing.bcc));
  FillEmpty(objInfo.strSubject, CString::FromUtf8(addressing.subject));
  FillDate(objInfo.dtCreationDate, header);
  if (CString(objInfo.strImportance).Trim().IsEmpty()) objInfo.strImportance = ImportanceOf(header);
}
