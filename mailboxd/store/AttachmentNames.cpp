#include "mailboxd/store/AttachmentNames.h"

#include <array>
#include <cstdio>

namespace mailbox {
namespace {

struct TypeExtension {
  std::string_view type;  // or how it begins
  std::string_view extension;
};
// The first row that the type begins with counts.
constexpr std::array<TypeExtension, 18> kExtensions = {{
    {"text/html", "htm"},
    {"text/calendar", "ics"},
    {"text/csv", "csv"},
    {"text/vcard", "vcf"},
    {"text/x-vcard", "vcf"},
    {"text/xml", "xml"},
    {"text/", "txt"},
    {"message/delivery-status", "txt"},
    {"message/disposition-notification", "txt"},
    {"message/rfc822", "eml"},
    {"image/png", "png"},
    {"image/jpeg", "jpg"},
    {"image/gif", "gif"},
    {"image/bmp", "bmp"},
    {"image/tiff", "tif"},
    {"image/svg+xml", "svg"},
    {"application/pdf", "pdf"},
    {"application/zip", "zip"},
}};

}  // namespace

std::string MadeUpName(std::string_view contentType, std::size_t number) {
  std::string_view extension = "bin";
  for (const TypeExtension& row : kExtensions) {
    if (!contentType.starts_with(row.type)) continue;
    extension = row.extension;
    break;
  }
  char name[40];
  std::snprintf(name, sizeof name, "ATT%05zu.", number);
  return std::string(name).append(extension);
}

}  // namespace mailbox
