#pragma once

#include <string>
#include <string_view>

#include "client/sources/ContentLines.h"

namespace client {

// Turns the value of the line that was read last into UTF-8, or into the bytes that it stands for
// in base64: by ENCODING and CHARSET, and by "data:" in front. What belongs to the value and is not
// folded as it should be is taken from the reader: lines behind a soft line end, and lines of
// base64 without a blank in front. Bytes that name no charset and are no UTF-8 are Western text.
void DecodeLine(ContentLineReader& reader, ContentLine& line);

// Bytes as UTF-8: from that charset, else as they are where they are UTF-8, else as Western text.
std::string ToUtf8(std::string_view bytes, std::string_view charset);

// True of a line whose value is bytes once it was decoded.
bool HoldsBytes(const ContentLine& line);

}  // namespace client
