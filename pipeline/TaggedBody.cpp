#include "pipeline/TaggedBody.h"

#include <algorithm>

namespace {

constexpr std::u16string_view kSeparator = u" : ";

size_t CountOf(std::u16string_view strText, std::u16string_view strPart) {
  size_t nCount = 0;
  for (size_t n = strText.find(strPart); n != strText.npos; n = strText.find(strPart, n + 1)) {
    ++nCount;
  }
  return nCount;
}

}  // namespace

TaggedBody::TaggedBody(std::u16string_view strBody) {
  const size_t nMost = CountOf(strBody, kItemEnd);
  while (m_arrItems.size() < nMost && !strBody.empty()) {
    const size_t nEnd = std::min(strBody.find(kItemEnd), strBody.size());
    std::u16string_view strRest = strBody.substr(0, nEnd);
    strBody.remove_prefix(std::min(nEnd + kItemEnd.size(), strBody.size()));

    std::u16string& strText = m_arrTexts.emplace_back();
    std::vector<size_t> arrStarts;
    for (size_t n = strRest.find(kItemBegin); n != strRest.npos; n = strRest.find(kItemBegin)) {
      strText += strRest.substr(0, n);
      arrStarts.push_back(strText.size());
      strRest.remove_prefix(n + kItemBegin.size());
    }
    strText += strRest;
    AddItems(strText, arrStarts, nMost);
  }
}

void TaggedBody::AddItems(const std::u16string& strText, const std::vector<size_t>& arrStarts,
                          size_t nMost) {
  const std::u16string_view strView = strText;
  size_t nAt = strView.find(kSeparator);  // the first one that no start has passed
  for (const size_t nStart : arrStarts) {
    if (m_arrItems.size() == nMost) return;
    if (nAt < nStart) nAt = strView.find(kSeparator, nStart);
    if (nAt == strView.npos) {
      m_arrItems.emplace_back();
      continue;
    }
    m_arrItems.push_back(
        {strView.substr(nStart, nAt - nStart), strView.substr(nAt + kSeparator.size())});
  }
}
