#pragma once

#include <array>

// The statements that make a ledger where there is none, in their order.
// kept: the texts with their double blanks, as existing ledgers were made by them.
// The last index is ours: with the three before it alone, a check reads every row of its login.
inline constexpr std::array<const char16_t*, 5> kLedgerSchema{
    u"CREATE TABLE  IF NOT EXISTS MAILBOXINFO ( FOLDERNAME TEXT, MESSAGE_ID TEXT NOT NULL, TARGET "
    u"TEXT )",
    u"CREATE INDEX IF NOT EXISTS MAILBOXINFO_IDX1 on  MAILBOXINFO ( FOLDERNAME )",
    u"CREATE INDEX IF NOT EXISTS MAILBOXINFO_IDX2 on  MAILBOXINFO ( MESSAGE_ID )",
    u"CREATE INDEX IF NOT EXISTS MAILBOXINFO_IDX3 on  MAILBOXINFO ( TARGET  )",
    u"CREATE INDEX IF NOT EXISTS MAILBOXINFO_CHECK on MAILBOXINFO ( MESSAGE_ID, FOLDERNAME, TARGET "
    u")",
};
