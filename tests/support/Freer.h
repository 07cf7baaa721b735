#pragma once

namespace test_support {

// The deleter of a C library's objects.
template <auto Free>
struct Freer {
  template <typename Object>
  void operator()(Object* p) const {
    Free(p);
  }
};

}  // namespace test_support
