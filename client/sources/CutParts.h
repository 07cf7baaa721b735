#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace client {

// A part of a mail whose body was taken out of it and lies in a file of its own: Apple Mail marks
// such parts by a field X-Apple-Content-Length.
struct CutPart {
  std::string number;      // its place as IMAP counts: "2", "1.3"
  std::string encoding;    // its Content-Transfer-Encoding, in lower case; empty for none
  std::uint64_t body = 0;  // where its body would begin: bytes from the beginning of the mail
};

// In the order of the mail. Linear in its length; parts that lie deeper than kDeepestCutPart are
// passed over.
inline constexpr std::size_t kDeepestCutPart = 64;
std::vector<CutPart> CutPartsOf(std::string_view mail);

// The mail of a "NUMBER.partial.emlx" with the bodies that lie beside it, in
// "../Attachments/NUMBER/PART/NAME". Throws SourceError where one of them is not there: its program
// never fetched it.
std::string WithCutParts(std::string mail, const std::string& path);

}  // namespace client
