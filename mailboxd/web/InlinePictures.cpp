#include "mailboxd/web/InlinePictures.h"

#include <algorithm>
#include <array>
#include <map>

#include "base/AsciiText.h"
#include "platform/Base64.h"

namespace mailbox {
namespace {

constexpr std::string_view kScheme = "cid:";
constexpr std::string_view kEnds = "\"'<>() \t\r\n";  // of a reference

// Types that every browser takes for pictures and nothing else.
constexpr std::array<std::string_view, 5> kTypes = {"image/png", "image/jpeg", "image/gif",
                                                    "image/webp", "image/bmp"};

class Pictures {
 public:
  explicit Pictures(const MailContent& mail) : m_mail(mail) {
    const auto& all = mail.Attachments();
    for (size_t i = 0; i < all.size(); ++i) {
      const bool known = std::count(kTypes.begin(), kTypes.end(), all[i].contentType) > 0;
      if (known && !all[i].contentId.empty()) m_byId.emplace(all[i].contentId, i);
    }
  }
  bool Any() const { return !m_byId.empty(); }
  // "data:image/png;base64,…", or "" where there is no such picture, or no room for it.
  std::string UrlOf(std::string_view id) {
    const auto found = m_byId.find(id);
    if (found == m_byId.end()) return "";
    const AttachmentInfo& picture = m_mail.Attachments()[found->second];
    const auto size = static_cast<size_t>(picture.size);
    if (size > m_left) return "";
    m_left -= size;
    return "data:" + picture.contentType + ";base64," +
           platform::Base64Encode(m_mail.AttachmentBytes(found->second));
  }

 private:
  const MailContent& m_mail;
  std::map<std::string_view, size_t> m_byId;
  size_t m_left = kPictureBytes;
};

}  // namespace

std::string WithPictures(std::string_view html, const MailContent& mail) {
  Pictures pictures(mail);
  std::string out;
  if (!pictures.Any()) return std::string(html);
  out.reserve(html.size());
  size_t done = 0;
  size_t end =
      0;  // the first end of a reference behind the colon, found once for all in front of it
  for (size_t colon = html.find(':'); colon != std::string_view::npos;
       colon = html.find(':', colon + 1)) {
    const size_t begin = colon + 1 - std::min(colon + 1, kScheme.size());
    if (begin < done || !mail::equalsNoCase(html.substr(begin, kScheme.size()), kScheme)) continue;
    if (end <= colon) end = std::min(html.find_first_of(kEnds, colon), html.size());
    const std::string_view id = html.substr(colon + 1, end - colon - 1);
    const std::string url = pictures.UrlOf(id);
    if (url.empty()) continue;
    out.append(html.substr(done, begin - done)).append(url);
    done = end;
  }
  return out.append(html.substr(done));
}

}  // namespace mailbox
