#pragma once

#include <cstdint>
#include <string_view>

#include "base/LibraryObject.h"
#include "base/LogBase.h"
#include "base/StringBuffer.h"
#include "base/Validity.h"
#include "mime/header/MimeControl.h"

namespace mail {

// One field of a header. Its value is UTF-8 and unfolded; encoded words are decoded, but for
// address fields, where a decoded name could be taken for addresses.
//
// Nothing throws. An object whose validity word is wrong does nothing and answers false.
class MimeField : public LibraryObject {
 public:
  static constexpr std::uint32_t kFieldValidityWord = 0x34AB8702;
  static constexpr std::size_t kMaxAttributeBytes = 999000000;

  enum Type : std::uint8_t {
    kText = 1,        // unstructured
    kAttributes = 2,  // content-type, content-disposition, content-location
    kAddresses = 3,
  };

  bool isValid() const { return m_fieldValidity.holds(); }

  // Takes a name and a value, which may be folded and may hold encoded words.
  void setContents(std::string_view strName, std::string_view strValueUtf8,
                   const MimeControl& control, LogBase& log);
  // The same from an unfolded line: all before the first ":" is the name. False without a ":", and
  // the field is as it was.
  bool loadLine(std::string_view strLineUtf8, const MimeControl& control, LogBase& log);

  // Appends name, ": ", the value for a mail in that code page (0: UTF-8), and CR LF. What the page
  // lacks is written as UTF-8 in an encoded word that says so. An attribute list of more than
  // kMaxAttributeBytes is written empty, with an error in the log.
  void emit(StringBuffer& strOut, int nCodePage, const MimeControl& control, LogBase& log) const;

  const StringBuffer& name() const { return m_name; }
  const StringBuffer& value() const { return m_value; }
  Type type() const { return m_type; }
  bool allowsFolding() const { return m_bAllowFolding; }
  bool allowsEncoding() const { return m_bAllowEncoding; }

 private:
  void setName(std::string_view strName);
  void decodeValue(bool bByAttributes, LogBase& log);
  void removeNuls();
  void removeLineEnds();
  void emitText(StringBuffer& strOut, int nCodePage, LogBase& log) const;
  void emitAttributes(StringBuffer& strOut, int nCodePage, LogBase& log) const;
  void emitAddresses(StringBuffer& strOut, int nCodePage, LogBase& log) const;
  void fold(std::string_view strValue, StringBuffer& strOut) const;

  Validity<std::uint32_t, kFieldValidityWord> m_fieldValidity;
  bool m_bAllowFolding = true;
  bool m_bAllowEncoding = true;
  Type m_type = kText;
  StringBuffer m_name;
  StringBuffer m_value;
};

}  // namespace mail
