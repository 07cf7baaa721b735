#include "client/run/EngineLogs.h"

#include <filesystem>
#include <limits>
#include <string_view>
#include <system_error>

#include "base/AsciiText.h"
#include "client/sources/SourceFiles.h"
#include "platform/NarrowText.h"
#include "platform/Unicode.h"

namespace client {
namespace {

constexpr char kTraceName[] = "TarnyEngine.txt";
// A line of its own, written once the server has the mail; a subject that looks like it stands
// behind its label.
constexpr std::string_view kSaved = "\n Email Save out \r\n";
// The same of a mail that was sent again without its MIME content.
constexpr std::string_view kSavedReduced = "\nCatch Email Save out \r\n";
constexpr std::string_view kSendsReduced = "\nCatch Email Save in \r\n";

std::string_view WithoutLabel(std::string_view line) {
  for (const std::string_view label : {"Error Message :", "Message :"}) {
    if (line.starts_with(label)) return mail::trimmed(line.substr(label.size()));
  }
  return line;
}

std::string Units(std::string_view ascii) {
  std::string bytes;
  for (char c : ascii) bytes.append({c, '\0'});
  return bytes;
}

}  // namespace

EngineLogs::EngineLogs(const std::string& runFolder)
    : m_status{runFolder + "/" + kStatusLogName}, m_trace{runFolder + "/" + kTraceName} {}

void EngineLogs::Mark() {
  m_status.Mark();
  m_trace.Mark();
}

std::string EngineLogs::LastStatus() const {
  const std::string added = m_status.Added();
  const std::string_view text = mail::trimmed(added);
  const std::string_view line = mail::trimmed(text.substr(text.find_last_of('\n') + 1));
  return platform::Utf16ToUtf8(platform::NarrowToWide(WithoutLabel(line)));
}

bool EngineLogs::HasSavedMail() const {
  const std::string trace = m_trace.Added();
  return trace.find(Units(kSaved)) != std::string::npos ||
         trace.find(Units(kSavedReduced)) != std::string::npos;
}

bool EngineLogs::SentReduced() const {
  return m_trace.Added().find(Units(kSendsReduced)) != std::string::npos;
}

bool EngineLogs::EndedReduced() const {
  constexpr std::uintmax_t kTail = 1 << 16;  // bytes: the steps of one item take fewer
  std::error_code error;
  const std::uintmax_t size = std::filesystem::file_size(m_trace.path, error);
  if (error) return false;
  const std::string tail = Log{m_trace.path, size < kTail ? 0 : size - kTail}.Added();
  const std::size_t item = tail.rfind(Units("\nImportItem_0\r\n"));
  return item != std::string::npos && tail.find(Units(kSendsReduced), item) != std::string::npos;
}

void EngineLogs::Log::Mark() {
  std::error_code error;
  const std::uintmax_t size = std::filesystem::file_size(path, error);
  offset = error ? 0 : size;
}

std::string EngineLogs::Log::Added() const {
  try {
    return ReadFileRange(path, offset, std::numeric_limits<std::uint64_t>::max());
  } catch (const SourceError&) {
    return {};
  }
}

}  // namespace client
