#include "pipeline/AddressLists.h"

#include <algorithm>

#include "ews/Settings.h"
#include "target/CTarnyOutlookHandler.h"

namespace {

// Where the entry ends that begins there: at a ";", though not within a name in quotes in front of
// an address: "Lee; Ann" <a@b>.
int EndOfEntry(const CString& strList, int nStart) {
  const std::u16string_view str = strList.View();
  const auto skipBlanks = [&](size_t n) {
    return std::min(str.find_first_not_of(u' ', n), str.size());
  };
  size_t nFrom = skipBlanks(static_cast<size_t>(nStart));
  if (nFrom < str.size() && str[nFrom] == u'"') {
    size_t nQuote = nFrom + 1;
    while (nQuote < str.size() && str[nQuote] != u'"') nQuote += str[nQuote] == u'\\' ? 2 : 1;
    const size_t nBehind = nQuote < str.size() ? skipBlanks(nQuote + 1) : str.size();
    if (nBehind < str.size() && str[nBehind] == u'<') nFrom = nBehind;
  }
  return static_cast<int>(std::min(str.find(u';', nFrom), str.size()));
}

// Every entry but empty ones.
std::vector<CString> DividedEntries(const CString& strList) {
  std::vector<CString> arrEntries;
  for (int nStart = 0; nStart < strList.GetLength();) {
    const int nEnd = EndOfEntry(strList, nStart);
    CString strEntry = strList.Mid(nStart, nEnd - nStart).Trim();
    if (!strEntry.IsEmpty()) arrEntries.push_back(std::move(strEntry));
    nStart = nEnd + 1;
  }
  return arrEntries;
}

std::vector<CString> LoopEntries(const CString& strList) {
  const auto nEntries = std::ranges::count(strList.View(), u';');
  if (nEntries == 0) return strList.IsEmpty() ? std::vector<CString>() : std::vector{strList};
  std::vector<CString> arrEntries;
  int nEnd = strList.Find(u';');
  CString strCurrent = strList.Left(nEnd);
  int nRest = nEnd + 1;  // where the rest of the text begins
  int nSearch = nEnd;    // kept: the first search starts at the old place, counted in the rest
  for (auto n = nEntries; n > 0; --n) {
    arrEntries.push_back(strCurrent);
    nEnd = strList.Find(u';', nRest + nSearch);
    if (nEnd < 0) {
      arrEntries.push_back(strCurrent);
      break;
    }
    strCurrent = strList.Mid(nRest, nEnd - nRest);
    nRest = nEnd + 1;
    nSearch = 0;
  }
  return arrEntries;
}

}  // namespace

std::vector<CString> AttendeeEntries(const CString& strList) {
  return ews::Settings().bSafe ? DividedEntries(strList) : LoopEntries(strList);
}

std::vector<CString> RecipientEntries(const CString& strList) {
  if (ews::Settings().bSafe) return DividedEntries(strList);
  std::vector<CString> arrEntries;
  if (strList.IsEmpty()) return arrEntries;
  const CString str = strList.View().ends_with(u';') ? strList : strList + u";";
  int nStart = 0;
  for (int nEnd = str.Find(u';'); nEnd > nStart; nEnd = str.Find(u';', nStart)) {
    arrEntries.push_back(str.Mid(nStart, nEnd - nStart).Trim());
    nStart = nEnd + 1;
  }
  return arrEntries;
}

void CTarnyOutlookHandler::SaveRecipients(CString str,
                                          ews::EmailAddressCollection& emailRecipients) {
  for (const CString& strEntry : RecipientEntries(str)) {
    emailRecipients.Add(GetEmailAddress(strEntry));
  }
}

void CTarnyOutlookHandler::SaveAttendees(CString str, ews::AttendeeCollection& emailAttendees) {
  for (const CString& strEntry : AttendeeEntries(str)) {
    // kept: only recipients lose their names in the second try, but for the safe switch
    emailAttendees.Add(ews::Settings().bSafe ? GetEmailAddress(strEntry) : strEntry);
  }
}

void CTarnyOutlookHandler::GetMembersList(CString strMembers,
                                          CList<CString, CString>* pstrListMembers) {
  for (const CString& strEntry : AttendeeEntries(strMembers)) pstrListMembers->AddTail(strEntry);
}
