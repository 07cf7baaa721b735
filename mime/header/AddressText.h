#pragma once

#include <string>
#include <string_view>

namespace mail::address_text {

// What the texts of an address list mean once the parser has cut them: no state, and linear.

// Whether a phrase is an address though it has no "@": "root", "host!user", "/O=ORG/CN=ANN". It is
// one word, and no more than characters that may stand in front of an "@".
bool isLocalAddress(std::string_view strPhrase);

// Without what people put around an address: blanks, quotes, a scheme, a route.
std::string_view bare(std::string_view str);

// The address in a text that stood in brackets, where blanks may stand around its "@" and other
// words beside it.
std::string addressIn(std::string_view strText);

// The blanks around each "@" taken out: "bob @ example.org" is one word.
std::string joinAtSigns(std::string_view strPhrase);

// Takes the next word off a text of words with one blank between them.
std::string_view takeWord(std::string_view& strRest);

// Of such a text: whether each word has an "@".
bool holdsAddressesAlone(std::string_view strWords);

// "Ann Lee ann@example.org": the words without an "@", and the last one that has it.
struct NameAndAddress {
  std::string strName;
  std::string_view strAddress;
};
NameAndAddress nameAndAddress(std::string_view strWords);

}  // namespace mail::address_text
