#pragma once

#include <string>
#include <string_view>

namespace platform {

// A domain's name as the name service and servers know it: "xn--bcher-kva.example" for
// "bücher.example". What is ASCII comes back as it is, and so does what cannot be a name. UTF-8;
// does not throw.
std::string AsciiDomain(std::string_view strName);

}  // namespace platform
