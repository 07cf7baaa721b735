#include "client/run/SecondPass.h"

#include <algorithm>
#include <stdexcept>

#include <nlohmann/json.hpp>

#include "client/run/ItemProps.h"
#include "client/run/LastingPlace.h"
#include "client/run/MailKey.h"
#include "client/run/ReducedMail.h"
#include "client/sources/SpecialFolders.h"
#include "ews/ServiceException.h"
#include "ews/StoredMail.h"
#include "mime/MailHeader.h"
#include "pipeline/ItemProps.h"

namespace client {
namespace {

using nlohmann::json;

constexpr const char* kRead = "read";
// Which no item becomes once it is saved, nor ceases to be; nor does it get files later.
constexpr const char* kIsDraft = "isDraft";
constexpr const char* kMissing = "missing";
constexpr std::size_t kMostNames = 20;

json MissingNames(const LoadedItem& item) {
  json names = json::array();
  for (const auto& [name, reason] : item.missing) {
    if (names.size() < kMostNames) names.push_back(name);
  }
  return names;
}

std::string TextOf(const json& props) {
  return props.dump(-1, ' ', false, json::error_handler_t::replace);
}

// What the target is told of it, in the words of the work file that tells it, and what cannot
// change there.
json StateOf(const Plan::Entry& entry, const LoadedItem& item) {
  MailState state = item.state;
  state.draft = false;
  std::ranges::sort(state.categories);
  json props = PropsOf(state, {});
  props[kRead] = entry.item.read;
  props[kIsDraft] = item.state.draft;
  if (!item.missing.empty()) props[kMissing] = MissingNames(item);
  return props;
}

// What the target can be told.
json Told(json state) {
  state.erase(kIsDraft);
  state.erase(kMissing);
  return state;
}

std::string DraftRemark(const json& before, const json& now) {
  const json was = before.value(kIsDraft, json());
  if (!was.is_boolean() || was == now[kIsDraft]) return {};
  return now[kIsDraft] == true
             ? "it is a draft in the source now, which an item that is there cannot become"
             : "it is no draft in the source any more, and the item there stays one";
}

// Which were not there when the mail was sent.
std::string FilesRemark(const json& before, const LoadedItem& item) {
  const json was = before.value(kMissing, json::array());
  if (!was.is_array()) return {};
  std::string names;
  for (const json& name : was) {
    const auto isIt = [&](const FilesBeside::Missing& each) { return name == each.name; };
    if (!name.is_string() || std::ranges::any_of(item.missing, isIt)) continue;
    names += (names.empty() ? "" : ", ") + name.get<std::string>();
  }
  if (names.empty()) return {};
  return std::string(kReduced) + ", without what is in the source by now: attachment " + names;
}

ItemProps PropsIn(const std::string& state) {
  std::vector<CString> notes;
  ItemProps props = ParseItemProps(state, notes);
  if (!props.objJson.is_object()) props.objJson = json::object();
  return props;
}

std::string MessageIdOf(std::string_view mail) {
  CString id = CString::FromUtf8(mail::MailHeader(mail).text("Message-ID"));
  id.Trim();
  return id.ToUtf8();
}

bool IsInDeletedItems(const std::string& folder) {
  return FoldedName(folder).starts_with(FoldedName("Deleted Items\\"));
}

}  // namespace

SecondPass::SecondPass(const Target& target, TargetLook& look, Journal& journal, LedgerWriter& rows,
                       bool hasKeys)
    : m_target(target),
      m_look(look),
      m_journal(journal),
      m_rows(rows),
      m_service(target),
      m_hasKeys(hasKeys) {}

bool SecondPass::See(const Plan::Entry& entry, const LoadedItem& item) {
  return m_seen.Add(entry.item.folder, item.hash, entry.number) == entry.number;
}

void SecondPass::SeeUnread(const Plan::Entry& entry) {
  if (!entry.IsMail()) return;
  const LastingPlace place(entry.item.location);
  m_unread.insert(place.isName ? std::string(place.Name()) : place.path);
  m_hasUnreadOfAnyName = m_hasUnreadOfAnyName || !place.isName;
}

KnownMail SecondPass::MailOf(const Plan::Entry& entry, const LoadedItem& item,
                             KnownMail::Origin origin) {
  return {entry.item.folder,   item.hash, item.key, item.ledgerKey, TextOf(StateOf(entry, item)),
          entry.item.location, origin};
}

bool SecondPass::LacksFiles(const KnownMail& mail) {
  return PropsIn(mail.state).objJson.contains(kMissing);
}

Outcome SecondPass::TellState(KnownMail mail, const Plan::Entry& entry, const LoadedItem& item) {
  json state = StateOf(entry, item);
  const bool isSame = mail.state == TextOf(state);
  if (isSame && mail.source == entry.item.location) return {Outcome::Kind::kKnown, {}};
  Outcome outcome{Outcome::Kind::kKnown, {}};
  if (!isSame) {
    const json before = PropsIn(mail.state).objJson;
    if (TextOf(Told(before)) != TextOf(Told(state))) outcome = Send(mail, state, item.bytes);
    if (m_hasKeys) outcome.text = Joined(DraftRemark(before, state), outcome.text);
    outcome.text = Joined(FilesRemark(before, item), outcome.text);
    // The item there goes on without them.
    state.erase(kMissing);
    if (before.contains(kMissing)) state[kMissing] = before[kMissing];
  }
  if (!outcome.Arrived()) return outcome;
  mail.state = TextOf(state);
  mail.source = entry.item.location;
  m_journal.KeepMail(mail);
  return outcome;
}

Outcome SecondPass::Send(const KnownMail& mail, const json& state, std::string_view bytes) {
  using enum Outcome::Kind;
  if (m_target.Store()) return {kKnown, "its state changed, which a store is not told"};
  if (!m_hasKeys) return {kKnown, "its state changed, which the target is not told with --as-is"};
  const ItemProps before = PropsIn(mail.state);
  const ItemProps now = PropsIn(TextOf(state));
  const json read = now.objJson.value(kRead, json(true));
  ews::MailChanges changes = ChangesOfState(before, now);
  if (read != before.objJson.value(kRead, json())) changes.bRead = read == json(true);
  try {
    const std::vector<CString> ids = Find(mail, MessageIdOf(bytes));
    if (ids.empty()) return {kKnown, "its state changed, and it is not in its folder any more"};
    for (const CString& id : ids) ews::UpdateMail(*m_service.Get(), id, changes);
    return {kUpdated, {}};
  } catch (const ews::ServiceException& failure) {
    return {EndsRun(failure.what()) ? kLeft : kFailed,
            std::string("its new state could not be told: ") + failure.what()};
  } catch (const std::runtime_error& failure) {  // there is no logon
    return {kLeft, failure.what()};
  }
}

// One that was there before the run may carry no key; then its id must be nobody else's.
std::vector<CString> SecondPass::Find(const KnownMail& mail, const std::string& messageId) {
  const std::string key = KeyOnItem(mail.key);
  std::vector<CString> own;
  std::vector<CString> keyless;
  m_look.Find(mail.folder, CString::FromUtf8(key), CString::FromUtf8(messageId),
              [&](const ews::FoundItem& found) {
                if (IsFoundText(found.strKey, key)) own.push_back(found.strId);
                const bool isAlike = IsFoundText(found.strMessageId, messageId);
                if (found.strKey.IsEmpty() && isAlike) keyless.push_back(found.strId);
              });
  if (own.empty() && keyless.size() == 1) return keyless;
  return own;
}

SecondPass::Gone SecondPass::Missing(const Plan& plan) {
  Gone gone;
  gone.isSure = plan.IsWhole() && !m_hasUnreadOfAnyName;
  const UnreadPlaces unread(plan);
  std::unordered_set<std::string> places;
  m_journal.EachBrought([&](const KnownMail& mail) {
    ++gone.brought;
    if (m_seen.Has(mail.folder, mail.hash)) return;
    const LastingPlace place(mail.source);
    const std::string known = place.isName ? std::string(place.Name()) : place.path;
    if (m_unread.contains(known) || unread.Hold(place.path)) return;
    if (place.isName) places.insert(place.path);
    gone.mails.push_back(mail);
  });
  if (places.empty()) return gone;
  std::unordered_set<std::string> there;
  for (const Plan::Entry& entry : plan.entries) {
    std::string path = LastingPlace(entry.item.location).path;
    if (places.contains(path)) there.insert(std::move(path));
  }
  std::erase_if(gone.mails, [&](const KnownMail& mail) {
    return there.contains(LastingPlace(mail.source).path);
  });
  return gone;
}

// The row goes before the run forgets that it brought the mail: cut off between the two, the next
// pass finds nothing there and goes on.
SecondPass::Taken SecondPass::TakeAway(KnownMail mail) {
  using enum Taken::Kind;
  bool isNeedless = false;
  try {
    const std::vector<CString> ids = Find(mail, {});
    if (ids.size() > 1) {
      return {kStays, "it is there more than once: nobody can tell which the run brought"};
    }
    isNeedless = ids.empty() || IsInDeletedItems(mail.folder);
    if (!isNeedless) ews::MoveToDeletedItems(*m_service.Get(), ids.front());
  } catch (const ews::ServiceException& failure) {
    if (EndsRun(failure.what())) throw;
    return {kStays, failure.what()};
  }
  m_rows.Remove(mail.folder, mail.ledgerKey, m_target.Login());
  mail.origin = KnownMail::Origin::kTakenAway;
  m_journal.KeepMail(mail);
  return {isNeedless ? kNeedless : kMoved, {}};
}

}  // namespace client
