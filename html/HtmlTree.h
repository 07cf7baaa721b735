#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <memory_resource>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "base/StringBuffer.h"
#include "html/HtmlTagTable.h"

namespace mail {

// A page as a tree, as _ckHtmlParse makes it. All text is UTF-8 and lives as long as the tree.
//
// Nodes are numbered in the order of the page, the root first, and know their neighbours by number,
// so that a tree of any depth is walked without recursion. What is special about a node, its tag
// says by number: known elements have those of HtmlTagTable.h, what is no element the ones below,
// and each name that is unknown one of its own from kFirstUnknown on.
class HtmlTree {
 public:
  using Index = std::uint32_t;
  static constexpr Index kNone = 0xFFFFFFFF;
  static constexpr Index kRoot = 0;

  enum Tag : std::uint32_t {
    kRootTag = kMaxKnownTags,
    kTextTag,      // a run of text, entities decoded
    kDoctypeTag,   // without "<!DOCTYPE" and ">"
    kCommentTag,   // without "<!--" and "-->"
    kVerbatimTag,  // what a script or style holds, its only child
    kFirstUnknown,
  };

  struct Node {
    std::string_view strText;  // of an element its start tag as the page has it, less the ">"
    std::uint32_t nTag = kRootTag;
    Index nParent = kNone;
    Index nFirstChild = kNone;
    Index nLastChild = kNone;
    Index nNext = kNone;  // beside it
  };

  HtmlTree();  // a root alone

  const Node& at(Index nNode) const { return m_arrBlocks[nNode / kBlock][nNode % kBlock]; }
  std::size_t size() const { return m_nSize; }
  std::size_t sourceSize() const { return m_strSource.size(); }  // bytes of the page
  bool isElement(Index nNode) const {
    const std::uint32_t nTag = at(nNode).nTag;
    return nTag < kRootTag || nTag >= kFirstUnknown;
  }
  // "root", "text", "doctype", "comment", or an element's name in lower case; empty for
  // kVerbatimTag.
  std::string_view tagName(Index nNode) const { return nameOf(at(nNode).nTag); }
  std::string_view nameOf(std::uint32_t nTag) const { return m_arrNames[nTag]; }

  // The value of an element's attribute, entities decoded, into strOut (set); empty when there is
  // none.
  void attribute(Index nNode, std::string_view strName, StringBuffer& strOut) const;

  // --- For the parser. These throw std::bad_alloc. ---
  // Takes over the text into which nodes may point, and returns it.
  std::string_view setSource(std::string strSource);
  std::string_view keep(std::string_view strText);   // a copy that lives as long as the tree
  std::uint32_t numberOf(std::string_view strName);  // of an element, in any case
  std::uint32_t tagCount() const { return static_cast<std::uint32_t>(m_arrNames.size()); }
  Index add(Index nParent, std::uint32_t nTag, std::string_view strText);  // as last child

 private:
  static constexpr std::size_t kBlock = 256;  // nodes; they never move

  Index append(const Node& objNode);
  Node& node(Index nNode) { return m_arrBlocks[nNode / kBlock][nNode % kBlock]; }
  std::uint32_t numberOfUnknown(std::string_view strName);

  std::string m_strSource;
  std::pmr::monotonic_buffer_resource m_objTexts;
  std::vector<std::string_view> m_arrNames;
  std::unordered_map<std::string_view, std::uint32_t> m_mapUnknown;
  std::vector<std::unique_ptr<Node[]>> m_arrBlocks;
  std::size_t m_nSize = 0;
};

}  // namespace mail
