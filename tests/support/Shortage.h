#pragma once

#include <climits>
#include <cstdlib>
#include <new>

#include "base/Reallocate.h"

// Memory that is refused. Takes the place of the program's allocation: one source file of a test
// program includes this, and no second one.
namespace test_support {

// While it lives, allocations of this thread are refused: `refusals` in a row, behind those that go
// before.
class Shortage {
 public:
  static constexpr long kForGood = LONG_MAX;

  Shortage(long before, long refusals) : m_before(mail::SetReallocate(AllocateAgain)) {
    t_left = before;
    t_refusals = refusals;
  }
  ~Shortage() {
    t_refusals = 0;
    mail::SetReallocate(m_before);
  }
  Shortage(const Shortage&) = delete;
  Shortage& operator=(const Shortage&) = delete;

  // Of the last one of this thread: something was refused.
  static bool WasReached() { return t_left < 0; }

  static void* Allocate(std::size_t bytes) { return Refuses() ? nullptr : std::malloc(bytes + 1); }
  static void* AllocateOrThrow(std::size_t bytes) {
    if (void* const block = Allocate(bytes)) return block;
    throw std::bad_alloc();
  }

 private:
  static bool Refuses() {
    if (t_refusals == 0 || --t_left >= 0) return false;
    if (t_refusals != kForGood) --t_refusals;
    return true;
  }
  static void* AllocateAgain(void* block, std::size_t bytes) {
    return Refuses() ? nullptr : std::realloc(block, bytes);
  }

  inline static thread_local long t_left = 0;      // that are not refused
  inline static thread_local long t_refusals = 0;  // to come
  mail::ReallocateFunction m_before;
};

}  // namespace test_support

// Not inline: the compiler would take what it sees for a mismatch of new and free.
[[gnu::noinline]] void* operator new(std::size_t bytes) {
  return test_support::Shortage::AllocateOrThrow(bytes);
}
[[gnu::noinline]] void* operator new[](std::size_t bytes) {
  return test_support::Shortage::AllocateOrThrow(bytes);
}
[[gnu::noinline]] void* operator new(std::size_t bytes, const std::nothrow_t&) noexcept {
  return test_support::Shortage::Allocate(bytes);
}
[[gnu::noinline]] void* operator new[](std::size_t bytes, const std::nothrow_t&) noexcept {
  return test_support::Shortage::Allocate(bytes);
}
[[gnu::noinline]] void operator delete(void* block) noexcept { std::free(block); }
[[gnu::noinline]] void operator delete[](void* block) noexcept { std::free(block); }
[[gnu::noinline]] void operator delete(void* block, std::size_t) noexcept { std::free(block); }
[[gnu::noinline]] void operator delete[](void* block, std::size_t) noexcept { std::free(block); }
[[gnu::noinline]] void operator delete(void* block, const std::nothrow_t&) noexcept {
  std::free(block);
}
[[gnu::noinline]] void operator delete[](void* block, const std::nothrow_t&) noexcept {
  std::free(block);
}
