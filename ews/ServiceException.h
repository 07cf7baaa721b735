#pragma once

#include <chrono>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "platform/CString.h"

namespace ews {

// What is known of a request that failed, for whoever may send it again. None of it: the same
// request would fail again, and nothing was made by it.
struct Failure {
  // The server or the way to it is out of order: the same request may be served later.
  bool bOutage = false;
  // Its whole body may have arrived, and nobody said no to it.
  bool bMayBeCarriedOut = false;
  // How long the server wants to be left alone, where it says so; never 0.
  std::optional<std::chrono::milliseconds> nBackOff;
  int nHttpStatus = 0;      // of the answer; 0 for none
  bool bCutInBody = false;  // the connection was lost while the body went out
  // The server asks for a handshake that is not possible here with this logon.
  bool bNoHandshake = false;
  // With the safe switch: its words tell of the whole service being switched off.
  bool bSaysServiceIsOff = false;
  // Nobody who knows of mailboxes gave this answer: the address is wrong or, where somebody there
  // did before, what stands in front of the service is out of order.
  bool bForeign = false;
  // No outage, but the same question may be answered the next time.
  bool bMayPass = false;
};

// Any failure of a call to the mailbox service. what() is UTF-8 and is shown to people as it
// stands.
class ServiceException : public std::runtime_error {
 public:
  explicit ServiceException(const char* pszMessage) : std::runtime_error(pszMessage) {}
  explicit ServiceException(const std::string& strMessage, Failure objFailure = {})
      : std::runtime_error(strMessage), m_objFailure(objFailure) {}
  explicit ServiceException(const CString& strMessage) : std::runtime_error(strMessage.ToUtf8()) {}
  const Failure& Cause() const { return m_objFailure; }

 private:
  Failure m_objFailure;
};

// The server understood the request and refused it: what() is its text, unchanged (the message text
// of a response, the fault string of a fault). With the safe switch a sentence of ours may follow.
class ServiceResponseException : public ServiceException {
 public:
  ServiceResponseException(const std::string& strMessage, std::string strCode,
                           Failure objFailure = {})
      : ServiceException(strMessage, objFailure), m_strCode(std::move(strCode)) {}
  const std::string& ErrorCode() const { return m_strCode; }  // such as "ErrorFolderExists"

 private:
  std::string m_strCode;
};

// The library's own texts that more than one class raises.
inline constexpr const char* kNoService =
    "There is no connection to the mailbox server: no logon has succeeded yet.";
inline constexpr const char* kNoAnswer =
    "The request failed. The server's answer holds nothing for it.";
inline constexpr const char* kHasId =
    "This operation can't be performed because this service object already has an ID. To update "
    "this service object, use the Update() method instead.";
inline constexpr const char* kNoId =
    "This operation can't be performed because this service object doesn't have an Id.";
inline constexpr const char* kNoRecurrence = "This item has no recurrence pattern.";

// Parts of texts by which whoever reads them tells kinds of failure apart. They stand at a text's
// end: the rest of it may quote anything, a mail's own words too.

// Ends the text of every request that makes something and may have made it; where it is
// missing, nothing was made.
inline constexpr const char* kMayBeCarriedOut = "may have carried the request out";
// With the safe switch it, or kServerAsksFor and whole seconds, and a full stop stand at the end of
// an outage that is not waited for here: whoever sends again is to wait, and to look for what may
// have been made first. Behind kMayBeCarriedOut, or by itself where nothing was made.
inline constexpr const char* kOutOfOrder = "; the server or the way to it is out of order";
// One of these ends the text of an outage for which nobody waits any more. The first has the time
// behind it; so has the second, and behind that the third, what is left, and the fourth.
inline constexpr const char* kWaitedFor = "; waited for ";
inline constexpr const char* kServerAsksFor = "; the server asks for ";
inline constexpr const char* kMoreThan = ", more than the ";
inline constexpr const char* kOfPatience = " of patience left";
inline constexpr const char* kAskedToStop = "; asked to stop";
// Ends the text of an item that was made without its attachments and could not be deleted again.
inline constexpr const char* kStaysIncomplete = " The item is there without it.";
// Every further request of this logon fails, so that there is no use in any.
inline constexpr const char* kLogonRefused = "this logon is refused";

// The text with the sentence behind it that strSubject ("It" for a server that the text names, or
// "The server") may have carried the request out.
std::string WithOpenOutcome(std::string strText, const char* pszSubject);
// The text with kLogonRefused at its end.
std::string WithLogonRefused(std::string strText);
// The text without the sentence that WithOpenOutcome added, and what WithOutage did.
std::string WithoutOpenOutcome(std::string strText);
// Whether a text of this library ends so. Not what a server says: with the safe switch nothing that
// is its own ends like that.
bool SaysOpenOutcome(std::string_view strText);
// The text with kOutOfOrder, or the time that the server asks for, at its end.
std::string WithOutage(std::string strText,
                       const std::optional<std::chrono::milliseconds>& nBackOff);
// Of a text that ends so: the time that the server asks for, or 0.
std::optional<std::chrono::seconds> OutageIn(std::string_view strText);
bool SaysGivenUp(std::string_view strText);  // that nobody waits any more
bool SaysLogonRefused(std::string_view strText);
// The text without what ends a sentence, so that more can follow.
std::string WithoutStop(std::string strText);

}  // namespace ews
