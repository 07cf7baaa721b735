#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace ews {

// An http or https address, UTF-8. Scheme and host are in lower case; an IPv6 host has no brackets.
struct Url {
  std::string strScheme;
  std::string strHost;
  std::string strPort;  // always there
  std::string strPath;

  bool IsHttps() const { return strScheme == "https"; }
  bool IsLoopback() const;            // localhost, 127.0.0.0/8, ::1
  std::string SchemeAndHost() const;  // "https://host", without a port
  bool SameOrigin(const Url& objOther) const;
};

// Nothing for what is no absolute http or https address, or holds a user name.
std::optional<Url> ParseUrl(std::string_view strUrl);
// The address that a Location header means, seen from strBase; empty if it is none.
std::string ResolveUrl(std::string_view strBase, std::string_view strLocation);
// The host for a message; never a password that stands in the address.
std::string HostForMessage(std::string_view strUrl);
// Percent-encodes all but letters, digits and -._~
std::string UrlEscape(std::string_view strText);
bool EqualHost(std::string_view a, std::string_view b);  // without regard to case
// True for strDomain itself and for every host below it.
bool IsHostOfDomain(std::string_view strHost, std::string_view strDomain);

}  // namespace ews
