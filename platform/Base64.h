#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

namespace platform {

// Base64 on one line with padding (RFC 4648), as web services carry it.
constexpr size_t Base64Length(size_t nBytes) { return (nBytes + 2) / 3 * 4; }
// Writes Base64Length(objBytes.size()) characters to pOut. A caller that encodes in pieces gives
// multiples of 3 bytes but for the last piece.
void Base64Encode(std::span<const unsigned char> objBytes, char* pOut);
std::string Base64Encode(std::string_view strBytes);
// White space is passed over. False, with strBytes empty, for any other character outside the
// alphabet, bad padding or a cut group.
[[nodiscard]] bool Base64Decode(std::string_view strText, std::string& strBytes);

// For readers with other rules about what is no base64. Decodes groups of four characters for as
// long as all four are in the alphabet and returns how many characters that were; three bytes for
// each group stand at pOut then. pOut has room for those of the whole text and kBase64Slack more.
constexpr size_t kBase64Slack = 32;
size_t Base64DecodeGroups(std::string_view strText, unsigned char* pOut);

}  // namespace platform
