#include "client/sources/ContentHash.h"

#include <algorithm>
#include <array>

#include "base/AsciiText.h"
#include "platform/Sha256.h"

namespace client {
namespace {

constexpr std::array<std::string_view, 18> kOfStores{"Status",
                                                     "X-Status",
                                                     "X-Keywords",
                                                     "X-Mozilla-Status",
                                                     "X-Evolution",
                                                     "X-Mozilla-Keys",
                                                     "X-Mozilla-Status2",
                                                     "X-Gmail-Labels",
                                                     "X-IMAP",
                                                     "X-IMAPbase",
                                                     "X-UID",
                                                     "X-UIDL",
                                                     "X-Account-Key",
                                                     "X-TUID",
                                                     "X-OfflineIMAP",
                                                     "X-Evolution-Source",
                                                     "Lines",
                                                     "Content-Length"};

bool IsOfStore(std::string_view line) {
  const std::size_t colon = line.find(':');
  if (colon == std::string_view::npos) return false;
  const std::string_view name = mail::trimmed(line.substr(0, colon));
  return std::ranges::any_of(kOfStores,
                             [&](std::string_view each) { return mail::equalsNoCase(each, name); });
}

// Behind the line that begins there.
std::size_t LineEnd(std::string_view text, std::size_t from) {
  const std::size_t end = text.find('\n', from);
  return end == std::string_view::npos ? text.size() : end + 1;
}

}  // namespace

void EachPieceOfContent(std::string_view mail,
                        const std::function<void(std::string_view piece)>& take) {
  std::size_t kept = 0;  // what stays and is not handed over yet begins here
  for (std::size_t at = 0; at < mail.size();) {
    std::size_t next = LineEnd(mail, at);
    const std::string_view line = mail.substr(at, next - at);
    if (line == "\n" || line == "\r\n") break;
    while (next < mail.size() && (mail[next] == ' ' || mail[next] == '\t')) {
      next = LineEnd(mail, next);
    }
    if (IsOfStore(line)) {
      take(mail.substr(kept, at - kept));
      kept = next;
    }
    at = next;
  }
  take(mail.substr(kept));
}

std::string ContentHash(std::string_view mail) {
  platform::Sha256 hash;
  EachPieceOfContent(mail, [&](std::string_view piece) { hash.Update(piece); });
  return hash.Hex();
}

}  // namespace client
