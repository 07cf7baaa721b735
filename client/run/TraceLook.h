#pragma once

#include "client/run/LogTail.h"

namespace client {

inline constexpr char kTraceName[] = "TarnyEngine.txt";  // in the run folder

// The engine's trace, 16-bit text: the proof of a save for items that get no row in the ledger.
class TraceLook : public LogTail {
 public:
  using LogTail::LogTail;
  // True if a mail was saved since the mark.
  bool HasSavedMail() const;
};

}  // namespace client
