#include "base/CkLogger.h"

#include <algorithm>
#include <new>

namespace mail {
namespace {

// The text's first bytes, cut at a character of UTF-8.
std::string_view CutEntry(std::string_view strText) {
  if (strText.size() <= _ckLogger::kMaxEntryBytes) return strText;
  std::size_t nEnd = _ckLogger::kMaxEntryBytes;
  for (int n = 0; n < 3 && (strText[nEnd] & '\xC0') == '\x80'; ++n) --nEnd;
  return strText.substr(0, nEnd);
}

void AppendPrintable(std::string& strLine, std::string_view strText) {
  for (const char ch : CutEntry(strText)) {
    const auto nByte = static_cast<unsigned char>(ch);
    strLine += nByte < 0x20 || nByte == 0x7F ? ' ' : ch;
  }
}

}  // namespace

void _ckLogger::EnterContext(std::string_view strName) {
  addLine(strName, ":", {});
  ++m_nContexts;
}

void _ckLogger::LeaveContext() {
  if (m_nContexts != 0) --m_nContexts;
}

void _ckLogger::LogError(std::string_view strText) { addLine({}, {}, strText); }

void _ckLogger::LogInfo(std::string_view strText) { addLine({}, {}, strText); }

void _ckLogger::LogData(std::string_view strName, std::string_view strText) {
  addLine(strName, ": ", strText);
}

void _ckLogger::clearLog() {
  m_strText.clear();
  m_bFull = false;
}

void _ckLogger::addLine(std::string_view strName, std::string_view strSeparator,
                        std::string_view strText) {
  if (m_bFull) return;
  try {
    std::string strLine(2 * std::min(m_nContexts, kMaxIndentedContexts), ' ');
    AppendPrintable(strLine, strName);
    strLine += strSeparator;
    AppendPrintable(strLine, strText);
    strLine += "\r\n";
    m_bFull = m_strText.size() + strLine.size() > kMaxTextBytes;
    m_strText += m_bFull ? std::string("(the log ends here: it is full)\r\n") : strLine;
  } catch (const std::bad_alloc&) {
    m_bFull = true;  // the library goes on without its log
  }
}

}  // namespace mail
