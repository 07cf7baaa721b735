#include "ews/Outage.h"

#include <algorithm>
#include <random>

#include <fmt/format.h>

#include "ews/Settings.h"

namespace ews {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr milliseconds kFirstPause{1000};
constexpr milliseconds kPauseToAskAgain{1500};
constexpr int kMostAskedAgain = 3;
constexpr milliseconds kSlice{200};  // how soon a wait sees that the process is to end
constexpr size_t kReasonBytes = 200;

// Keeps a thousand engines that lost one server from coming back in step.
double Jitter() {
  static std::minstd_rand objRandom(std::random_device{}());
  return std::uniform_real_distribution<double>(0.8, 1.2)(objRandom);
}

milliseconds WithJitter(milliseconds nTime) {
  return milliseconds(static_cast<long long>(static_cast<double>(nTime.count()) * Jitter()));
}

std::string Duration(milliseconds nTime) {
  const auto nSeconds = (nTime.count() + 500) / 1000;
  return nSeconds < 120 ? fmt::format("{} s", nSeconds)
                        : fmt::format("{} min", (nSeconds + 30) / 60);
}

// One line for a terminal: the server's words may hold anything.
std::string ReasonOf(const ServiceException& objError) {
  constexpr std::string_view kOpening = "The request failed. ";
  std::string str = WithoutStop(objError.what());
  if (str.starts_with(kOpening)) str.erase(0, kOpening.size());
  if (str.size() > kReasonBytes) {
    size_t nEnd = kReasonBytes;
    while (nEnd > 0 && (static_cast<unsigned char>(str[nEnd]) & 0xC0) == 0x80) --nEnd;
    str = str.substr(0, nEnd) + "…";
  }
  std::replace_if(
      str.begin(), str.end(),
      [](char ch) { return static_cast<unsigned char>(ch) < 0x20 || ch == 0x7F; }, ' ');
  return str;
}

void TellLine(const std::string& strLine) {
  if (const auto& fnTell = Settings().fnTellWait) fnTell(strLine);
}

bool StopAsked() {
  const auto& fnStopAsked = Settings().fnStopAsked;
  return fnStopAsked && fnStopAsked();
}

[[noreturn]] void GiveUp(const ServiceException& objError, const std::string& strEnd) {
  throw ServiceException(WithoutStop(objError.what()) + strEnd, objError.Cause());
}

std::string AsksFor(milliseconds nAsked, milliseconds nLeft) {
  std::string strAsked = Duration(nAsked);
  std::string strLeft = Duration(nLeft);
  if (strAsked == strLeft) {
    strAsked = fmt::format("{} s", (nAsked.count() + 999) / 1000);
    strLeft = fmt::format("{} s", nLeft.count() / 1000);
  }
  return kServerAsksFor + strAsked + kMoreThan + strLeft + kOfPatience;
}

}  // namespace

Outage::Outage(EwsTransport& objTransport, std::string strHost, milliseconds nTimeout,
               Repeat eRepeat, milliseconds nLongestPause)
    : m_objTransport(objTransport),
      m_strHost(std::move(strHost)),
      m_nTimeout(nTimeout),
      m_nEnd(objTransport.Now() + nTimeout),
      m_eRepeat(eRepeat),
      m_nLongestPause(nLongestPause) {}

bool Outage::IsPatient() const { return Settings().bSafe && Settings().nPatience.count() > 0; }

milliseconds Outage::TimeLeft() const {
  if (IsPatient() || m_nWaits == 0) return std::max(m_nTimeout, milliseconds(1));
  const auto nLeft = std::chrono::duration_cast<milliseconds>(m_nEnd - m_objTransport.Now());
  return std::max(nLeft, milliseconds(1));
}

void Outage::WaitAfter(const ServiceException& objError) {
  const Failure& objFailure = objError.Cause();
  if (!objFailure.bOutage) {
    dynamic_cast<const FailsAlone*>(&objError) ? EndForOthers() : End();
    if (!MayAskAgain(objFailure)) throw;
    return;
  }
  if (m_eRepeat == Repeat::kNever) throw;
  if (objFailure.bMayBeCarriedOut && m_eRepeat == Repeat::kUnlessMaybeCarriedOut) {
    if (!Settings().bSafe) throw;
    throw ServiceException(WithOutage(objError.what(), objFailure.nBackOff), objFailure);
  }
  if (Settings().bSafe && StopAsked()) GiveUp(objError, kAskedToStop);
  if (!IsPatient()) return WaitAsAsked(objError);
  const auto nSince = m_objTransport.OutageSince(m_strHost);
  const milliseconds nLeft = m_objTransport.PatienceLeft(m_strHost);
  if (nLeft.count() <= 0) {
    const auto nWaited = std::chrono::duration_cast<milliseconds>(m_objTransport.Now() - nSince);
    GiveUp(objError, kWaitedFor + Duration(nWaited));
  }
  const milliseconds nPause = Pause(objFailure);
  // What the server asks for is waited in full or not at all.
  if (objFailure.nBackOff && nPause > nLeft) GiveUp(objError, AsksFor(nPause, nLeft));
  Tell(ReasonOf(objError), std::min(nPause, nLeft), nLeft);
  ++m_nWaits;
  if (!Sleep(std::min(nPause, nLeft))) GiveUp(objError, kAskedToStop);
}

bool Outage::MayAskAgain(const Failure& objFailure) {
  if (!objFailure.bMayPass || m_eRepeat != Repeat::kAlways || !IsPatient()) return false;
  return m_nAskedAgain++ < kMostAskedAgain && Sleep(WithJitter(kPauseToAskAgain));
}

// With the safe switch an outage is told as one though nobody waits for it, so that no item counts
// as failed for it.
void Outage::WaitAsAsked(const ServiceException& objError) {
  const auto nBackOff = objError.Cause().nBackOff;
  if (!nBackOff || m_objTransport.Now() + *nBackOff >= m_nEnd) {
    if (!Settings().bSafe) throw;
    GiveUp(objError, nBackOff ? AsksFor(*nBackOff, {}) : kWaitedFor + Duration(m_nAsked));
  }
  ++m_nWaits;
  m_nAsked += *nBackOff;
  if (!Settings().bSafe) return m_objTransport.Wait(*nBackOff);
  if (!Sleep(*nBackOff)) GiveUp(objError, kAskedToStop);
}

// Whoever asks once and waits for nothing asks for another request's sake, which tells.
void Outage::End() {
  if (m_eRepeat == Repeat::kNever) return;
  const auto nSince = m_objTransport.EndOutage(m_strHost);
  if (!nSince) return;
  TellLine(fmt::format(
      "{} answers again after {}", m_strHost,
      Duration(std::chrono::duration_cast<milliseconds>(m_objTransport.Now() - *nSince))));
}

void Outage::EndForOthers() {
  if (!m_objTransport.EndOutage(m_strHost)) return;
  TellLine(m_strHost + " answers other requests, and not this one: no longer waited for");
}

milliseconds Outage::Pause(const Failure& objFailure) {
  if (objFailure.nBackOff) return *objFailure.nBackOff;
  return WithJitter(std::min(kFirstPause * (1 << std::min(m_nWaits, 6)), m_nLongestPause));
}

void Outage::Tell(const std::string& strReason, milliseconds nPause, milliseconds nLeft) const {
  TellLine(fmt::format("{} does not answer ({}): next try in {}, for {} more", m_strHost, strReason,
                       Duration(nPause), Duration(nLeft)));
}

// False when the process was asked to end meanwhile.
bool Outage::Sleep(milliseconds nTime) {
  for (milliseconds nLeft = nTime; nLeft.count() > 0; nLeft -= kSlice) {
    if (StopAsked()) return false;
    m_objTransport.Wait(std::min(nLeft, kSlice));
  }
  return true;
}

}  // namespace ews
