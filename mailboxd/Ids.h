#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace mailbox {

enum class IdKind : unsigned char { kFolder = 1, kItem = 2, kAttachment = 3 };

// The opaque text that a client sees for a row of the store: url-safe base64 of the kind, the row
// number and a check sum, so that a text that this server never gave is told from the id of
// something that is gone.
std::string MakeId(IdKind kind, std::int64_t row);

// Nothing for a text that is no id. *kind gets what the id stands for.
std::optional<std::int64_t> ReadId(std::string_view text, IdKind* kind);

// An attachment that is stored nowhere by itself: a part of the mail that an item keeps.
struct PartId {
  std::int64_t item = 0;  // its row
  std::size_t index = 0;  // in MailContent::Attachments
};
// Opaque as other ids, and no id of a row.
std::string MakePartId(const PartId& part);
std::optional<PartId> ReadPartId(std::string_view text);

// Changes with each change of the row.
std::string MakeChangeKey(IdKind kind, std::int64_t version);

}  // namespace mailbox
