#include "engine/ItemStatus.h"

#include <gtest/gtest.h>

namespace {

const CString kBadAddress = u"The invalid value 'x' was specified for the 'EmailAddress' element.";

struct Case {
  const char* name;
  int result;
  CString error;
  int retryResult;     // -1: no retry may happen
  CString retryError;  // empty: the retry sets none
  CString line;
  int lastResult;
};

TEST(ItemStatus, FollowsResultAndText) {
  const CString saved = u"\t\tSaving Status : Success";
  const CString index = u"The index is out of range.";
  const Case cases[] = {
      {"saved", 1, u"", -1, u"", saved, 1},
      {"saved with an old text", 1, kBadAddress, -1, u"", saved, 1},
      {"saved in spite of", 0, index, -1, u"", saved + u"\r\n\t Message :" + index, 0},
      {"retry saves", 0, kBadAddress, 1, u"", saved, 1},
      {"retry fails without a word", 0, kBadAddress, 0, u"", u"", 0},
      {"retry fails otherwise", 0, kBadAddress, 0, u"other", u"", 0},
      {"retry saves in spite of", 0, kBadAddress, 0, index, saved + u"\r\n\t Message :" + index, 0},
      {"first text holds both", 0, kBadAddress + index, -1, u"",
       saved + u"\r\n\t Message :" + kBadAddress + index, 0},
      {"bad body", 0, u"The invalid value '' was specified for the 'Body' element.", -1, u"", u"",
       0},
      {"half of the address text", 0, u"The invalid value", -1, u"",
       u"\t\t+Saving Status : Fail\r\n\t\tError Message :The invalid value", 0},
      {"no text", 0, u"", -1, u"", u"\t\t+Saving Status : Fail", 0},
      {"other results are failures", 2, u"", -1, u"", u"\t\t+Saving Status : Fail", 2},
  };
  for (const Case& c : cases) {
    int result = c.result;
    CString error = c.error;
    int retries = 0;
    const CString line = ItemStatusLine(result, error, [&](CString& retryError) {
      ++retries;
      EXPECT_EQ(retryError, c.error) << c.name;  // not cleared first
      if (!c.retryError.IsEmpty()) retryError = c.retryError;
      return c.retryResult;
    });
    EXPECT_EQ(line.ToUtf8(), c.line.ToUtf8()) << c.name;
    EXPECT_EQ(result, c.lastResult) << c.name;
    EXPECT_EQ(retries, c.retryResult < 0 ? 0 : 1) << c.name;
  }
}

}  // namespace
