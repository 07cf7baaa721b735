#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "mailboxd/store/MailContent.h"
#include "mailboxd/store/Store.h"

namespace mailbox {

// Something that came with a body and may be a picture in it.
struct InlinePicture {
  std::string id;                    // its Content-ID
  std::int64_t size = 0;             // bytes
  std::function<std::string()> url;  // "data:image/png;base64,…"; "" for what is no picture
};

// Those that came inside the mail, which is to live as long as they. Their types are the mail's.
std::vector<InlinePicture> PicturesOf(const MailContent& mail);
// Those that are stored beside the item; likewise. Their types are told by their bytes: some
// clients call every picture a JPEG.
std::vector<InlinePicture> PicturesOf(Store& store, const ItemInfo& item);

// The HTML with each reference to a picture ("cid:…") replaced by the picture itself, so that it
// shows without loading anything; up to kPictureBytes of them in all, the others stay as they are.
inline constexpr std::size_t kPictureBytes = 16 * 1024 * 1024;
std::string WithPictures(std::string_view html, const std::vector<InlinePicture>& pictures);

}  // namespace mailbox
