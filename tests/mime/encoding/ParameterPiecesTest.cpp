#include "mime/encoding/ParameterPieces.h"

#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "base/CkLogger.h"
#include "base/LogNull.h"

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

TEST(ParameterPieces, ExtendedValuesAreDecoded) {
  using Piece = std::pair<const char*, const char*>;
  const std::vector<std::pair<std::vector<Piece>, const char*>> cases = {
      {{{"name*", "iso-8859-1'en'%A3%20rates"}}, "£ rates"},
      {{{"name*0*", "utf-8''%e2%82"}, {"name*1*", "%AC%20a"}, {"name*2", "%41'b'"}}, "€ a%41'b'"},
      {{{"name*0", "plain'"}, {"name*1*", "a'b'%41"}}, "plain'a'b'A"},
      {{{"name*", "no charset%21"}}, "no charset!"},
      {{{"name*", "''%C3%BC%"}}, "ü%"},
      {{{"name*", "utf-8'%41"}}, "utf-8'A"},
  };
  mail::LogNull log;
  for (const auto& [pieces, expected] : cases) {
    mail::ParameterPieces parameter;
    for (const auto& [name, value] : pieces) parameter.add(name, value);
    StringBuffer text;
    EXPECT_TRUE(parameter.decode(text, log));
    EXPECT_EQ(text.view(), expected);
  }
  mail::_ckLogger loud;
  StringBuffer text;
  mail::ParameterPieces unknown;
  unknown.add("name*", "x-none'en'%41");
  EXPECT_TRUE(unknown.decode(text, loud));
  EXPECT_EQ(text.view(), "A");
  EXPECT_EQ(loud.text(), "invalidCharset: x-none\r\n");
  EXPECT_TRUE(mail::isPieceOf("NAME*0*", "name") && !mail::isPieceOf("name", "name"));
}

}  // namespace
