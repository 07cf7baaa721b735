#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "base/LogBase.h"
#include "base/StringBuffer.h"

namespace mail {

// Long and foreign parameter values come in pieces (RFC 2231):
//
//   attachment; filename*0*=utf-8'en'%E2%82%AC%20; filename*1="rates.txt"
//
// A star at the end of a name says that its value is percent-encoded; the first such piece carries
// charset and language. Some mailers cut a value that holds encoded words in the same way.
// Everything here is linear in its input, but for the sorting of pieces, and throws std::bad_alloc
// alone.

// Puts the pieces "NAME*0=", "NAME*1=", … of a field value together, in the order of their numbers,
// as one NAME="…" in the place of the first of them; the others vanish with their separator. Names
// are compared without regard to ASCII case. False, and the value untouched, when there is no
// NAME*0= (percent-encoded pieces are left alone) or for want of memory.
bool joinNumberedPieces(StringBuffer& strValue, std::string_view strName);

// Whether the name of a parameter says that its value is a piece or percent-encoded: "NAME*",
// "NAME*0", "NAME*0*". strName is compared without regard to ASCII case.
bool isPieceOf(std::string_view strParameter, std::string_view strName);

// Collects the pieces of one parameter, in the order in which they are given.
class ParameterPieces {
 public:
  // strParameter is the name as it stands, "name*0*" for example; the value is without its quotes:
  // of the first extended piece charset'language'text, or text alone, which is UTF-8.
  void add(std::string_view strParameter, std::string_view strValue);
  bool isEmpty() const { return m_bEmpty; }
  // Sets strUtf8 to the value, trimmed and without line ends. Bytes that the charset cannot hold
  // and that are UTF-8 are taken as that. A charset that is unknown (it goes to the log as
  // "invalidCharset"), or none, gives the bytes as they are.
  bool decode(StringBuffer& strUtf8, LogBase& log) const;

 private:
  std::string m_strCharset;
  std::string m_strBytes;  // percent-encoding undone
  bool m_bEmpty = true;
};

// The same of pieces that may come in any order, as some mailers write them: their numbers count.
class NumberedPieces {
 public:
  void add(std::string_view strParameter, std::string_view strValue);
  bool isEmpty() const { return m_arrPieces.empty(); }
  bool decode(StringBuffer& strUtf8, LogBase& log);

 private:
  struct Piece {
    unsigned nNumber;
    bool bEncoded;
    std::string strValue;
  };
  std::vector<Piece> m_arrPieces;
};

}  // namespace mail
