#include "mime/header/ContentDisposition.h"

#include "base/AsciiText.h"
#include "mime/encoding/ParameterPieces.h"
#include "mime/header/AttributeReader.h"

namespace mail {

void ContentDisposition::load(std::string_view strValueUtf8, LogBase& log) {
  clear();
  AttributeReader objReader(strValueUtf8, AttributeReader::Blanks::kKept);
  (void)m_type.setString(objReader.head());
  m_type.toLowerCase();
  NumberedPieces objPieces;
  while (objReader.next()) {
    if (isPieceOf(objReader.name(), "filename")) {
      objPieces.add(objReader.name(), objReader.value());
    } else if (m_fileName.isEmpty() && equalsNoCase(objReader.name(), "filename")) {
      (void)m_fileName.setString(objReader.value());
    }
  }
  if (!objPieces.isEmpty()) (void)objPieces.decode(m_fileName, log);
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
