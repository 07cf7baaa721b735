#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace mail {

// Cuts an attribute list into stretches, for those who change some and write the list again: put
// one behind the other, the raw() of all are the list.
//
//   a/b; n="c;d"; e=f (g)   ->   a/b | ; |  n | = | "c;d" | ; |  e | = | f |  (g)
//
// Encoded words are passed as a whole, whatever they hold. Linear in the list.
class AttributeCutter {
 public:
  enum class Kind : std::uint8_t {
    kText,    // outside values: names, separators, blanks, comments
    kQuoted,  // a value in quotes
    kOpen,    // a value whose quotes nothing closes
    kPlain,   // a value without quotes
  };

  explicit AttributeCutter(std::string_view strList) : m_strRest(strList) {}

  bool next();  // moves on to the next stretch; false when there is none
  Kind kind() const { return m_nKind; }
  std::string_view raw() const { return m_strRaw; }
  std::string_view text() const { return m_strText; }  // without the quotes

 private:
  void cutValue();
  void cut(Kind nKind, std::size_t nBytes, std::size_t nQuotesInFront = 0,
           std::size_t nQuotesBehind = 0);

  std::string_view m_strRest;
  std::string_view m_strRaw;
  std::string_view m_strText;
  Kind m_nKind = Kind::kText;
  std::size_t m_nComment = 0;  // bytes behind a plain value that belong to no name
  bool m_bValueNext = false;
  bool m_bQuotesEnd = true;  // false once a quote was found without another behind it
};

}  // namespace mail
