#pragma once

#include <stdexcept>

// A local store does not take an item, with its words for it. Another folder of it would not,
// either.
class StoreError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};
