#include "client/sources/ItemList.h"

#include <utility>

namespace client {
namespace {

// A record is two bytes of flags and then, in this order and where the flags say so:
//
//   number of the shared part · length · end of the location · offset · received · categories ·
//   extents · appendix
//
// with numbers of seven bits a byte, the lowest first, and texts behind their length.
enum StateFlag : unsigned {
  kRead = 1,
  kPrepared = 2,
  kStoreData = 4,
  kAnswered = 8,
  kForwarded = 16,
  kFlagged = 32,
  kDraft = 64,
  kDeleted = 128,
};
enum FormFlag : unsigned {
  kInFile = 1,         // the shared path is that of a file
  kBelowPath = 2,      // the location begins with the shared path
  kIsPlaceInFile = 4,  // and ends in a colon and the offset
  kHasOffset = 8,
  kHasReceived = 16,
  kHasCategories = 32,
  kHasExtents = 64,
  kHasAppendix = 128,
};

void PutNumber(std::uint64_t value, std::string& record) {
  for (; value >= 0x80; value >>= 7) record += static_cast<char>(0x80 | (value & 0x7F));
  record += static_cast<char>(value);
}

void PutText(std::string_view text, std::string& record) {
  PutNumber(text.size(), record);
  record += text;
}

// Numbers below 0 too, small ones in few bytes.
void PutSigned(std::int64_t value, std::string& record) {
  const auto bits = static_cast<std::uint64_t>(value);
  PutNumber(bits << 1 ^ (value < 0 ? ~std::uint64_t{0} : 0), record);
}

class Reader {
 public:
  explicit Reader(const char* at) : m_at(at) {}
  unsigned Byte() { return static_cast<unsigned char>(*m_at++); }
  std::uint64_t Number() {
    std::uint64_t value = 0;
    for (unsigned shift = 0;; shift += 7) {
      const std::uint64_t byte = Byte();
      value |= (byte & 0x7F) << shift;
      if (byte < 0x80) return value;
    }
  }
  std::int64_t Signed() {
    const std::uint64_t bits = Number();
    return static_cast<std::int64_t>(bits >> 1 ^ (bits & 1 ? ~std::uint64_t{0} : 0));
  }
  std::string_view Text() {
    const std::uint64_t size = Number();
    const std::string_view text(m_at, size);
    m_at += size;
    return text;
  }

 private:
  const char* m_at;
};

std::string PlaceInFile(std::uint64_t offset) { return ":" + std::to_string(offset); }

// What items of one part share of their locations.
std::string_view SharedPath(const SourceItem& item) {
  if (!item.file.empty()) return item.file;
  return std::string_view(item.location).substr(0, item.location.rfind('/') + 1);
}

unsigned StateFlags(const SourceItem& item) {
  const MailState& state = item.state;
  return (item.read ? kRead : 0u) | (item.prepared ? kPrepared : 0u) |
         (item.isStoreData ? kStoreData : 0u) | (state.answered ? kAnswered : 0u) |
         (state.forwarded ? kForwarded : 0u) | (state.flagged ? kFlagged : 0u) |
         (state.draft ? kDraft : 0u) | (state.deleted ? kDeleted : 0u);
}

void SetState(unsigned flags, SourceItem& item) {
  item.read = flags & kRead;
  item.prepared = flags & kPrepared;
  item.isStoreData = flags & kStoreData;
  item.state.answered = flags & kAnswered;
  item.state.forwarded = flags & kForwarded;
  item.state.flagged = flags & kFlagged;
  item.state.draft = flags & kDraft;
  item.state.deleted = flags & kDeleted;
}

unsigned FormFlags(const SourceItem& item, std::string_view path) {
  const bool isBelow = item.location.starts_with(path);
  const bool isPlace = isBelow && !item.file.empty() &&
                       std::string_view(item.location).substr(path.size()) ==
                           std::string_view(PlaceInFile(item.offset));
  return (item.file.empty() ? 0u : kInFile) | (isBelow ? kBelowPath : 0u) |
         (isPlace ? kIsPlaceInFile : 0u) | (item.offset ? kHasOffset : 0u) |
         (item.state.received ? kHasReceived : 0u) |
         (item.state.categories.empty() ? 0u : kHasCategories) |
         (item.extents.empty() ? 0u : kHasExtents) | (item.appendix.empty() ? 0u : kHasAppendix);
}

std::string RecordOf(const SourceItem& item, std::string_view path, std::uint64_t part) {
  const unsigned form = FormFlags(item, path);
  std::string record = {static_cast<char>(StateFlags(item)), static_cast<char>(form)};
  PutNumber(part, record);
  PutNumber(item.length, record);
  if (!(form & kIsPlaceInFile)) {
    PutText(std::string_view(item.location).substr(form & kBelowPath ? path.size() : 0), record);
  }
  if (form & kHasOffset) PutNumber(item.offset, record);
  if (form & kHasReceived) PutSigned(*item.state.received, record);
  if (form & kHasCategories) {
    PutNumber(item.state.categories.size(), record);
    for (const std::string& category : item.state.categories) PutText(category, record);
  }
  if (form & kHasExtents) {
    PutNumber(item.extents.size(), record);
    for (const SourceItem::Extent& extent : item.extents) {
      PutNumber(extent.offset, record);
      PutNumber(extent.length, record);
    }
  }
  if (form & kHasAppendix) PutText(item.appendix, record);
  return record;
}

}  // namespace

std::size_t ItemList::Add(const SourceItem& item) {
  const std::string_view path = SharedPath(item);
  const std::uint64_t part = PartOf(item, path);
  ++m_shared[part].items;
  m_shared[part].bytes += item.length;
  m_records.Add(RecordOf(item, path, part));
  return part;
}

std::uint64_t ItemList::PartOf(const SourceItem& item, std::string_view path) {
  std::string key = item.folder;
  key.append(1, '\0').append(std::to_string(item.type));
  key.append(1, item.namesItsFolder ? '\1' : '\0').append(path);
  const auto [part, isNew] = m_partOf.try_emplace(std::move(key), m_shared.size());
  if (isNew) {
    m_shared.push_back(
        {item.folder, item.type, std::string(path), item.namesItsFolder, item.listed});
  }
  return part->second;
}

SourceItem ItemList::operator[](std::size_t at) const { return Made(m_records[at]); }

SourceItem ItemList::Made(std::string_view bytes) const {
  Reader record(bytes.data());
  SourceItem item;
  SetState(record.Byte(), item);
  const unsigned form = record.Byte();
  const Shared& shared = m_shared[record.Number()];
  item.folder = shared.folder;
  item.type = shared.type;
  item.namesItsFolder = shared.namesItsFolder;
  item.listed = shared.listed;
  if (form & kInFile) item.file = shared.path;
  item.length = record.Number();
  if (form & kBelowPath) item.location = shared.path;
  if (!(form & kIsPlaceInFile)) item.location += record.Text();
  if (form & kHasOffset) item.offset = record.Number();
  if (form & kIsPlaceInFile) item.location += PlaceInFile(item.offset);
  if (form & kHasReceived) item.state.received = record.Signed();
  if (form & kHasCategories) {
    for (auto left = record.Number(); left > 0; --left) {
      item.state.categories.emplace_back(record.Text());
    }
  }
  if (form & kHasExtents) {
    for (auto left = record.Number(); left > 0; --left) {
      const std::uint64_t offset = record.Number();
      item.extents.push_back({offset, record.Number()});
    }
  }
  if (form & kHasAppendix) item.appendix = record.Text();
  return item;
}

void ItemList::SetUnread(std::size_t at) {
  // The flags of the state come first.
  const auto flags = static_cast<unsigned char>(m_records[at].front());
  m_records.Change(at, 0, static_cast<char>(flags & ~unsigned{kRead}));
}

void ItemList::TakeAll(const std::function<void(SourceItem item)>& take) {
  m_records.TakeAll([&](std::string_view record) { take(Made(record)); });
  m_shared.clear();
  m_partOf.clear();
}

void ItemList::Move(const std::function<std::string(const Shared& shared)>& folderOf) {
  for (Shared& shared : m_shared) shared.folder = folderOf(shared);
  m_partOf.clear();
}

}  // namespace client
