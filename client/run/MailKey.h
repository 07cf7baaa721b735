#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace client {

inline constexpr size_t kMaxKey = 900;  // characters of a Message-ID that is used as it stands

// The key of a mail in the engine's ledger: its Message-ID, or "sha256:" and the hash of its
// content (64 hexadecimal digits) where the id cannot serve. An id cannot serve when it is missing,
// too long, no UTF-8, holds a quote or a control character, or holds the label that the engine
// takes out of the line.
std::string MailKey(std::string_view messageId, std::string_view contentHash);

// The key of an item that gets no row in the ledger.
std::string MadeKey(std::string_view contentHash);

// The key of a mail whose id stands in the same folder with other content already.
std::string RepeatedKey(std::string_view key, std::string_view contentHash);

// The key of an item whose own key another one in its folder has, which is like it: the hash of its
// place in the source keeps them apart.
std::string PlaceKey(std::string_view key, std::string_view placeHash);

// The key that all have that are alike: of a place key what it was made of, of any other itself.
std::string_view SharedKey(std::string_view key);

// The key of an item with that id and content, in any folder and any run: two items share it only
// where they are the same.
std::string ContentKey(std::string_view idKey, std::string_view contentHash);

// The id in a key that tells id and content; empty where there was no id that can serve.
std::string_view IdInKey(std::string_view key);

// The hash of the content in such a key; empty where none stands there.
std::string_view HashInKey(std::string_view key);

// The key as it is written on the item in the target: as it stands, or "sha256:" and a hash of it
// where it is longer than what a mailbox server gives back of a text in a list.
std::string KeyOnItem(std::string_view key);

}  // namespace client
