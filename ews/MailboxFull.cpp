#include "ews/MailboxFull.h"

#include "ews/ServiceException.h"

namespace ews {
namespace {

constexpr std::string_view kEnd = "; the mailbox is full.";

}  // namespace

bool IsMailboxFull(std::string_view strCode) { return strCode == "ErrorQuotaExceeded"; }

std::string WithMailboxFull(std::string strText) {
  return WithoutStop(std::move(strText)).append(kEnd);
}

bool SaysMailboxFull(std::string_view strText) { return strText.ends_with(kEnd); }

}  // namespace ews
