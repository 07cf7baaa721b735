#include "client/run/StatusLog.h"

#include <string_view>

#include "platform/NarrowText.h"
#include "platform/Unicode.h"

namespace client {
namespace {

constexpr std::string_view kBlanks = " \t\r\n";

std::string_view Trimmed(std::string_view line) {
  const size_t first = line.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return line.substr(first, line.find_last_not_of(kBlanks) - first + 1);
}

}  // namespace

std::string StatusLog::LastLine() const {
  const std::string added = Added();
  const std::string_view text = Trimmed(added);
  const size_t start = text.find_last_of('\n');
  const std::string_view line =
      Trimmed(start == std::string_view::npos ? text : text.substr(start + 1));
  return platform::Utf16ToUtf8(platform::NarrowToWide(line));
}

std::string ReasonOf(const std::string& line) {
  for (const std::string_view label : {"Error Message :", "Message :"}) {
    if (line.starts_with(label))
      return std::string(Trimmed(std::string_view(line).substr(label.size())));
  }
  return line;
}

}  // namespace client
