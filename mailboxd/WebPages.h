#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "mailboxd/Store.h"

namespace mailbox {

constexpr std::int64_t kItemsPerPage = 100;
constexpr size_t kSourceShown = 256 * 1024;  // bytes of an item's source on its page

// What the pages may load: nothing but their own style sheet.
constexpr char kPagePolicy[] =
    "default-src 'none'; style-src 'unsafe-inline'; base-uri 'none'; form-action 'none'; "
    "frame-ancestors 'none'";

struct WebReply {
  int status = 200;
  const char* type = "text/html; charset=utf-8";
  std::string body;
  std::string fileName;  // ASCII; not "": the body is to be saved under that name
};

// True for the paths that AnswerPage knows: /, /folder/ID, /item/ID, /item/ID/source and
// /item/ID/part/N.
bool IsPagePath(std::string_view path);

// The page of that path (no escapes left in it). `page` counts from 1, "" is the first. What is not
// there gets status 404 and a page that says so. The text of every page is well-formed UTF-8,
// whatever the store holds; only the source of an item and the parts of a
// mail leave byte for byte. Throws
// platform::SqliteError.
WebReply AnswerPage(Store& store, std::string_view path, std::string_view page);

}  // namespace mailbox
