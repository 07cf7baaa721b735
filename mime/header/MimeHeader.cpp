#include "mime/header/MimeHeader.h"

#include <utility>

#include "base/AsciiText.h"
#include "base/DataBuffer.h"
#include "mime/header/FieldNames.h"
#include "mime/header/HeaderCharset.h"
#include "mime/header/HeaderLines.h"
#include "mime/header/SevenBit.h"

namespace mail {

// Reads the lines of one header into fields.
class HeaderLoader {
 public:
  HeaderLoader(MimeHeader& objHeader, bool b8bit, LogBase& log)
      : m_objHeader(objHeader), m_log(log), m_b8bit(b8bit) {}

  bool load(HeaderLines objLines) {
    const bool bDone = takeFields(objLines);
    if (m_bTakenAway) {
      (void)m_objHeader.m_fields.deleteIf([](const MimeField& objField) {
        return isContentType(objField) && objField.value().isEmpty();
      });
    }
    return bDone;
  }

 private:
  static bool isContentType(const MimeField& objField) {
    return (fieldTraits(objField.name().view()) & kIsContentType) != 0;
  }

  bool takeFields(HeaderLines& objLines) {
    std::size_t nLines = 0;
    while (nLines < MimeHeader::kMaxLines && !objLines.atEnd()) {
      std::string_view strField = objLines.take();
      ++nLines;
      if (isSeparator(strField)) continue;
      m_bUnfolded = false;
      while (nLines < MimeHeader::kMaxLines && continues(objLines)) {
        const std::string_view strLine = objLines.take();
        ++nLines;
        if (!isSeparator(strLine)) strField = join(strField, strLine);
      }
      if (!closeField(strField)) return false;
    }
    return true;
  }

  // Of an mbox: passed over wherever it stands, begins no field and ends none.
  static bool isSeparator(std::string_view strLine) { return strLine.starts_with("From "); }
  static bool continues(const HeaderLines& objLines) {
    return objLines.nextIsContinued() || objLines.nextStartsWith("From ");
  }

  // The field so far and one more line; most fields have one and are never copied for it.
  std::string_view join(std::string_view strField, std::string_view strLine) {
    if (!m_bUnfolded) {
      m_unfolded.weakClear();
      (void)m_unfolded.append(strField);
      m_bUnfolded = true;
    }
    (void)m_unfolded.append(strLine);
    return m_unfolded.view();
  }

  bool closeField(std::string_view strField) {
    if (!m_b8bit || isSevenBit(strField)) return addField(strField);
    m_utf8.weakClear();
    (void)convertFieldToUtf8(strField, m_objHeader.m_codePage, m_utf8, m_log);
    return addField(m_utf8.view());
  }

  // A line without a colon makes no field.
  bool addField(std::string_view strField) {
    auto pField = makeOwned<MimeField>();
    if (pField == nullptr) return outOfMemory();
    if (!pField->loadLine(strField, m_objHeader.m_control, m_log)) return true;
    MimeField* const pAdded = pField.get();
    const bool bContentType = isContentType(*pField);
    if (bContentType && replacesContentType(*pField)) return true;
    if (!m_objHeader.m_fields.append(std::move(pField))) return outOfMemory();
    if (bContentType) m_pContentType = pAdded;
    return true;
  }

  // Of several Content-Type fields the last one counts, in the place of the first; one without a
  // value takes the one before away, and marks its place until all fields are read: to close each
  // gap at once would take quadratic time.
  bool replacesContentType(MimeField& objField) {
    const bool bTakesAway = objField.value().isEmpty();
    if (m_pContentType == nullptr) return bTakesAway;
    *m_pContentType = std::move(objField);
    if (bTakesAway) m_pContentType = nullptr;
    m_bTakenAway = m_bTakenAway || bTakesAway;
    return true;
  }

  bool outOfMemory() {
    m_log.LogError("Out of memory allocating MimeField.");
    return false;
  }

  MimeHeader& m_objHeader;
  LogBase& m_log;
  const bool m_b8bit;
  bool m_bUnfolded = false;
  DataBuffer m_unfolded;  // the field being read, if it has several lines
  DataBuffer m_utf8;
  MimeField* m_pContentType = nullptr;
  bool m_bTakenAway = false;
};

bool MimeHeader::loadMimeHeaderText(std::string_view strBytes, std::string_view strEndMarker,
                                    int nKnownCodePage, std::string_view strCharsetClue,
                                    LogBase& log) {
  constexpr std::string_view kSignature = "\xEF\xBB\xBF";
  clear();
  if (strBytes.starts_with(kSignature)) strBytes.remove_prefix(kSignature.size());
  HeaderExtent objExtent = findHeader(strBytes, strEndMarker);
  bool bRawJapanese = false;
  m_codePage =
      decideHeaderCodePage(objExtent.strHeader, nKnownCodePage, strCharsetClue, bRawJapanese, log);
  DataBuffer japanese;
  if (bRawJapanese) {
    (void)convertRawJapanese(objExtent.strHeader, japanese, log);
    objExtent.strHeader = japanese.view();
  }
  const bool b8bit = !isSevenBit(objExtent.strHeader);
  return HeaderLoader(*this, b8bit, log).load(HeaderLines(objExtent));
}

std::size_t MimeHeader::indexOf(std::string_view strName) const {
  std::size_t n = 0;
  while (n < getCount() && !equalsNoCase(at(n)->name().view(), strName)) ++n;
  return n;
}

const MimeField* MimeHeader::find(std::string_view strName) const { return at(indexOf(strName)); }

std::string_view MimeHeader::valueOf(std::string_view strName) const {
  const MimeField* const pField = find(strName);
  return pField != nullptr ? pField->value().view() : std::string_view();
}

bool MimeHeader::getField(std::string_view strName, StringBuffer& strValue) const {
  const MimeField* pField = find(strName);
  return pField != nullptr && strValue.setString(pField->value().view());
}

void MimeHeader::replaceField(std::string_view strName, std::string_view strValueUtf8,
                              LogBase& log) {
  const std::size_t nIndex = indexOf(strName);
  if (strValueUtf8.empty()) {
    (void)m_fields.deleteAt(nIndex);
  } else if (MimeField* pField = m_fields.at(nIndex)) {
    pField->setContents(strName, strValueUtf8, m_control, log);
  } else {
    addField(strName, strValueUtf8, log);
  }
}

void MimeHeader::addField(std::string_view strName, std::string_view strValueUtf8, LogBase& log) {
  auto pField = makeOwned<MimeField>();
  if (pField != nullptr) pField->setContents(strName, strValueUtf8, m_control, log);
  if (pField == nullptr || !m_fields.append(std::move(pField))) {
    log.LogError("Out of memory allocating MimeField.");
  }
}

OwnedPtr<MimeField> MimeHeader::exchangeField(std::size_t nIndex, OwnedPtr<MimeField> pField) {
  if (pField == nullptr) return nullptr;
  OwnedPtr<MimeField> pOld = m_fields.remove(nIndex);
  if (pOld != nullptr) (void)m_fields.insert(nIndex, std::move(pField));  // there is room for it
  return pOld;
}

std::size_t MimeHeader::deleteField(std::string_view strName, bool bAll) {
  if (!bAll) return m_fields.deleteAt(indexOf(strName)) ? 1 : 0;
  return m_fields.deleteIf(
      [&](const MimeField& objField) { return equalsNoCase(objField.name().view(), strName); });
}

void MimeHeader::mergeFields(std::string_view strName, std::string_view strSeparator,
                             LogBase& log) {
  StringBuffer strMerged;
  std::size_t nFields = 0;
  for (std::size_t n = 0; n < getCount(); ++n) {
    if (!equalsNoCase(at(n)->name().view(), strName)) continue;
    if (!strMerged.isEmpty() && !at(n)->value().isEmpty()) (void)strMerged.append(strSeparator);
    (void)strMerged.append(at(n)->value());
    ++nFields;
  }
  if (nFields < 2) return;
  MimeField* const pFirst = m_fields.at(indexOf(strName));
  (void)m_fields.deleteIf([&](const MimeField& objField) {
    return &objField != pFirst && equalsNoCase(objField.name().view(), strName);
  });
  const StringBuffer strFirstName(pFirst->name());
  pFirst->setContents(strFirstName.view(), strMerged.view(), m_control, log);
}

void MimeHeader::takeFields(MimeHeader& other, LogBase& log) {
  m_fields.removeAll();
  m_fields.swap(other.m_fields);
  m_codePage = std::exchange(other.m_codePage, 0);
  if (!m_control.m_bMailAddresses) return;
  for (std::size_t n = 0; n < getCount(); ++n) {
    MimeField& objField = *m_fields.at(n);
    if (!isTraceField(objField.name().view())) continue;
    const StringBuffer strName(objField.name());
    const StringBuffer strValue(objField.value());
    objField.setContents(strName.view(), strValue.view(), m_control, log);
  }
}

void MimeHeader::clear() {
  m_fields.removeAll();
  m_codePage = 0;
}

void MimeHeader::emit(StringBuffer& strOut, int nCodePage, LogBase& log) const {
  const std::size_t nBefore = strOut.getSize();
  for (std::size_t n = 0; n < getCount(); ++n) {
    at(n)->emit(strOut, nCodePage != 0 ? nCodePage : m_codePage, m_control, log);
  }
  while (strOut.getSize() > nBefore + 1 && strOut.lastChar() == '\n') strOut.chop(2);
}

}  // namespace mail
