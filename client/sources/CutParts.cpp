#include "client/sources/CutParts.h"

#include <sys/stat.h>

#include <optional>

#include "base/AsciiText.h"
#include "base/LogNull.h"
#include "client/sources/SourceFiles.h"
#include "mime/MailHeader.h"
#include "mime/header/CkContentType.h"
#include "mime/header/ContentDisposition.h"

namespace client {
namespace {

// A multipart that is open, from the outside in.
struct Level {
  std::string boundary;  // with its "--"
  std::size_t parts = 0;
};

// Walks the lines of a mail: headers of parts, and the boundaries between.
class PartWalk {
 public:
  explicit PartWalk(std::string_view mail) : m_mail(mail) {}

  std::vector<CutPart> Run() {
    TakeHeader();
    while (m_at < m_mail.size()) {
      const std::string_view line = TakeLine();
      if (line.starts_with("--") && TakeBoundary(line)) TakeHeader();
    }
    return std::move(m_parts);
  }

 private:
  std::string_view TakeLine() {
    const std::size_t end = m_mail.find('\n', m_at);
    const std::size_t next = end == std::string_view::npos ? m_mail.size() : end + 1;
    std::string_view line = m_mail.substr(m_at, next - m_at);
    m_at = next;
    while (line.ends_with('\n') || line.ends_with('\r')) line.remove_suffix(1);
    return line;
  }

  // True where a part begins behind the line.
  bool TakeBoundary(std::string_view line) {
    for (std::size_t i = m_levels.size(); i-- > 0;) {
      const std::string& boundary = m_levels[i].boundary;
      if (!line.starts_with(boundary)) continue;
      const std::string_view rest = mail::trimmed(line.substr(boundary.size()));
      if (!rest.empty() && rest != "--") continue;
      m_levels.resize(rest.empty() ? i + 1 : i);
      if (rest.empty()) ++m_levels[i].parts;
      return rest.empty();
    }
    return false;
  }

  void TakeHeader() {
    const std::size_t begin = m_at;
    while (m_at < m_mail.size() && !TakeLine().empty()) {
    }
    const mail::MailHeader header(m_mail.substr(begin, m_at - begin));
    mail::_ckContentType type;
    mail::LogNull log;
    type.load(header.text("Content-Type"), log);
    if (type.isMultipart() && !type.m_boundary.isEmpty()) {
      if (m_levels.size() < kDeepestCutPart) {
        m_levels.push_back({"--" + std::string(type.m_boundary.view()), 0});
      }
    } else if (header.find("X-Apple-Content-Length")) {
      std::string encoding(mail::trimmed(header.text("Content-Transfer-Encoding")));
      for (char& c : encoding) c = mail::toLowerAscii(c);
      std::string name = NameOf(header, type);
      m_parts.push_back({Number(), std::move(name), std::move(encoding), m_at});
      if (m_parts.back().name.empty()) m_parts.back().name = m_parts.back().number;
    }
  }

  static std::string NameOf(const mail::MailHeader& header, const mail::_ckContentType& type) {
    mail::ContentDisposition disposition;
    mail::LogNull log;
    disposition.load(header.text("Content-Disposition"), log);
    const std::string_view name = mail::trimmed(disposition.m_fileName.view());
    return std::string(name.empty() ? mail::trimmed(type.m_name.view()) : name);
  }

  std::string Number() const {
    std::string number;
    for (const Level& level : m_levels) {
      number += (number.empty() ? "" : ".") + std::to_string(level.parts);
    }
    return number.empty() ? "1" : number;
  }

  std::string_view m_mail;
  std::size_t m_at = 0;
  std::vector<Level> m_levels;
  std::vector<CutPart> m_parts;
};

// Not where a link leads: an administrator may read more than the owner of the mail.
bool IsOwnFolder(const std::string& path) {
  struct stat status;
  return lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

// The file of the folder, the first by its name if there are several; nothing where there is none.
std::optional<std::string> FileIn(const std::string& folder) {
  std::optional<std::string> first;
  std::vector<SourceProblem> ignored;
  EachName(folder, ignored, [&](std::string_view name) {
    if (!name.starts_with('.') && (!first || name < *first)) first = name;
    return true;
  });
  return first ? std::optional(folder + "/" + *first) : std::nullopt;
}

// ".../Attachments/12" of ".../Messages/12.partial.emlx".
std::string FolderOfParts(const std::string& path) {
  const std::size_t name = path.rfind('/') + 1;
  const std::string number = path.substr(name, path.find('.', name) - name);
  const std::size_t above = name > 1 ? path.rfind('/', name - 2) : std::string::npos;
  const std::string base = above == std::string::npos ? std::string() : path.substr(0, above);
  return base + "/Attachments/" + number;
}

}  // namespace

std::vector<CutPart> CutPartsOf(std::string_view mail) { return PartWalk(mail).Run(); }

void AddCutParts(const std::string& path, std::string& mail, FilesBeside& files) {
  const std::string folder = FolderOfParts(path);
  const bool isThere = IsOwnFolder(folder.substr(0, folder.rfind('/'))) && IsOwnFolder(folder);
  const std::string_view lineEnd = LineEndOf(mail);
  std::string whole;
  std::size_t done = 0;
  std::size_t left = kMostCutParts;
  for (const CutPart& part : CutPartsOf(mail)) {
    if (left-- == 0) {
      files.NoteMissing("and all others", "more than a mail can have");
      break;
    }
    const std::string own = folder + "/" + part.number;
    const auto file = isThere && IsOwnFolder(own) ? FileIn(own) : std::nullopt;
    if (!file) files.NoteMissing(part.name);
    const auto bytes = file ? files.Read(*file, Links::kRefuse, part.name) : std::nullopt;
    if (!bytes) continue;
    whole.append(mail, done, part.body - done);
    AppendBody(*bytes, part.encoding, lineEnd, whole);
    done = part.body;
  }
  if (done > 0) mail = whole.append(mail, done);
}

}  // namespace client
