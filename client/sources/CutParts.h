#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "client/sources/FilesBeside.h"

namespace client {

// A part of a mail whose body was taken out of it and lies in a file of its own: Apple Mail marks
// such parts by a field X-Apple-Content-Length.
struct CutPart {
  std::string number;      // its place as IMAP counts: "2", "1.3"
  std::string name;        // of its file, UTF-8; its number where it has none
  std::string encoding;    // its Content-Transfer-Encoding, in lower case; empty for none
  std::uint64_t body = 0;  // where its body would begin: bytes from the beginning of the mail
};

// In the order of the mail. Linear in its length; parts that lie deeper than kDeepestCutPart are
// passed over.
inline constexpr std::size_t kDeepestCutPart = 64;
std::vector<CutPart> CutPartsOf(std::string_view mail);

// Puts the bodies that lie beside a "NUMBER.partial.emlx", in "../Attachments/NUMBER/PART/NAME",
// into its mail. One that its program never fetched, or that was not taken along, stays empty;
// links are not followed, and of more than kMostCutParts the first are taken.
inline constexpr std::size_t kMostCutParts = 1000;
void AddCutParts(const std::string& path, std::string& mail, FilesBeside& files);

}  // namespace client
