#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace mailbox {

enum class IdKind : unsigned char { kFolder = 1, kItem = 2, kAttachment = 3 };

// The opaque text that a client sees for a row of the store: url-safe base64 of the kind, the row
// number and a check sum, so that a text that this server never gave is told from the id of
// something that is gone.
std::string MakeId(IdKind kind, std::int64_t row);

// Nothing for a text that is no id. *kind gets what the id stands for.
std::optional<std::int64_t> ReadId(std::string_view text, IdKind* kind);

// A mail that an item keeps, or an attachment within it, which is stored nowhere by itself.
struct PartId {
  static constexpr std::size_t kDeepest = 32;  // mails within mails

  std::int64_t item = 0;  // its row
  // Where it is: an index in MailContent::Attachments of the item's mail, then one in those of the
  // attached mail that it leads to, and so on. Empty for the item's mail itself.
  std::vector<std::size_t> path = {};
};
// Opaque as other ids, and no id of a row. The path has from 1 to kDeepest indexes.
std::string MakePartId(const PartId& part);
std::optional<PartId> ReadPartId(std::string_view text);

// An occurrence of a series, which is stored with the item that is the series.
struct OccurrenceId {
  std::int64_t item = 0;    // its row
  std::int64_t number = 0;  // from 1
};
// Opaque as other ids, and no id of a row.
std::string MakeOccurrenceId(const OccurrenceId& occurrence);
std::optional<OccurrenceId> ReadOccurrenceId(std::string_view text);

// Changes with each change of the row.
std::string MakeChangeKey(IdKind kind, std::int64_t version);
// The version; nothing for a text that is no change key of that kind.
std::optional<std::int64_t> ReadChangeKey(std::string_view text, IdKind kind);

}  // namespace mailbox
