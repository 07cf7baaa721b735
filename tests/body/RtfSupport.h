#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "body/rtf/RtfToHtml.h"

// Keeps the pictures of a conversion in memory; links are their bare names.
class PictureList : public rtf::PictureSaver {
 public:
  std::string Save(std::string_view extension, std::string_view bytes) override {
    names.push_back("HTMLFile_" + std::to_string(names.size() + 1) + std::string(extension));
    contents.emplace_back(bytes);
    return names.back();
  }
  std::vector<std::string> names;
  std::vector<std::string> contents;
};

inline rtf::HtmlResult Convert(std::string_view text, unsigned page = 1252) {
  PictureList pictures;
  return rtf::RtfToHtml(text, page, pictures);
}

// What lies between <body …> and </body>, without line ends at its edges.
inline std::string BodyOf(std::string_view page) {
  const std::size_t tag = page.find("<body");
  if (tag == std::string_view::npos) return std::string(page);
  const std::size_t start = page.find('\n', tag) + 1;
  const std::size_t end = page.find("\n</body>", start - 1);
  return std::string(end < start ? "" : page.substr(start, end - start));
}
