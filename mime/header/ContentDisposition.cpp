#include "mime/header/ContentDisposition.h"

#include <algorithm>
#include <string>
#include <vector>

#include "base/AsciiText.h"
#include "mime/encoding/ParameterPieces.h"
#include "mime/header/AttributeReader.h"

namespace mail {
namespace {

struct Piece {
  unsigned nNumber;
  bool bExtended;  // percent-encoded
  std::string strValue;
};

// Mailers may write them in any order.
void decodePieces(std::vector<Piece>& arrPieces, StringBuffer& strFileName, LogBase& log) {
  std::stable_sort(arrPieces.begin(), arrPieces.end(),
                   [](const Piece& a, const Piece& b) { return a.nNumber < b.nNumber; });
  ParameterPieces objPieces;
  for (const Piece& objPiece : arrPieces) {
    objPieces.add(objPiece.bExtended ? "*" : "", objPiece.strValue);
  }
  (void)objPieces.decode(strFileName, log);
}

}  // namespace

void ContentDisposition::load(std::string_view strValueUtf8, LogBase& log) {
  clear();
  AttributeReader objReader(strValueUtf8, AttributeReader::Blanks::kKept);
  (void)m_type.setString(objReader.head());
  m_type.toLowerCase();
  std::vector<Piece> arrPieces;
  while (objReader.next()) {
    if (isPieceOf(objReader.name(), "filename")) {
      arrPieces.push_back({numberOfPiece(objReader.name()), objReader.name().ends_with('*'),
                           std::string(objReader.value())});
    } else if (m_fileName.isEmpty() && equalsNoCase(objReader.name(), "filename")) {
      (void)m_fileName.setString(objReader.value());
    }
  }
  if (!arrPieces.empty()) decodePieces(arrPieces, m_fileName, log);
}

void ContentDisposition::emit(StringBuffer& strOut) const {
  (void)strOut.append(m_type);
  if (m_fileName.isEmpty()) return;
  (void)strOut.append("; filename=");
  appendQuoted(m_fileName.view(), strOut);
}

void ContentDisposition::clear() {
  m_type.weakClear();
  m_fileName.weakClear();
}

}  // namespace mail
