#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>

#include "client/sources/StateFields.h"

namespace client {

// The list that a Eudora keeps beside a file of mails: "In.toc" beside "In.mbx". It has 104 bytes
// and then 218 for each mail: where it lies in the file (4 bytes, the lowest first), and at 12 what
// became of it. What is no such list says nothing of any mail.
class EudoraToc {
 public:
  explicit EudoraToc(std::string_view list);  // the bytes of it
  // Adds what the list has of the mail at that offset.
  void AddState(std::uint64_t offset, StateFields& fields) const;

 private:
  std::unordered_map<std::uint64_t, unsigned char> m_states;  // by offset
};

// Of the path of the file of mails.
EudoraToc TocBeside(const std::string& mbox);

}  // namespace client
