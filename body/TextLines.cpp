#include "body/TextLines.h"

#include <algorithm>

#include "platform/Files.h"
#include "platform/LineReader.h"

std::optional<TextLines> TextLines::Open(const CString& strPath) {
  auto objFile = platform::File::Open(strPath, platform::OpenMode::kRead);
  if (!objFile) return std::nullopt;
  std::string strBytes(static_cast<std::size_t>(objFile->Length()), '\0');
  strBytes.resize(
      objFile->Read({reinterpret_cast<unsigned char*>(strBytes.data()), strBytes.size()}));
  return TextLines(platform::FromTextMode(strBytes));
}

bool TextLines::Read(std::string_view& strLine) {
  if (m_nNext >= m_strText.size()) return false;
  const std::size_t nEnd = std::min(m_strText.find('\n', m_nNext), m_strText.size());
  strLine = std::string_view(m_strText).substr(m_nNext, nEnd - m_nNext);
  m_nNext = nEnd + 1;
  return true;
}
