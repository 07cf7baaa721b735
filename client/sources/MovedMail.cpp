#include "client/sources/MovedMail.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <vector>

#include "client/sources/Maildir.h"
#include "client/sources/MaildirName.h"
#include "client/sources/SourceFiles.h"

namespace client {
namespace {

constexpr std::size_t kMostNames = 200000;  // that are kept

// What may not be looked at may be there.
bool IsGone(const std::string& path) { return !IsThere(path) && errno == ENOENT; }

// Where most mails go, which needs no search.
std::string WhereLikely(const std::string& maildir, std::string_view name) {
  const std::string own = maildir + "cur/" + std::string(ParseMaildirName(name).base);
  for (const char* const letters : {":2,S", ":2,RS", ":2,FS", ":2,"}) {
    if (IsThere(own + letters)) return own + letters;
  }
  return {};
}

}  // namespace

std::string MovedMail::WhereMoved(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  const std::string_view folder = std::string_view(path).substr(0, slash);
  const bool isPart = folder.ends_with("/cur") || folder.ends_with("/new");
  if (slash == std::string::npos || !isPart || !IsGone(path)) return {};
  const std::string maildir(folder.substr(0, folder.size() - 3));
  // Elsewhere such a folder is anybody's, and a comma no end of a name.
  if (!IsMaildir(maildir)) return {};
  const std::string_view name = std::string_view(path).substr(slash + 1);
  std::string likely = WhereLikely(maildir, name);
  return likely.empty() ? Find(maildir, LastingPart(name)) : likely;
}

std::string MovedMail::Read(const std::string& path) {
  try {
    return ReadMail(path);
  } catch (const ReadError&) {  // most are where they were listed: looked for is what is not
    const std::string moved = WhereMoved(path);
    if (moved.empty()) throw;
    return ReadMail(moved);
  }
}

// What was in neither folder when they were read is gone; what was may have moved again.
std::string MovedMail::Find(const std::string& maildir, std::string_view lasting) {
  const std::lock_guard lock(m_mutex);
  const std::string key(lasting);
  auto found = m_names.end();
  if (m_maildir == maildir) {
    found = m_names.find(key);
    if (found != m_names.end() && IsThere(maildir + found->second)) return maildir + found->second;
    if (found == m_names.end() && m_isWhole) return {};
  }
  Look(maildir, lasting);
  found = m_names.find(key);
  return found == m_names.end() ? std::string() : maildir + found->second;
}

// Keeps the names, of a larger Maildir some and the one that is looked for. Those of cur/ come
// last, so that what moves there meanwhile is not missed.
void MovedMail::Look(const std::string& maildir, std::string_view lasting) {
  m_maildir = maildir;
  m_names.clear();
  m_isWhole = true;
  for (const std::string part : {"new/", "cur/"}) {
    if (!IsThere(maildir + part)) continue;
    std::vector<SourceProblem> ignored;
    EachName(maildir + part, ignored, [&](std::string_view name) {
      const std::string_view own = LastingPart(name);
      if (m_names.size() >= kMostNames && own != lasting) {
        m_isWhole = false;
      } else {
        m_names.insert_or_assign(std::string(own), part + std::string(name));
      }
      return true;
    });
    m_isWhole = m_isWhole && ignored.empty();
  }
}

}  // namespace client
