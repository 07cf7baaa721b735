#pragma once

#include <algorithm>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "archive/CkMht.h"
#include "archive/MhtObserver.h"
#include "base/LogNull.h"
#include "mime/tree/MimeMessage2.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/Texts.h"

namespace archive_support {

using test_support::CountOf;
using test_support::Repeated;
using test_support::TemporaryFolder;

// One part of an archive as a reader of MIME gets it: header values, and the decoded body.
struct Part {
  std::string type;  // the whole Content-Type
  std::string id;    // without its brackets
  std::string location;
  std::string body;
};

struct Message {
  std::string text;
  std::vector<Part> parts;  // the page first; of a plain message that alone

  const std::string& Page() const { return parts.at(0).body; }
  std::string Header(std::string_view name) const {
    mail::LogNull log;
    mail::MimeMessage2 root;
    root.loadMimeComplete(text, false, {}, false, log);
    return std::string(root.header().valueOf(name));
  }
  const Part* ById(std::string_view id) const {
    const auto it = std::ranges::find(parts, id, &Part::id);
    return it == parts.end() ? nullptr : &*it;
  }
  const Part* At(std::string_view location) const {
    const auto it = std::ranges::find(parts, location, &Part::location);
    return it == parts.end() ? nullptr : &*it;
  }
};

inline Part ReadPart(const mail::MimeMessage2& entity) {
  const auto value = [&](std::string_view name) {
    return std::string(entity.header().valueOf(name));
  };
  std::string id = value("content-id");
  if (id.size() > 2) id = id.substr(1, id.size() - 2);
  return {value("content-type"), id, value("content-location"), std::string(entity.body().view())};
}

inline Message Read(const char* text) {
  Message message;
  if (text == nullptr) return message;
  message.text = text;
  mail::LogNull log;
  mail::MimeMessage2 root;
  root.loadMimeComplete(message.text, false, {}, false, log);
  if (root.partCount() == 0) message.parts.push_back(ReadPart(root));
  for (std::size_t n = 0; n < root.partCount(); ++n)
    message.parts.push_back(ReadPart(*root.part(n)));
  return message;
}

// Keeps what it is told.
struct Told : public mail::MhtObserver {
  void fetched(std::string_view url, std::size_t) override { got.emplace_back(url); }
  void missing(std::string_view url, std::string_view reason) override {
    lacking.emplace_back(url);
    reasons.emplace_back(reason);
  }
  std::vector<std::string> got;
  std::vector<std::string> lacking;
  std::vector<std::string> reasons;
};

// A converter for tests: UTF-8, by content ids, and told.
struct Converter {
  Converter() {
    mht.put_Utf8(true);
    mht.put_UseCids(true);
    mht.setObserver(&told);
  }
  Message Mht(const std::string& page) { return Read(mht.getMHT(page.c_str())); }
  Message Eml(const std::string& page) { return Read(mht.getEML(page.c_str())); }

  Told told;
  CkMht mht;
};

// A folder for pages, and a converter that takes them.
struct PagesOfAFolder : testing::Test {
  TemporaryFolder folder;
  Converter converter;
};

// What stands between two texts; "" when they are not there.
inline std::string Between(std::string_view text, std::string_view start, std::string_view end) {
  const std::size_t from = text.find(start);
  if (from == std::string_view::npos) return {};
  text.remove_prefix(from + start.size());
  return std::string(text.substr(0, text.find(end)));
}

inline const std::string kGif = "GIF89a\x01\x01 a picture";
inline const std::string kPng = "\x89PNG\r\n\x1A\n a picture";

}  // namespace archive_support
