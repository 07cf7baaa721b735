#include "client/run/TraceLook.h"

#include <string>
#include <string_view>

namespace client {
namespace {

// A line of its own, written once the server has the mail; a subject that looks like it stands
// behind its label.
constexpr std::string_view kSaved = "\n Email Save out \r\n";

std::string Units(std::string_view ascii) {
  std::string bytes;
  for (char c : ascii) bytes.append({c, '\0'});
  return bytes;
}

}  // namespace

bool TraceLook::HasSavedMail() const { return Added().find(Units(kSaved)) != std::string::npos; }

}  // namespace client
