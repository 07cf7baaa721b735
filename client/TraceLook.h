#pragma once

#include <cstdint>
#include <string>

namespace client {

inline constexpr char kTraceName[] = "TarnyEngine.txt";  // in the run folder

// Looks into the engine's trace for what a command wrote there: the proof of a save for items that
// get no row in the ledger.
class TraceLook {
 public:
  explicit TraceLook(std::string path) : m_path(std::move(path)) {}

  void Mark();  // what is added from here on counts
  // True if a mail was saved since the mark.
  bool HasSavedMail() const;

 private:
  std::string m_path;
  std::uint64_t m_offset = 0;  // bytes
};

}  // namespace client
