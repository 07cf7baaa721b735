#include "client/sources/PictureLinks.h"

#include <algorithm>
#include <array>

#include "base/AsciiText.h"
#include "base/StringBuffer.h"
#include "client/sources/LineDecoding.h"
#include "client/sources/Percents.h"
#include "client/sources/SpecialFolders.h"
#include "html/CkHtmlHelp.h"

namespace client {
namespace {

constexpr std::string_view kCid = "cid:";
constexpr std::size_t kLongestLink = 500;  // bytes; a line of a header holds 998

using Names = std::array<std::string, 3>;

// As a field can have it: "<id>", or a URL.
bool IsPlain(std::string_view link) {
  constexpr std::string_view kNever = "<>\"\\";
  return !link.empty() && link.size() <= kLongestLink && std::ranges::all_of(link, [&](char c) {
    return c > ' ' && c < 0x7F && kNever.find(c) == std::string_view::npos;
  });
}

// "file:///C|/Eudora/Embedded/logo.gif", or one that is relative.
bool IsPlaceOfFile(std::string_view link) {
  if (mail::beginsWithNoCase(link, "file:")) return true;
  return link.find(':') == std::string_view::npos && !link.starts_with("//");
}

Names NamesOfCid(const std::string& id, std::string_view alt) {
  return {id, id.substr(0, id.find('@')), std::string(alt)};
}

class LinkList {
 public:
  explicit LinkList(const std::set<std::string>& keys) : m_keys(keys) {}

  void Take(std::string_view source, std::string_view alt) {
    if (mail::beginsWithNoCase(source, kCid)) {
      const std::string id = WithoutPercents(source.substr(kCid.size()));
      if (IsPlain(id)) Add(std::string(kCid) + id, NamesOfCid(id, alt));
    } else if (IsPlaceOfFile(source) && IsPlain(source)) {
      Add(std::string(source), {WithoutPercents(source.substr(source.rfind('/') + 1))});
    }
  }

  PictureLinks Finish() && {
    std::erase_if(m_links, [](const auto& each) { return each.second.empty(); });
    return std::move(m_links);
  }

 private:
  // The first name that a file has counts.
  void Add(const std::string& link, const Names& names) {
    for (const std::string& name : names) {
      const std::string key = FoldedFileName(name);
      if (name.empty() || !m_keys.contains(key)) continue;
      const auto [place, isNew] = m_links.try_emplace(key, link);
      if (!isNew && place->second != link) place->second.clear();
      return;
    }
  }

  const std::set<std::string>& m_keys;
  PictureLinks m_links;  // empty for a file that several mean
};

std::string ValueOf(std::string_view tag, std::string_view attribute) {
  mail::StringBuffer value;
  mail::_ckHtmlHelp::getAttrValue(tag, attribute, value);
  return std::string(value.view());
}

}  // namespace

std::string FoldedFileName(std::string_view name) { return FoldedName(ToUtf8(name, {})); }

PictureLinks PictureLinksIn(std::string_view html, const std::set<std::string>& keys) {
  LinkList links(keys);
  for (std::size_t at = html.find('<'); at != std::string_view::npos; at = html.find('<', at)) {
    const std::size_t end = std::min(html.find('>', at), html.size());
    const std::string_view raw = html.substr(at, end - at);
    at = end;
    const bool isImage = mail::beginsWithNoCase(raw, "<img");
    if (!isImage && mail::findNoCase(raw, "background") == std::string_view::npos) continue;
    mail::StringBuffer tag;
    mail::_ckHtmlHelp::cleanHtmlTag(std::string(raw) + ">", tag);
    const std::string alt = isImage ? ValueOf(tag.view(), "alt") : std::string();
    links.Take(ValueOf(tag.view(), isImage ? "src" : "background"), alt);
  }
  return std::move(links).Finish();
}

}  // namespace client
