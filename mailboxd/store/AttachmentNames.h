#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace mailbox {

// The name of an attachment that brings none: "ATT00001.txt", numbered from 1 among those of its
// mail, with an extension that goes with its content type (in lower case).
std::string MadeUpName(std::string_view contentType, std::size_t number);

}  // namespace mailbox
