#include "body/rtf/ListTable.h"

#include <algorithm>

namespace rtf {
namespace {

constexpr int kTwoDigits = 22;
constexpr int kMostRoman = 3999;
constexpr int kMostLetters = 26 * 8;
constexpr std::size_t kMostText = 128;  // units of a level's text

// Formats that a browser counts by itself, where the number is followed by a dot.
struct NumberStyle {
  int nFormat;
  std::string_view strStyle;
};
constexpr std::array kNumberStyles = {
    NumberStyle{0, "decimal"},     NumberStyle{1, "upper-roman"},
    NumberStyle{2, "lower-roman"}, NumberStyle{3, "upper-alpha"},
    NumberStyle{4, "lower-alpha"}, NumberStyle{kTwoDigits, "decimal-leading-zero"},
};

// Bullets that a browser draws by itself; private characters are those of Symbol and Wingdings.
struct BulletStyle {
  char16_t ch;
  std::string_view strStyle;
};
constexpr std::array kBulletStyles = {
    BulletStyle{u'\u2022', "disc"},   BulletStyle{u'\u00B7', "disc"},
    BulletStyle{u'\u25CF', "disc"},   BulletStyle{u'\uF0B7', "disc"},
    BulletStyle{u'*', "disc"},        BulletStyle{u'\uF06C', "disc"},
    BulletStyle{u'o', "circle"},      BulletStyle{u'\u25CB', "circle"},
    BulletStyle{u'\u25E6', "circle"}, BulletStyle{u'\u25AA', "square"},
    BulletStyle{u'\u25A0', "square"}, BulletStyle{u'\uF0A7', "square"},
    BulletStyle{u'\uF06E', "square"},
};

struct RomanDigit {
  int nValue;
  std::u16string_view strDigits;
};
constexpr std::array kRomanDigits = {
    RomanDigit{1000, u"m"}, RomanDigit{900, u"cm"}, RomanDigit{500, u"d"}, RomanDigit{400, u"cd"},
    RomanDigit{100, u"c"},  RomanDigit{90, u"xc"},  RomanDigit{50, u"l"},  RomanDigit{40, u"xl"},
    RomanDigit{10, u"x"},   RomanDigit{9, u"ix"},   RomanDigit{5, u"v"},   RomanDigit{4, u"iv"},
    RomanDigit{1, u"i"},
};

std::u16string Decimal(int nNumber) {
  const std::string str = std::to_string(nNumber);
  return {str.begin(), str.end()};
}

std::u16string Roman(int nNumber) {
  std::u16string str;
  for (const RomanDigit& objDigit : kRomanDigits) {
    for (; nNumber >= objDigit.nValue; nNumber -= objDigit.nValue) str += objDigit.strDigits;
  }
  return str;
}

void RaiseCase(std::u16string& str) {
  for (char16_t& ch : str) ch = static_cast<char16_t>(ch - u'a' + u'A');
}

void SetStyle(ListMarker& objMarker, const ListLevel& objLevel, int nLevel) {
  if (objLevel.nFormat == kBulletFormat) {
    const auto it = objLevel.strText.size() == 1
                        ? std::ranges::find(kBulletStyles, objLevel.strText[0], &BulletStyle::ch)
                        : kBulletStyles.end();
    if (it != kBulletStyles.end()) objMarker.strStyle = it->strStyle;
    return;
  }
  const std::u16string strSimple{static_cast<char16_t>(nLevel), u'.'};
  if (objLevel.strText != strSimple) return;
  const auto it = std::ranges::find(kNumberStyles, objLevel.nFormat, &NumberStyle::nFormat);
  if (it != kNumberStyles.end()) objMarker.strStyle = it->strStyle;
}

}  // namespace

std::u16string FormatListNumber(int nNumber, int nFormat) {
  if (nFormat == kNoNumber || nFormat == kBulletFormat) return {};
  const bool bUpper = nFormat == 1 || nFormat == 3;
  std::u16string str;
  if ((nFormat == 1 || nFormat == 2) && nNumber > 0 && nNumber <= kMostRoman) {
    str = Roman(nNumber);
  } else if ((nFormat == 3 || nFormat == 4) && nNumber > 0 && nNumber <= kMostLetters) {
    const auto nTimes = static_cast<std::size_t>((nNumber - 1) / 26 + 1);
    str.assign(nTimes, static_cast<char16_t>(u'a' + (nNumber - 1) % 26));
  } else {
    return (nFormat == kTwoDigits && nNumber >= 0 && nNumber < 10 ? u"0" : u"") + Decimal(nNumber);
  }
  if (bUpper) RaiseCase(str);
  return str;
}

ListLevel& ListTable::BeginLevel() {
  if (m_arrLists.empty()) BeginList();
  m_arrLists.back().emplace_back();
  return m_arrLists.back().back();
}

ListLevel& ListTable::Level() {
  if (m_arrLists.empty() || m_arrLists.back().empty()) return m_objNoLevel;
  return m_arrLists.back().back();
}

void ListTable::NameList(int nId) {
  if (!m_arrLists.empty()) m_mapLists[nId] = m_arrLists.size() - 1;
}

void ListTable::BeginOverrideLevel() {
  if (m_objOverride.arrStarts.size() < kListLevels) m_objOverride.arrStarts.push_back(0);
}

void ListTable::SetOverrideStart(int nStart) {
  if (!m_objOverride.arrStarts.empty()) m_objOverride.arrStarts.back() = nStart;
}

int ListTable::AddOld(const ListLevel& objLevel) {
  if (m_arrOld.empty() || m_arrOld.back().front() != objLevel) m_arrOld.push_back({objLevel});
  return -static_cast<int>(m_arrOld.size());
}

const ListTable::Levels* ListTable::LevelsOf(int nKey) const {
  if (nKey < 0) {
    const auto nIndex = static_cast<std::size_t>(-(nKey + 1));
    return nIndex < m_arrOld.size() ? &m_arrOld[nIndex] : nullptr;
  }
  const auto itOverride = m_mapOverrides.find(nKey);
  if (itOverride == m_mapOverrides.end()) return nullptr;
  const auto itList = m_mapLists.find(itOverride->second.nList);
  return itList == m_mapLists.end() ? nullptr : &m_arrLists[itList->second];
}

// Overrides of one list count together, until one of them says where to begin.
ListTable::Counters& ListTable::CountersOf(int nKey) {
  const auto it = m_mapOverrides.find(nKey);
  if (nKey < 0 || it == m_mapOverrides.end()) return m_mapCounters[{false, nKey}];
  Override& objOverride = it->second;
  Counters& arrCounters = m_mapCounters[{true, objOverride.nList}];
  if (!objOverride.bUsed) {
    objOverride.bUsed = true;
    const std::size_t nCount = std::min<std::size_t>(objOverride.arrStarts.size(), kListLevels);
    for (std::size_t n = 0; n < nCount; ++n) {
      if (objOverride.arrStarts[n] > 0) arrCounters[n] = objOverride.arrStarts[n];
    }
  }
  return arrCounters;
}

std::u16string ListTable::TextOf(const Levels& arrLevels, const Counters& arrCounters, int nLevel) {
  const ListLevel& objOwn = arrLevels[static_cast<std::size_t>(nLevel)];
  std::u16string str;
  for (const char16_t ch : std::u16string_view(objOwn.strText).substr(0, kMostText)) {
    if (ch >= kListLevels) {
      str += ch;
      continue;
    }
    const int nFormat = ch < arrLevels.size() ? arrLevels[ch].nFormat : 0;
    str += FormatListNumber(std::max(arrCounters[ch] - 1, 1), nFormat);
  }
  return str;
}

ListMarker ListTable::Next(int nKey, int nLevel) {
  static const Levels kUndefined{ListLevel{.strText = std::u16string(u"\0.", 2)}};
  nLevel = std::clamp(nLevel, 0, kListLevels - 1);
  const Levels* pLevels = LevelsOf(nKey);
  if (pLevels == nullptr || static_cast<std::size_t>(nLevel) >= pLevels->size()) {
    pLevels = &kUndefined;
  }
  const int nDefined = pLevels == &kUndefined ? 0 : nLevel;
  const ListLevel& objLevel = (*pLevels)[static_cast<std::size_t>(nDefined)];
  Counters& arrCounters = CountersOf(nKey);
  int& nCounter = arrCounters[static_cast<std::size_t>(nLevel)];
  const int nNumber = nCounter == 0 ? objLevel.nStart : nCounter;
  nCounter = nNumber + 1;
  std::fill(arrCounters.begin() + nLevel + 1, arrCounters.end(), 0);

  ListMarker objMarker{.bOrdered = objLevel.nFormat != kBulletFormat,
                       .nNumber = nNumber,
                       .nFont = objLevel.nFont,
                       .strText = TextOf(*pLevels, arrCounters, nDefined)};
  SetStyle(objMarker, objLevel, nDefined);
  return objMarker;
}

}  // namespace rtf
