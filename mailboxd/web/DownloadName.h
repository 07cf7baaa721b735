#pragma once

#include <string>
#include <string_view>

namespace mailbox {

// The Content-Disposition that has a browser save something under that name (UTF-8, as a stranger
// gave it). What no file name should hold is replaced: path separators, controls, and the marks
// that turn the direction of text, which can hide an extension. The name is kept below 200 bytes.
std::string SaveAs(std::string_view name);

}  // namespace mailbox
