#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdint>
#include <vector>

#include "platform/MemoryPages.h"

namespace {

TEST(MemoryPages, OnlyWholePagesAreGivenBackAndMayBeWrittenAnew) {
  const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
  std::vector<unsigned char> block(6 * page, 'x');
  const auto address = reinterpret_cast<std::uintptr_t>(block.data());
  unsigned char* const first = block.data() + (page - address % page) % page;  // of a page
  // From within a page to within another: the two between them go.
  platform::GiveBackPages(first + 1, 3 * page);
  EXPECT_EQ(first[page - 1], 'x');
  EXPECT_EQ(first[page], 0);
  EXPECT_EQ(first[3 * page - 1], 0);
  EXPECT_EQ(first[3 * page], 'x');
  first[page] = 'y';
  platform::GiveBackPages(first + page, page - 1);  // no whole one
  platform::GiveBackPages(first + page, 0);
  EXPECT_EQ(first[page], 'y');
}

}  // namespace
