#pragma once

#include <chrono>
#include <string>

#include "ews/EwsTransport.h"
#include "ews/ServiceException.h"

namespace ews {

// A failure of one request again and again while its host serves others: no outage.
class FailsAlone : public ServiceException {
 public:
  using ServiceException::ServiceException;
};

// Waits out what keeps a server from serving a request just now. With the safe switch and a
// patience (ews/Settings.h), every failure that is an outage is waited for and the request sent
// again: after the time that the server asks for, else after a second, doubled each time up to a
// minute, give or take a fifth. The patience is for the outage, which lasts from the first failure
// of a host to its first answer, over as many requests as that takes; the time-out of a request is
// for one try. Each wait is told (Settings().fnTellWait), and so is the end of the outage.
//
// A question that fails by what is no outage, but may pass, is asked three times more, at once and
// untold: one bad answer among thousands must not end a listing.
//
// Without patience only a server that asks for time is waited for, untold, and within the time-out;
// with the safe switch every other outage is given up at once, and told as one.
class Outage {
 public:
  enum class Repeat {
    kAlways,                 // asking twice does no harm
    kUnlessMaybeCarriedOut,  // what may have made something is not sent again, and told as an
                             // outage (ews/ServiceException.h, kOutOfOrder)
    kNever
  };

  // strHost is for messages and tells outages apart. No pause is longer than that, but for what the
  // server asks.
  Outage(EwsTransport& objTransport, std::string strHost, std::chrono::milliseconds nTimeout,
         Repeat eRepeat, std::chrono::milliseconds nLongestPause = kLongestPause);
  static constexpr std::chrono::milliseconds kLongestPause{60000};

  // The time-out of the next try, at least a millisecond.
  std::chrono::milliseconds TimeLeft() const;
  // To be called in the handler of a try's failure. Returns after a wait, for another try. Throws
  // the failure where there is to be none: as it is, or, with the safe switch, if it is an outage
  // for which nobody waits any more, as a ServiceException that says so at the end of its text.
  void WaitAfter(const ServiceException& objError);
  // The host has answered.
  void End();

 private:
  // It has answered, and will not answer this request.
  void EndForOthers();
  bool IsPatient() const;
  std::chrono::milliseconds Pause(const Failure& objFailure);
  void Tell(const std::string& strReason, std::chrono::milliseconds nPause,
            std::chrono::milliseconds nLeft) const;
  bool Sleep(std::chrono::milliseconds nTime);
  void WaitAsAsked(const ServiceException& objError);
  // True after a pause, for another try of what is no outage.
  bool MayAskAgain(const Failure& objFailure);

  EwsTransport& m_objTransport;
  std::string m_strHost;
  std::chrono::milliseconds m_nTimeout;
  std::chrono::steady_clock::time_point m_nEnd;
  Repeat m_eRepeat;
  std::chrono::milliseconds m_nLongestPause;
  int m_nWaits = 0;
  int m_nAskedAgain = 0;                  // for what was no outage
  std::chrono::milliseconds m_nAsked{0};  // waited without patience
};

// Calls fnTry with the time-out of one try until it returns, and returns what it does. Throws as
// Outage::WaitAfter.
template <typename Try>
auto WaitOut(Outage objOutage, Try fnTry) {
  while (true) {
    try {
      auto objResult = fnTry(objOutage.TimeLeft());
      objOutage.End();
      return objResult;
    } catch (const ServiceException& objError) {
      objOutage.WaitAfter(objError);
    }
  }
}

}  // namespace ews
