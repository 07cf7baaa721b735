#include "mime/tree/ContentTypeTable.h"

#include <gtest/gtest.h>

namespace {

TEST(ContentTypeTable, TheFirstRowThatFitsWins) {
  struct Row {
    const char* extension;
    const char* type;
  };
  const Row rows[] = {
      {"jpg", "image/jpeg"},
      {"jPG", "image/jpeg"},
      {"JPG", "image/jpeg"},  // by the second table
      {"p7m", "application/x-pkcs7-mime"},
      {"cdf", "application/x-cdf"},
      {"z", "application/x-compress"},
      {"Z", "application/x-compress"},
      {"*", "application/octet-stream"},
      {"exe", "application/octet-stream"},
      {"EXE", ""},  // a hit of the second table that says nothing
      {"mht", "message/rfc822"},
      {"DTD", "text/plain"},
      {"wmlscriptc", "application/vnd.wap.wmlscriptc"},
      {"tex texinfo", ""},
      {"jp", ""},
      {"", ""},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(mail::contentTypeOfExtension(row.extension), row.type) << row.extension;
  }
}

}  // namespace
