#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "platform/CString.h"

// The lines of a work file in text mode: bytes, CR LF read as LF, which is removed.
class TextLines {
 public:
  // Nothing when the file cannot be opened.
  static std::optional<TextLines> Open(const CString& strPath);
  // False only when nothing more can be read. The view is good as long as the object stays where it
  // is.
  bool Read(std::string_view& strLine);

 private:
  explicit TextLines(std::string strText) : m_strText(std::move(strText)) {}

  std::string m_strText;
  std::size_t m_nNext = 0;
};
