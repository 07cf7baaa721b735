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
#include "client/run/LostMails.h"
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
  // That it has one that cannot be read, and that may be any that came from there before.
  void SeeUnread(const Plan::Entry& entry);

  // The mail as it is about to be known; its keys must be filled in.
  static KnownMail MailOf(const Plan::Entry& entry, const LoadedItem& item,
                          KnownMail::Origin origin);
  // Whether it went without some of its files: then they must be looked for before its state is
  // told.
  static bool LacksFiles(const KnownMail& mail);
  // Of a mail that has the say and is in the target, and of which the target was told that state
  // before: kUpdated, kKnown where there was nothing to do or where a remark says why, kFailed, or
  // kLeft. What cannot be told, a draft or a file that is in the source by now, is a remark, which
  // begins with kReduced (ReducedMail.h) where the mail there lacks something.
  Outcome TellState(KnownMail mail, const Plan::Entry& entry, const LoadedItem& item);

  // What the run brought and nobody saw, and how many it brought in all. A mail whose file is
  // there, by whatever name its program gives it now and whatever is in it, is none; nor is one
  // that came from where the source could not be read.
  struct Gone {
    std::vector<KnownMail> mails;
    std::uint64_t brought = 0;
    bool isSure = true;  // nothing of the source was out of sight
  };
  Gone Missing(const Plan& plan);
  // Takes those out of it that the source seems to have lost.
  std::vector<LostMails> TakeLost(Gone& gone) {
    return client::TakeLost(gone.mails, m_journal, m_seen,
                            [this](const KnownMail& mail) { return !Find(mail, {}).empty(); });
  }

  // What became of one that is to go to the target's deleted items.
  struct Taken {
    enum class Kind { kMoved, kNeedless, kStays };
    Kind kind;
    std::string reason;  // of one that stays
  };
  // One that is not in its folder any more, or lies in the deleted items, needs no move. Throws
  // std::runtime_error where no other can fare better.
  Taken TakeAway(KnownMail mail);

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
  std::unordered_set<std::string> m_unread;  // lasting names, else paths
  bool m_hasUnreadOfAnyName = false;
};

}  // namespace client
