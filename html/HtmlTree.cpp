#include "html/HtmlTree.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <new>
#include <utility>

#include "base/AsciiText.h"
#include "html/CkHtmlHelp.h"

namespace mail {
namespace {

constexpr std::size_t kMaxKnownName = [] {
  std::size_t nMax = 0;
  for (const HtmlTag& objTag : kHtmlTags) nMax = std::max(nMax, objTag.strName.size());
  return nMax;
}();

}  // namespace

HtmlTree::HtmlTree() : m_arrNames(kFirstUnknown) {
  for (std::size_t n = 0; n < kHtmlTags.size(); ++n) m_arrNames[n] = kHtmlTags[n].strName;
  m_arrNames[kRootTag] = "root";
  m_arrNames[kTextTag] = "text";
  m_arrNames[kDoctypeTag] = "doctype";
  m_arrNames[kCommentTag] = "comment";
  (void)append({{}, kRootTag});
}

void HtmlTree::attribute(Index nNode, std::string_view strName, StringBuffer& strOut) const {
  StringBuffer strRaw(at(nNode).strText);
  (void)strRaw.appendChar('>');
  StringBuffer strTag;
  _ckHtmlHelp::cleanHtmlTag(strRaw.view(), strTag);
  _ckHtmlHelp::getAttrValue(strTag.view(), strName, strOut);
  _ckHtmlHelp::decodeEntities(strOut);
}

std::string_view HtmlTree::setSource(std::string strSource) {
  m_strSource = std::move(strSource);
  return m_strSource;
}

std::string_view HtmlTree::keep(std::string_view strText) {
  if (strText.empty()) return {};
  auto* const pCopy = static_cast<char*>(m_objTexts.allocate(strText.size(), 1));
  std::memcpy(pCopy, strText.data(), strText.size());
  return {pCopy, strText.size()};
}

std::uint32_t HtmlTree::numberOf(std::string_view strName) {
  if (strName.size() <= kMaxKnownName) {
    std::array<char, kMaxKnownName> aLower{};
    std::transform(strName.begin(), strName.end(), aLower.begin(), toLowerAscii);
    const std::uint32_t nTag = numberOfTag({aLower.data(), strName.size()});
    if (nTag != kUnknownTag) return nTag;
  }
  return numberOfUnknown(strName);
}

std::uint32_t HtmlTree::numberOfUnknown(std::string_view strName) {
  std::string strLower(strName);
  std::transform(strLower.begin(), strLower.end(), strLower.begin(), toLowerAscii);
  const auto it = m_mapUnknown.find(strLower);
  if (it != m_mapUnknown.end()) return it->second;
  const auto nTag = static_cast<std::uint32_t>(m_arrNames.size());
  m_arrNames.push_back(keep(strLower));
  m_mapUnknown.emplace(m_arrNames.back(), nTag);
  return nTag;
}

HtmlTree::Index HtmlTree::append(const Node& objNode) {
  if (m_nSize == kNone) throw std::bad_alloc();
  if (m_nSize % kBlock == 0) m_arrBlocks.push_back(std::make_unique<Node[]>(kBlock));
  const auto nNode = static_cast<Index>(m_nSize++);
  node(nNode) = objNode;
  return nNode;
}

HtmlTree::Index HtmlTree::add(Index nParent, std::uint32_t nTag, std::string_view strText) {
  const Index nNode = append({strText, nTag, nParent});
  Node& objParent = node(nParent);
  if (objParent.nLastChild == kNone) {
    objParent.nFirstChild = nNode;
  } else {
    node(objParent.nLastChild).nNext = nNode;
  }
  objParent.nLastChild = nNode;
  return nNode;
}

}  // namespace mail
