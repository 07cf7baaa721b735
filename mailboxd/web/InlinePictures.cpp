#include "mailboxd/web/InlinePictures.h"

#include <algorithm>
#include <array>
#include <map>

#include "base/AsciiText.h"
#include "mailboxd/web/WebFields.h"
#include "platform/Base64.h"

namespace mailbox {
namespace {

constexpr std::string_view kScheme = "cid:";
constexpr std::string_view kEnds = "\"'<>() \t\r\n";  // of a reference

// Types that every browser takes for pictures and nothing else.
constexpr std::array<std::string_view, 5> kTypes = {"image/png", "image/jpeg", "image/gif",
                                                    "image/webp", "image/bmp"};

// Hands out each picture that there is room for.
class Pictures {
 public:
  explicit Pictures(const std::vector<InlinePicture>& all) {
    for (const InlinePicture& one : all) m_byId.emplace(one.id, &one);
  }
  // "" where there is no such picture, or no room for it.
  std::string UrlOf(std::string_view id) {
    const auto found = m_byId.find(id);
    if (found == m_byId.end()) return "";
    const auto size = static_cast<size_t>(found->second->size);
    if (size > m_left) return "";
    m_left -= size;
    return found->second->url();
  }

 private:
  std::map<std::string_view, const InlinePicture*> m_byId;
  size_t m_left = kPictureBytes;
};

}  // namespace

std::vector<InlinePicture> PicturesOf(const MailContent& mail) {
  std::vector<InlinePicture> pictures;
  for (size_t i = 0; i < mail.Attachments().size(); ++i) {
    const AttachmentInfo& one = mail.Attachments()[i];
    const bool known = std::count(kTypes.begin(), kTypes.end(), one.contentType) > 0;
    if (!known || one.contentId.empty()) continue;
    pictures.push_back({one.contentId, one.size, [&mail, i] {
                          return "data:" + mail.Attachments()[i].contentType + ";base64," +
                                 platform::Base64Encode(mail.AttachmentBytes(i));
                        }});
  }
  return pictures;
}

std::vector<InlinePicture> PicturesOf(Store& store, const ItemInfo& item) {
  std::vector<InlinePicture> pictures;
  for (const AttachmentInfo& one : store.Attachments(item.id)) {
    if (one.contentId.empty()) continue;
    pictures.push_back({one.contentId, one.size, [&store, id = one.id] {
                          std::string url;
                          store.WithAttachment(
                              id, [&](std::string_view bytes) { url = web::PictureUrl(bytes); });
                          return url;
                        }});
  }
  return pictures;
}

std::string WithPictures(std::string_view html, const std::vector<InlinePicture>& all) {
  if (all.empty()) return std::string(html);
  Pictures pictures(all);
  std::string out;
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
