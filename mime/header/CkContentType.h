#pragma once

#include <string_view>

#include "base/LibraryObject.h"
#include "base/LogBase.h"
#include "base/StringBuffer.h"
#include "charset/CkCharset.h"

namespace mail {

// A Content-Type value in its parts. Texts are UTF-8, trimmed and, but for m_name and m_boundary,
// in lower case; empty means that the value said nothing. Of a parameter that stands twice the
// first counts. load() and emit() throw std::bad_alloc alone, for want of memory.
class _ckContentType : public LibraryObject {
 public:
  // Replaces what was there. Takes damaged values as far as they can be understood.
  void load(std::string_view strValueUtf8, LogBase& log);
  // Appends the value. A text type other than text/rfc822-headers that names no charset gets
  // us-ascii, in the object too.
  void emit(StringBuffer& strOut);
  void clear();

  bool isMultipart() const { return m_type.beginsWith("multipart/"); }

  // The name to write; empty if there is none.
  const StringBuffer& charsetName() const;

  StringBuffer m_type;  // "text/plain"
  StringBuffer m_name;
  StringBuffer m_protocol;
  StringBuffer m_micalg;
  _ckCharset m_charset;
  StringBuffer m_unknownCharset;   // a charset's name that m_charset does not know
  StringBuffer m_namelessCharset;  // the name that m_charset was called by, if its page writes none
  StringBuffer m_smimeType;
  StringBuffer m_typeParam;  // "type"
  StringBuffer m_boundary;
  StringBuffer m_reportType;
  bool m_bFormatFlowed = false;
};

}  // namespace mail
