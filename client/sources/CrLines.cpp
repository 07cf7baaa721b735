#include "client/sources/CrLines.h"

#include "client/sources/FromLine.h"

namespace client {

bool EndsLinesByCr(std::string_view bytes) {
  // As long as a line between two mails may be: in any other file an LF stands within them.
  constexpr std::size_t kLook = kLongestFromLine;
  const std::string_view head = bytes.substr(0, kLook);
  return head.find('\n') == std::string_view::npos && head.find('\r') != std::string_view::npos;
}

void MakeLfOfCr(std::string& bytes) {
  for (std::size_t at = bytes.find('\r'); at != std::string::npos; at = bytes.find('\r', at + 1)) {
    if (at + 1 == bytes.size() || bytes[at + 1] != '\n') bytes[at] = '\n';
  }
}

void CrPieces::Feed(std::string_view bytes, const Take& take) {
  std::string lines = m_held.append(bytes);
  m_held.clear();
  if (lines.ends_with('\r')) {
    m_held = "\r";
    lines.pop_back();
  }
  MakeLfOfCr(lines);
  take(lines);
}

void CrPieces::Finish(const Take& take) {
  if (!m_held.empty()) take("\n");
}

}  // namespace client
