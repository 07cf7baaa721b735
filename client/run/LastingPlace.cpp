#include "client/run/LastingPlace.h"

#include "client/sources/MaildirName.h"

namespace client {
namespace {

constexpr std::string_view kDigits = "0123456789";

bool TakeEnd(std::string& text, std::string_view end) {
  if (!text.ends_with(end)) return false;
  text.resize(text.size() - end.size());
  return true;
}

// "path:1234" of a mail in an mbox.
bool TakeNumberBehind(std::string& path) {
  const std::size_t colon = path.find_last_not_of(kDigits);
  if (colon == std::string::npos || colon + 1 == path.size() || path[colon] != ':') return false;
  path.resize(colon);
  return true;
}

}  // namespace

LastingPlace::LastingPlace(const std::string& location) : path(location) {
  if (TakeNumberBehind(path)) return;
  const std::string name(Name());
  std::string folder = path.substr(0, path.size() - name.size());
  // Other folders may be called so.
  const bool isMaildir =
      IsMaildirName(name) && (TakeEnd(folder, "/cur/") || TakeEnd(folder, "/new/"));
  if (isMaildir) path = folder + "/" + std::string(LastingPart(name));
  isName = Name().find_first_not_of(kDigits) != std::string_view::npos;
}

std::string_view LastingPlace::Name() const {
  return std::string_view(path).substr(path.rfind('/') + 1);
}

UnreadPlaces::UnreadPlaces(const Plan& plan) {
  for (const SourceProblem& problem : plan.problems) {
    if (!problem.isUnread) continue;
    std::string path = LastingPlace(problem.location).path;
    (void)(TakeEnd(path, "/cur") || TakeEnd(path, "/new"));
    m_paths.insert(std::move(path));
  }
}

bool UnreadPlaces::Hold(std::string_view path) const {
  if (m_paths.empty()) return false;
  for (std::size_t end = path.size(); end != std::string_view::npos && end > 0;
       end = path.rfind('/', end - 1)) {
    if (m_paths.contains(std::string(path.substr(0, end)))) return true;
  }
  return false;
}

}  // namespace client
