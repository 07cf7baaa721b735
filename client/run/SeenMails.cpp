#include "client/run/SeenMails.h"

#include <algorithm>
#include <functional>
#include <utility>

namespace client {
namespace {

constexpr std::size_t kFewest = 64;  // places

std::uint64_t DigestOf(std::string_view folder, std::string_view hash) {
  return std::hash<std::string>()(std::string(folder).append(hash));
}

// Three of four places are taken at most.
std::size_t PlacesFor(std::size_t mails) { return std::max(kFewest, mails + mails / 3 + 1); }

}  // namespace

void SeenMails::Expect(std::size_t mails) {
  if (PlacesFor(mails) > m_behind.size()) Grow(PlacesFor(mails));
}

std::size_t SeenMails::Add(std::string_view folder, std::string_view hash, std::size_t number) {
  if (PlacesFor(m_size + 1) > m_behind.size()) Grow(2 * PlacesFor(m_size));
  const std::uint64_t digest = DigestOf(folder, hash);
  const std::size_t place = PlaceOf(digest);
  if (m_behind[place] == 0) {
    m_digests[place] = digest;
    m_behind[place] = static_cast<std::uint32_t>(number) + 1;
    ++m_size;
  }
  return m_behind[place] - 1;
}

bool SeenMails::Has(std::string_view folder, std::string_view hash) const {
  return m_size > 0 && m_behind[PlaceOf(DigestOf(folder, hash))] != 0;
}

// Where it lies or would lie.
std::size_t SeenMails::PlaceOf(std::uint64_t digest) const {
  std::size_t place = digest % m_behind.size();
  while (m_behind[place] != 0 && m_digests[place] != digest) {
    place = place + 1 < m_behind.size() ? place + 1 : 0;
  }
  return place;
}

void SeenMails::Grow(std::size_t places) {
  const auto digests = std::exchange(m_digests, std::vector<std::uint64_t>(places));
  const auto behind = std::exchange(m_behind, std::vector<std::uint32_t>(places));
  for (std::size_t i = 0; i < behind.size(); ++i) {
    if (behind[i] == 0) continue;
    const std::size_t place = PlaceOf(digests[i]);
    m_digests[place] = digests[i];
    m_behind[place] = behind[i];
  }
}

}  // namespace client
