#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "mailboxd/store/Store.h"

namespace mailbox {

inline constexpr std::int64_t kItemsPerPage = 100;
inline constexpr size_t kSourceShown = 256 * 1024;  // bytes of an item's source on its page

// What a page may load: our style sheet, in a frame the body of a mail, and a photo that stands in
// the page; its form asks this server.
inline constexpr char kPagePolicy[] =
    "default-src 'none'; style-src 'self'; frame-src 'self'; img-src data:; base-uri 'none'; "
    "form-action 'self'; frame-ancestors 'none'";
// What a stranger's HTML may do: stand there in its own style, with pictures that came inside it.
// The sandbox gives it an origin of its own, and no script, form, window or refresh.
inline constexpr char kBodyPolicy[] =
    "sandbox; default-src 'none'; style-src 'unsafe-inline'; img-src data:; base-uri 'none'; "
    "form-action 'none'; frame-ancestors 'self'";
// What is to be saved, and does nothing if it is shown.
inline constexpr char kFilePolicy[] = "sandbox; default-src 'none'; frame-ancestors 'none'";

struct WebReply {
  int status = 200;
  std::string type = "text/html; charset=utf-8";
  std::string body;
  std::string disposition = {};  // Content-Disposition; "" for a page
  const char* policy = kPagePolicy;
};

// True for the paths that AnswerPage knows: /, /style.css, /folder/ID, /attachment/ID, /item/ID,
// and below an item /source, /body, /part/N and /mail/N[.N…] for a mail inside it, with the same
// below it. N counts from 1.
bool IsPagePath(std::string_view path);

// What stands behind the path of a folder, each "" when left out: which page of its list (from 1),
// what is searched for, which month of a calendar ("2024-03").
struct WebQuery {
  std::string page = {};
  std::string search = {};
  std::string month = {};
};

// The page of that path (no escapes left in it). What is not
// there gets status 404 and a page that says so. The text of every page is well-formed UTF-8,
// whatever the store holds; only what is to be saved leaves byte for byte. Throws
// platform::SqliteError.
WebReply AnswerPage(Store& store, std::string_view path, const WebQuery& query);

}  // namespace mailbox
