#include "pipeline/ItemDescriptor.h"

#include <algorithm>
#include <array>
#include <optional>
#include <stdexcept>

#include "ews/Settings.h"
#include "platform/LineReader.h"
#include "platform/Paths.h"

namespace {

constexpr int kCommonLines = 10;
constexpr int kMostHeaderLines = 16;

struct TypeKeyword {
  std::u16string_view strKeyword;
  ItemType eType;
};

// Order decides: the first keyword that occurs wins.
constexpr std::array<TypeKeyword, 5> kTypeKeywords{{
    {u"EMAIL", TYPE_EMAIL},
    {u"CALENDAR", TYPE_CALENDER},
    {u"TASK", TYPE_TASK},
    {u"CONTACT", TYPE_CONTACT},
    {u"DIST_LIST", TYPE_DIST_LIST},
}};

// The last header line of a type; its body begins behind it.
int LastHeaderLine(int nItemType) {
  switch (nItemType) {
    case TYPE_CALENDER:
      return 15;
    case TYPE_TASK:
      return 16;
    case TYPE_CONTACT:
    case TYPE_DIST_LIST:
      return 13;
    default:
      return kCommonLines;
  }
}

// A label alone has lost its last blank with the line's other ends, and is not found; with the safe
// switch it counts as no value.
CString WithoutLabel(const CString& strLabel, const CString& str) {
  if (ews::Settings().bSafe && CString(str).Trim() == CString(strLabel).Trim()) return {};
  return GetProperStr(strLabel, str);
}

// The lines of a descriptor as they were read. Numbers count from 1; a line that the file does not
// have is empty.
class DescriptorLines {
 public:
  const CString& operator[](int nLine) const { return m_arr.at(static_cast<size_t>(nLine)); }
  CString Clean(int nLine) const { return RemoveSlash((*this)[nLine]); }
  CString Labelled(int nLine, const char16_t* pszLabel) const {
    return WithoutLabel(pszLabel, Clean(nLine));
  }
  const CString& Body() const { return m_strBody; }
  // False for a line that the file does not have.
  bool Has(int nLine) const { return m_arrRead.at(static_cast<size_t>(nLine)); }

  void Read(const CString& strPath) {
    auto objReader = platform::WideLineReader::Open(strPath);
    if (!objReader) return;
    for (int n = 1; n < kCommonLines; ++n) {
      if (!ReadInto(*objReader, n)) return;
    }
    const bool bMore = ReadInto(*objReader, kCommonLines);
    if (bMore) ReadTypeLines(*objReader);
    ReadBody(*objReader);
  }

 private:
  CString& At(int nLine) { return m_arr.at(static_cast<size_t>(nLine)); }

  bool ReadInto(platform::WideLineReader& objReader, int nLine) {
    return m_arrRead.at(static_cast<size_t>(nLine)) = objReader.ReadLine(At(nLine));
  }

  void ReadTypeLines(platform::WideLineReader& objReader) {
    const int nType = GetEmlType(m_arr[1]);
    const int nLast = LastHeaderLine(nType);
    int nRead = kCommonLines;
    while (nRead < nLast && ReadInto(objReader, nRead + 1)) ++nRead;
    // A calendar item without any line of its own keeps line 10, shift or not.
    if (nType == TYPE_CALENDER && nRead > kCommonLines) Unshift(nLast, /*bClearsLine10=*/true);
    if (nType == TYPE_TASK) Unshift(nLast, /*bClearsLine10=*/false);
  }

  // Brings the second form into the places of the first: everything from line 10 on goes down one
  // line, and what stood in the last one is lost.
  void Unshift(int nLast, bool bClearsLine10) {
    if (CString(m_arr[kCommonLines]).Trim().IsEmpty()) return;
    for (int n = nLast; n > kCommonLines; --n) {
      At(n) = At(n - 1);
      m_arrRead.at(static_cast<size_t>(n)) = Has(n - 1);
    }
    if (bClearsLine10) At(kCommonLines).Empty();
  }

  void ReadBody(platform::WideLineReader& objReader) {
    CString strLine;
    while (objReader.ReadLine(strLine)) m_strBody += strLine;
  }

  std::array<CString, kMostHeaderLines + 1> m_arr;  // [0] is not used
  std::array<bool, kMostHeaderLines + 1> m_arrRead{};
  CString m_strBody;
};

CString ContactValue(const DescriptorLines& objLines, int nLine) {
  CString strField;
  CString strValue;
  SaprateFields(objLines.Clean(nLine), strField, strValue);
  strValue.Replace(u"<ITEM>", u"");
  strValue.Replace(u"</ITEM>", u"");
  return strValue;
}

// Empty for a line that lacks its tag.
CString ListValue(const DescriptorLines& objLines, int nLine, const char16_t* pszTag) {
  CString str = objLines[nLine];
  if (!str.Contains(pszTag)) return {};
  str.Replace(pszTag, u"");
  str.Replace(u"</ITEM>", u"");
  return str.Trim();
}

// A line that is not there leaves the date as it was; one that is blank is no date.
void FillDate(const DescriptorLines& objLines, int nLine, const char16_t* pszLabel,
              COleDateTime& dt) {
  if (objLines.Has(nLine)) dt = ConvertToDate(objLines.Labelled(nLine, pszLabel));
}

void FillCommon(const DescriptorLines& objLines, ST_EML_INFO& objInfo) {
  objInfo.nItemType = GetEmlType(objLines.Clean(1));
  objInfo.strImportance = objLines[2];
  FillDate(objLines, 3, u"Creation Date : ", objInfo.dtCreationDate);
  objInfo.bRead = objLines.Clean(4) != u"TRUE";
  objInfo.strFrom = objLines.Labelled(5, u"From : ");
  objInfo.strTo = objLines.Labelled(6, u"To : ");
  objInfo.strCc = objLines.Labelled(7, u"CC : ");
  objInfo.strBcc = objLines.Labelled(8, u"Bcc : ");
  objInfo.strSubject = objLines.Labelled(9, u"Subject : ");
  objInfo.strMessageId = WithoutLabel(u"MessageID : ", objLines[kCommonLines]);
  objInfo.strBody = WithoutLabel(u"Body : ", objLines.Body());
}

void FillByType(const DescriptorLines& objLines, ST_EML_INFO& objInfo) {
  switch (objInfo.nItemType) {
    case TYPE_CALENDER:
      FillDate(objLines, 11, u"StartDate:", objInfo.dtStartDate);
      FillDate(objLines, 12, u"EndDate:", objInfo.dtEndDate);
      objInfo.strLocation = objLines.Labelled(13, u"Location : ");
      objInfo.strCategory = objLines.Clean(14);
      objInfo.strRecurrence = objLines.Clean(15);
      break;
    case TYPE_TASK:
      FillDate(objLines, 11, u"StartDate:", objInfo.dtStartDate);
      FillDate(objLines, 12, u"DueDate:", objInfo.dtDueDate);
      objInfo.strCategory = objLines.Clean(13);
      objInfo.strTaskPriority = objLines.Clean(14);
      objInfo.strRecurrence = objLines.Clean(15);
      objInfo.strTaskExtra = objLines.Clean(16);
      break;
    case TYPE_CONTACT:
      objInfo.strContactFolder = objLines.Clean(11);
      objInfo.strContactInfo1 = ContactValue(objLines, 12);
      objInfo.strContactInfo2 = ContactValue(objLines, 13);
      break;
    case TYPE_DIST_LIST:
      objInfo.strGroup = ListValue(objLines, 10, u"<ITEM>Group :");
      objInfo.strListName = ListValue(objLines, 11, u"<ITEM>ListName :");
      objInfo.strListDescription = ListValue(objLines, 12, u"<ITEM>Description :");
      objInfo.strListOwner = ListValue(objLines, 13, u"<ITEM>ListOwner :");
      break;
    default:
      break;
  }
}

// 9999-12-31 23:59:59, the last that a date on the wire can say.
constexpr std::int64_t kLastSecond = 253402300799;

bool IsLeapYear(int nYear) { return (nYear % 4 == 0 && nYear % 100 != 0) || nYear % 400 == 0; }

}  // namespace

void GetEmlInfo(ST_EML_INFO* p_ST_EML_INFO) {
  ReadDescriptor(GetCurrPath() + kDescriptorFile, p_ST_EML_INFO);
}

void ReadDescriptor(const CString& strPath, ST_EML_INFO* p_ST_EML_INFO) {
  DescriptorLines objLines;
  objLines.Read(strPath);
  FillCommon(objLines, *p_ST_EML_INFO);
  FillByType(objLines, *p_ST_EML_INFO);
}

int GetEmlType(CString str) {
  for (const TypeKeyword& objKeyword : kTypeKeywords) {
    if (str.Contains(objKeyword.strKeyword)) return objKeyword.eType;
  }
  return TYPE_UNKNOWN;
}

COleDateTime ConvertToDate(CString str) {
  str.Replace(u"Creation Date : ", u"");
  return platform::ParseDateText(str);
}

CString GetProperStr(CString strOne, CString str) {
  str.Replace(strOne, u"");
  return str.Trim();
}

CString RemoveSlash(CString str) {
  str.Remove(u'\r');
  str.Remove(u'\n');
  return str.Trim();
}

void SaprateFields(CString strCon, CString& strField, CString& strFieldInfo) {
  constexpr std::u16string_view kSeparator = u" : ";
  strField.Empty();
  strFieldInfo.Empty();
  const int nAt = strCon.Find(kSeparator);
  if (nAt < 0) return;
  strField = strCon.Left(nAt);
  strFieldInfo = strCon.Mid(nAt + static_cast<int>(kSeparator.size()));
}

bool ConvertToBool(CString str) {
  str.Replace(u"Read Status : ", u"");
  return !str.Contains(u"UNREAD");
}

CivilDateTime GetDateTime(COleDateTime value) {
  if (value.GetStatus() != COleDateTime::valid) {
    throw std::out_of_range(
        "The added or subtracted value results in an un-representable DateTime.");
  }
  CivilDateTime objDate{value.GetYear(), value.GetMonth(),  value.GetDay(),
                        value.GetHour(), value.GetMinute(), value.GetSecond()};
  // Year 1, in which the months are added, is no leap year: a day beyond February's end is moved to
  // its 28th, and the year is added only then.
  const bool bLeapDay = objDate.nMonth == 2 && objDate.nDay == 29 && IsLeapYear(objDate.nYear);
  if (bLeapDay && !ews::Settings().bSafe) objDate.nDay = 28;
  return objDate;
}

std::int64_t ToUniversalTime(const CivilDateTime& objDate) {
  const std::int64_t nSeconds =
      platform::LocalToUtcSeconds(COleDateTime(objDate.nYear, objDate.nMonth, objDate.nDay,
                                               objDate.nHour, objDate.nMinute, objDate.nSecond));
  return std::min(nSeconds, kLastSecond);
}
