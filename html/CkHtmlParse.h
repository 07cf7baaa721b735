#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "base/LibraryObject.h"
#include "base/LogBase.h"
#include "html/CkHtmlHelp.h"
#include "html/HtmlTree.h"

namespace mail {

// Turns HTML as mail clients write it into a tree. It is no conforming parser: it reads on whatever
// comes, and puts right only what mails leave out as a rule (the end tags of paragraphs, list items
// and cells, the rows of a table).
class _ckHtmlParse : public LibraryObject {
 public:
  // What becomes of "&nbsp;" in text; any further number leaves it, too.
  enum NbspMode : std::uint32_t {
    kNbspBlank = 0,
    kNbspReference = 1,  // U+00A0, written as "&#160;" where the tree is written
    kNbspRemoved = 2,
    kNbspStays = 3,
  };
  static constexpr std::size_t kMaxOpen = 500;  // elements; deeper ones stand beside each other

  // A dropped tag gets no node, and what it holds goes to the node around it. Unknown names are
  // never dropped.
  void dropTag(std::string_view strName) { setDropped(strName, true); }
  void keepTag(std::string_view strName) { setDropped(strName, false); }

  // Fills objTree, which must be new. The text is in the code page nPage. False, logged, for want
  // of memory; what objTree holds then is of no use.
  bool parseHtml(std::string strHtml, unsigned nPage, HtmlTree& objTree, LogBase& log) const;

  bool m_dropComments = false;
  std::uint32_t m_nbspMode = kNbspBlank;
  std::size_t m_entityDigits = _ckHtmlHelp::kShortEntity;  // of numeric entities in text

 private:
  void setDropped(std::string_view strName, bool bDropped);

  std::array<bool, kMaxKnownTags> m_aDropped{};
};

}  // namespace mail
