#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "client/run/ItemLoader.h"
#include "client/run/Journal.h"
#include "client/run/LedgerWriter.h"
#include "client/run/Outcome.h"
#include "client/run/Plan.h"
#include "client/run/SeenMails.h"
#include "client/run/Target.h"
#include "client/run/TargetLook.h"
#include "client/run/TargetService.h"

namespace client {

// What people did to mails in the source after a pass had brought them. A mail that was read,
// answered, flagged or given other categories since is found in the target by its key and told what
// changed, and nothing else: what was done to it there stays. Mails that are not in the source any
// more are known by having been seen by no look of this pass.
class SecondPass {
 public:
  // All must outlive this. hasKeys: the engine writes keys on items.
  SecondPass(const Target& target, TargetLook& look, Journal& journal, LedgerWriter& rows,
             bool hasKeys);

  // So many mails may come.
  void Expect(std::size_t mails) { m_seen.Expect(mails); }
  // That the source has the mail. Of mails that are alike and in one folder, which are one in the
  // target, the first has the say: true for that.
  bool See(const Plan::Entry& entry, const LoadedItem& item);
  // That it has one that cannot be read: what lay in the same file may still be there.
  void SeeUnread(const Plan::Entry& entry);

  // The mail as it is about to be known; its keys must be filled in.
  static KnownMail MailOf(const Plan::Entry& entry, const LoadedItem& item,
                          KnownMail::Origin origin);
  // Of a mail that has the say and is in the target, and of which the target was told that state
  // before: kUpdated, kKnown where there was nothing to do or where a remark says why, kFailed, or
  // kLeft. What cannot be told, a draft or a file that is in the source by now, is a remark, which
  // begins with kReduced (ReducedMail.h) where the mail there lacks something.
  Outcome TellState(KnownMail mail, const Plan::Entry& entry, const LoadedItem& item);

  // What the run brought and nobody saw, and how many it brought in all.
  struct Gone {
    std::vector<KnownMail> mails;
    std::uint64_t brought = 0;
  };
  Gone Missing();
  // Moves one to the target's deleted items. Returns why it stays, or nothing. Throws
  // std::runtime_error where no other can fare better.
  std::string TakeAway(KnownMail mail);

 private:
  Outcome Send(const KnownMail& mail, const nlohmann::json& state, std::string_view bytes);
  // Ids of the items in the target.
  std::vector<CString> Find(const KnownMail& mail, const std::string& messageId);

  const Target& m_target;
  TargetLook& m_look;
  Journal& m_journal;
  LedgerWriter& m_rows;
  TargetService m_service;
  bool m_hasKeys;
  SeenMails m_seen;
  std::unordered_set<std::string> m_unread;  // files
};

}  // namespace client
