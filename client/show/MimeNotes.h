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
// It listens to the loader both as its log and as its observer.
class MimeNotes final : public mail::LogBase, public mail::LoadObserver {
 public:
  static constexpr std::size_t kMaxNotes = 50;  // different ones of one entity

  // Loads a mail and notes what is damaged in it. To be called once. False when it cannot be
  // loaded.
  bool Load(std::string_view source, mail::MimeMessage2& root);

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
  // What only the file as a whole shows.
  void Finish(std::string_view source);
  void Add(const mail::MimeMessage2& entity, std::string text);
  void AddAll(const mail::MimeMessage2& entity, std::vector<std::string> texts);
  void Remark(std::string_view text);

  // A text and how often it was noted.
  using Notes = std::vector<std::pair<std::string, std::size_t>>;
  std::unordered_map<const mail::MimeMessage2*, Notes> m_notes;
  const mail::MimeMessage2* m_root = nullptr;
  const mail::MimeMessage2* m_current = nullptr;
  LineEnds m_binaryLineEnds;  // bytes of bodies that are no text
  bool m_wide = false;        // the file is UTF-16
};

}  // namespace client
