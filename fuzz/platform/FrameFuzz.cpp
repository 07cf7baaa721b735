#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <vector>

#include "platform/EndpointFrame.h"

// Frames out of arbitrary bytes. However the bytes are cut into reads, the same frames come out and
// the same end is reached; and a frame built again gives the bytes that it was taken from.

namespace {

using platform::FrameStatus;
using Bytes = std::vector<unsigned char>;

struct Outcome {
  Bytes rebuilt;  // all frames, one behind the other
  std::size_t frames = 0;
  bool malformed = false;
};

// The pieces have 1 to 256 bytes, as the cuts say, over and over.
Outcome Feed(std::span<const unsigned char> bytes, std::span<const unsigned char> cuts) {
  Outcome outcome;
  Bytes buffer;
  std::size_t cut = 0;
  while (!bytes.empty() && !outcome.malformed) {
    std::size_t piece = bytes.size();
    if (!cuts.empty()) piece = std::min<std::size_t>(piece, cuts[cut++ % cuts.size()] + 1u);
    buffer.insert(buffer.end(), bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(piece));
    bytes = bytes.subspan(piece);
    platform::Frame frame;
    FrameStatus status;
    while ((status = platform::TakeFrame(buffer, frame)) == FrameStatus::kFrame) {
      const Bytes again = platform::BuildFrame(frame.eKind, frame.arrPayload);
      outcome.rebuilt.insert(outcome.rebuilt.end(), again.begin(), again.end());
      ++outcome.frames;
    }
    outcome.malformed = status == FrameStatus::kMalformed;
  }
  return outcome;
}

void Require(bool holds) {
  if (!holds) std::abort();
}

}  // namespace

// The first byte tells how many cuts stand in front of the bytes.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::span<const unsigned char> input(data + 1, size - 1);
  const std::size_t cuts = std::min<std::size_t>(data[0] % 16, input.size());
  const auto bytes = input.subspan(cuts);

  const Outcome whole = Feed(bytes, {});
  const Outcome pieces = Feed(bytes, input.first(cuts));
  Require(whole.frames == pieces.frames && whole.rebuilt == pieces.rebuilt &&
          whole.malformed == pieces.malformed);
  Require(whole.rebuilt.size() <= bytes.size() &&
          std::equal(whole.rebuilt.begin(), whole.rebuilt.end(), bytes.begin()));
  return 0;
}
