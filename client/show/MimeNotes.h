#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "base/LogBase.h"
#include "client/show/SourceChecks.h"
#include "mime/tree/LoadObserver.h"

namespace client {

// What is damaged in a mail, for people, entity by entity: what stands in the bytes and did not
// come into the tree as it stands, and what of the text is a guess. A sound mail has no notes.
//
// To be given to the loader both as its log and as its observer; then Finish is called once.
class MimeNotes final : public mail::LogBase, public mail::LoadObserver {
 public:
  static constexpr std::size_t kMaxNotes = 50;  // different ones of one entity

  // The file that was loaded.
  void Finish(std::string_view source);

  bool Any() const { return !m_notes.empty(); }
  // In the order in which they were made; empty for an entity without any. The entity is one of the
  // tree that was loaded.
  std::vector<std::string> Of(const mail::MimeMessage2& entity) const;

  void EnterContext(std::string_view) override {}
  void LeaveContext() override {}
  void LogError(std::string_view text) override { Remark(text); }
  void LogInfo(std::string_view text) override { Remark(text); }
  void LogData(std::string_view name, std::string_view text) override;

  void entityBegins(const mail::MimeMessage2& entity) override;
  void headerRead(const mail::MimeMessage2& entity, std::string_view header,
                  std::string_view endMarker) override;
  void leafRead(const mail::MimeMessage2& entity, const Leaf& leaf) override;
  void partsRead(const mail::MimeMessage2& entity, const Parts& parts) override;

 private:
  void Add(const mail::MimeMessage2& entity, std::string text);
  void Remark(std::string_view text);
  void NoteEncoding(const mail::MimeMessage2& entity, const Leaf& leaf);
  void NoteBase64(const mail::MimeMessage2& entity, const Base64Damage& damage);
  void NoteQuotedPrintable(const mail::MimeMessage2& entity, const QuotedPrintableDamage& damage);
  void CountBinaryLineEnds(const mail::MimeMessage2& entity, const Leaf& leaf);
  void NoteType(const mail::MimeMessage2& entity, const Leaf& leaf);
  void NoteText(const mail::MimeMessage2& entity, const Leaf& leaf);
  void NotePage(const mail::MimeMessage2& entity, const Leaf& leaf);

  // A text and how often it was noted.
  using Notes = std::vector<std::pair<std::string, std::size_t>>;
  std::unordered_map<const mail::MimeMessage2*, Notes> m_notes;
  const mail::MimeMessage2* m_root = nullptr;
  const mail::MimeMessage2* m_current = nullptr;
  LineEnds m_binaryLineEnds;  // bytes of bodies that are no text
  bool m_wide = false;        // the file is UTF-16
};

}  // namespace client
