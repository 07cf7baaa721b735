#include "mime/encoding/ParameterPieces.h"

#include <gtest/gtest.h>

namespace {

using mail::StringBuffer;

TEST(ParameterPieces, NumberedPiecesAreJoinedInPlace) {
  struct Case {
    const char *value, *joined;  // null: left alone
  };
  constexpr Case cases[] = {
      {"attachment; filename*0=\"=?utf-8?B?YW\"; filename*1=\"Jj?=\"; size=3",
       "attachment; filename=\"=?utf-8?B?YWJj?=\"; size=3"},
      {"filename*1=b;x=\"a;b\";FileName*0=a", "filename=\"ab\";x=\"a;b\""},
      {"a; filename*10=k; filename*2=c; filename*0=\"a\\\"\"", "a; filename=\"a\\\"ck\""},
      {"a; filename*0=\"open; filename*1=b", "a; filename=\"open; filename*1=b\""},
      {"a; filename*1=b", nullptr},
      {"a; filename*0*=utf-8''b", nullptr},
      {"a; name*0=b", nullptr},
      {"", nullptr},
  };
  for (const auto& [value, joined] : cases) {
    StringBuffer text{std::string_view(value)};
    EXPECT_EQ(joinNumberedPieces(text, "filename"), joined != nullptr) << value;
    EXPECT_EQ(text.view(), joined != nullptr ? joined : value);
  }
}

}  // namespace
