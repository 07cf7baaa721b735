#include "client/sources/CrLines.h"

#include <utility>

#include "client/sources/FromLine.h"

namespace client {

bool EndsLinesByCr(std::string_view bytes) {
  // As long as a line between two mails may be.
  const std::string_view head = bytes.substr(0, kLongestFromLine);
  const std::size_t end = head.find_first_of("\r\n");
  if (end == std::string_view::npos || head[end] == '\n') return false;
  // What went through a system twice that ends lines otherwise has CR CR LF.
  const std::size_t behind = head.find_first_not_of('\r', end);
  return behind != std::string_view::npos && head[behind] != '\n';
}

void MakeLfOfCr(std::string& bytes) {
  for (std::size_t at = bytes.find('\r'); at != std::string::npos; at = bytes.find('\r', at + 1)) {
    if (at + 1 == bytes.size() || bytes[at + 1] != '\n') bytes[at] = '\n';
  }
}

void CrPieces::Feed(std::string_view bytes, const Take& take) {
  std::string lines = std::exchange(m_held, {}).append(bytes);
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
