#pragma once

#include <cstddef>
#include <string_view>

#include "base/ExtPtrArray.h"
#include "base/LibraryObject.h"
#include "base/LogBase.h"
#include "base/OwnedPtr.h"
#include "base/StringBuffer.h"
#include "mime/header/MimeControl.h"
#include "mime/header/MimeField.h"

namespace mail {

// The fields of one entity in the order of the file, duplicates among them. Names are compared
// without regard to ASCII case; what reads by name sees the first field of that name.
//
// Nothing throws; reading is linear in the size of the header whatever it holds.
class MimeHeader : public LibraryObject {
 public:
  static constexpr std::size_t kMaxLines = 100000;  // what stands behind is passed over

  // Replaces the fields by those of the text, which ends at the first strEndMarker (empty: the
  // first CR LF CR LF), or at what resembles an empty line, or with the text. Decides the code page
  // of bytes that are no ASCII (HeaderCharset.h): nKnownCodePage is 65001 if the text is known to
  // be UTF-8, else 0; strCharsetClue is the name of the charset of the entity around this one, or
  // empty. False only for want of memory; the fields so far stay.
  bool loadMimeHeaderText(std::string_view strBytes, std::string_view strEndMarker,
                          int nKnownCodePage, std::string_view strCharsetClue, LogBase& log);

  std::size_t getCount() const { return m_fields.getSize(); }
  // Null behind the end. The header stays the owner; good until that field is deleted.
  const MimeField* at(std::size_t nIndex) const { return m_fields.at(nIndex); }
  // Of the first field of that name; getCount() if there is none.
  std::size_t indexOf(std::string_view strName) const;
  // Null if there is none of that name.
  const MimeField* find(std::string_view strName) const;
  // The value of the first field of that name; empty if there is none. Good as long as the field.
  std::string_view valueOf(std::string_view strName) const;
  // Sets strValue to the value of the first field of that name; false, and strValue untouched,
  // if there is none.
  bool getField(std::string_view strName, StringBuffer& strValue) const;

  // Sets the first field of that name in its place, or adds one at the end. An empty value deletes
  // the first one.
  void replaceField(std::string_view strName, std::string_view strValueUtf8, LogBase& log);
  void addField(std::string_view strName, std::string_view strValueUtf8, LogBase& log);
  // Puts a field in the place of the nIndex-th and gives that one back, unchanged. Null, and the
  // header as it was, behind the end and for no field.
  OwnedPtr<MimeField> exchangeField(std::size_t nIndex, OwnedPtr<MimeField> pField);
  // Removes the first field of that name, or all; how many there were.
  std::size_t deleteField(std::string_view strName, bool bAll);
  // Joins the values of all fields of that name in the first one, with the separator between them,
  // and removes the others. One field, or none, stays as it is.
  void mergeFields(std::string_view strName, std::string_view strSeparator, LogBase& log);
  // Takes the fields and the code page of another header, which is empty then, in place of what was
  // here; what m_control asks for is done to them.
  void takeFields(MimeHeader& other, LogBase& log);
  void clear();  // fields and code page

  // Appends all fields for a mail in that code page (0: m_codePage), without the line end of the
  // last one.
  void emit(StringBuffer& strOut, int nCodePage, LogBase& log) const;

  int m_codePage = 0;  // decided on loading; 0: nothing needed a decision

 private:
  friend class HeaderLoader;

  ExtPtrArrayOf<MimeField> m_fields;

 public:
  bool m_bFlag = true;
  MimeControl m_control;
};

}  // namespace mail
