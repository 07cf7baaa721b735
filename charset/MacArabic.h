#pragma once

#include <cstddef>

namespace mail {

// Page 10004 has punctuation and digits twice, for either direction of writing, and its right-to-
// left runs lie in the order in which they are seen. Puts a text of that page, in place, into the
// order in which it is read, with the ordinary forms alone.
void unfoldMacArabic(unsigned char* p, std::size_t nBytes);

}  // namespace mail
