#pragma once

#include <string>
#include <string_view>

#include "mailboxd/store/MailContent.h"

namespace mailbox {

// The HTML of a mail with each reference to a picture that came inside the mail ("cid:…") replaced
// by the picture itself, so that it shows without loading anything; up to kPictureBytes of them in
// all, the others stay as they are.
inline constexpr std::size_t kPictureBytes = 16 * 1024 * 1024;
std::string WithPictures(std::string_view html, const MailContent& mail);

}  // namespace mailbox
