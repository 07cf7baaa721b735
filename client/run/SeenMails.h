#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace client {

// Which mails of a source a pass has looked at, known by their folder and content: of millions, in
// some sixteen bytes each.
class SeenMails {
 public:
  // Makes room for so many; more have room, too.
  void Expect(std::size_t mails);
  // Adds the mail of that number. Returns the number of the first of its kind, mostly its own.
  std::size_t Add(std::string_view folder, std::string_view hash, std::size_t number);
  bool Has(std::string_view folder, std::string_view hash) const;

 private:
  std::size_t PlaceOf(std::uint64_t digest) const;
  void Grow(std::size_t places);

  // Open addressing: a digest lies at its remainder or behind it, before the next empty place.
  std::vector<std::uint64_t> m_digests;
  std::vector<std::uint32_t> m_behind;  // the mail's number and one, 0 for an empty place
  std::size_t m_size = 0;
};

}  // namespace client
