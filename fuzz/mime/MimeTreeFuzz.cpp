// A message loaded, written, and loaded again: as bytes and as text, with and without repair of
// line ends. However hostile it is, the bytes examined stay in proportion, the tree keeps to its
// depth, and what was written is a message too.

#include <cstdint>
#include <string_view>

#include "base/DataBuffer.h"
#include "base/LogNull.h"
#include "base/XString.h"
#include "mime/tree/MimeInput.h"

namespace {

using mail::MimeMessage2;

constexpr std::uint64_t kMostStepsPerByte = 200;
constexpr std::uint64_t kFreeSteps = 10'000;

void Check(bool holds) {
  if (!holds) __builtin_trap();
}

// Leaves have the bodies: an entity with parts has none.
void CheckEntity(const MimeMessage2& entity, std::size_t depth) {
  Check(depth <= MimeMessage2::kMaxDepth);
  Check(entity.partCount() == 0 || entity.body().isEmpty());
  for (std::size_t n = 0; n < entity.partCount(); ++n) CheckEntity(*entity.part(n), depth + 1);
}

void Load(MimeMessage2& root, std::string_view bytes, bool repair, bool utf8) {
  mail::LogNull log;
  std::uint64_t steps = 0;
  Check(root.loadMimeComplete(bytes, {.bRepair = repair, .bUtf8 = utf8, .pSteps = &steps}, log));
  Check(steps <= kMostStepsPerByte * bytes.size() + kFreeSteps);
  CheckEntity(root, 0);
}

void RoundTrip(std::string_view bytes, bool repair) {
  MimeMessage2 root;
  Load(root, bytes, repair, /*utf8=*/false);
  mail::LogNull log;
  mail::DataBuffer written;
  root.getMimeBytes(written, log);
  MimeMessage2 again;
  Load(again, written.view(), repair, /*utf8=*/false);
  mail::XString text;
  again.getMimeText(text, log);
  Load(root, text.utf8().view(), repair, /*utf8=*/true);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  RoundTrip(bytes, /*repair=*/false);
  RoundTrip(bytes, /*repair=*/true);
  MimeMessage2 root;
  mail::LogNull log;
  Check(mail::loadMimeInput(root, bytes, log));
  return 0;
}
