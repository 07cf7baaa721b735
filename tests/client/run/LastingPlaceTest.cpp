#include "client/run/LastingPlace.h"

#include <gtest/gtest.h>

namespace client {
namespace {

// Of a mail that was read, marked, counted or copied to another disk, and of another mail.
TEST(LastingPlace, StaysWhileProgramsHandleAMailAndIsNoOtherMails) {
  const struct {
    const char* before;
    const char* after;
    bool isSame;
  } rows[] = {
      {"/m/new/1551.a.h", "/m/cur/1551.a.h,U=7:2,FS", true},
      {"/m/cur/1551.a.h,S=9:2,", "/m/cur/1551.a.h;2,S", true},
      {"/m/cur/1551.a.h!2,S",
       "/m/cur/1551.a.h\xEF\x80\xBA"
       "2,RS",
       true},
      {"/m/cur/1551.a.h:2,S", "/m/cur/1551.b.h:2,S", false},
      {"/m/cur/1551.a!b:2,S", "/m/cur/1551.a!c:2,S", false},
      {"/m/new/Invoice, March.eml", "/m/new/Invoice, April.eml", false},
      {"/m/new/Invoice, March", "/m/new/Invoice, April", false},
      {"/m/new/Why!.eml", "/m/cur/Why!.eml", false},
      {"/m/box:12", "/m/box:3400", true},
      {"/m/new/Box, old:12", "/m/new/Box, new:12", false},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(LastingPlace(row.before).path == LastingPlace(row.after).path, row.isSame)
        << row.before << " " << row.after;
  }
}

}  // namespace
}  // namespace client
