#include "client/run/Outcome.h"

#include <gtest/gtest.h>

namespace {

TEST(Outcome, IsReadFromTheEndOfATextAlone) {
  const struct {
    const char* text;
    bool endsRun;
    bool open;
  } rows[] = {
      {"The request failed. Refused; waited for 0 s", true, false},
      {"Busy; waited for 30 min", true, false},
      {"Busy; the server asks for 15 min, more than the 0 s of patience left", true, false},
      {"The request failed. Refused; asked to stop", true, false},
      {"Busy; the server asks for more than the 0 s of patience left", false, false},
      {"HTTP 401; a new logon did not help: this logon is refused.", true, false},
      {"No answer. It may have carried the request out.", false, true},
      {"No answer. It may have carried the request out; the server asks for 30 s.", false, true},
      {"No answer. It may have carried the request out; the server or the way to it is out of "
       "order.",
       false, true},
      {"Left out; the server asks for 30 s.", false, false},
      {"An internal server error occurred. The operation failed.", false, true},
      {"", false, false},
      // A mail's own words, quoted.
      {"The invalid value '?; waited for ever' was specified for the 'Subject' element.", false,
       false},
      {"The invalid value '?; waited for 3 s' was specified for the 'Subject' element.", false,
       false},
      {"The invalid value '?: this logon is refused.' was specified for the 'Subject' element.",
       false, false},
      {"The invalid value 'It may have carried the request out.' was specified for the 'Subject' "
       "element.",
       false, false},
      {"Nothing; waited for", false, false},
      {"Nothing; waited for s", false, false},
      {"Nothing; waited for 3 hours", false, false},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(client::EndsRun(row.text), row.endsRun) << row.text;
    EXPECT_EQ(client::LeavesOutcomeOpen(row.text), row.open) << row.text;
  }
}

}  // namespace
