#pragma once

#include <cstddef>
#include <string_view>

namespace mail {

// Is told, while an archive is made, what became of each resource, once for each, and why a page
// could not be had from the network. The views are good for the call alone.
class MhtObserver {
 public:
  virtual ~MhtObserver() = default;
  virtual void fetched(std::string_view strUrl, std::size_t nBytes) = 0;
  virtual void missing(std::string_view strUrl, std::string_view strReason) = 0;
};

}  // namespace mail
