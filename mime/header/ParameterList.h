#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "base/LogBase.h"

namespace mail {

struct MimeParameter {
  std::string strName;   // lower case, without the number and stars of a piece
  std::string strValue;  // UTF-8
};

// All parameters of a Content-Type or Content-Disposition value, as given and in their order: what
// comes in pieces or percent-encoded (RFC 2231) is one, in the place of its first piece, joined by
// the numbers of the pieces and decoded. It counts before a plain one of its name; of plain ones
// that stand twice the first counts. Charsets that are unknown go to the log as "invalidCharset".
// n log n in the value; throws std::bad_alloc alone.
std::vector<MimeParameter> parametersOf(std::string_view strValueUtf8, LogBase& log);

}  // namespace mail
