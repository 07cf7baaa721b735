#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace mail {

// URLs as pages write them. Nothing is checked more than it must be to take them apart: what a
// server understands is its business. Linear; throws std::bad_alloc alone.

// The parts of "http://host:8080/path?query". A fragment belongs to the last part that is there.
struct CrackedUrl {
  std::string strScheme;  // "http://", lower case
  std::string strHost;    // with what stands in front of an "@"
  std::string strPort;    // digits, or empty
  std::string strPath;    // begins with "/"
  std::string strQuery;   // with its "?", or empty

  std::string joined() const;
};

// Nothing for a URL of another scheme than http, https, ftp, ws and wss, or without a host.
std::optional<CrackedUrl> crackUrl(std::string_view strUrl);

// The URL that a page at strBase means by strUrl: absolute ones stay, "//host" takes the scheme,
// "/path" the host, anything else the folder; "/./" and "/../" are worked out. Where the base is no
// URL that cracks, the text of strUrl.
std::string combineUrl(std::string_view strBase, std::string_view strUrl);

// Without "." and ".." as names between slashes; ".." never leads above a path that begins with a
// slash.
std::string withoutDotNames(std::string_view strPath);

// Whether it begins with a scheme and a colon ("data:", "https:"); one letter is a drive.
bool hasScheme(std::string_view strUrl);
bool isHttpUrl(std::string_view strUrl);  // begins with http: or https:, in any case
// Whether it looks as if a page, and no picture, would come from there: by its extension, or
// because it names a host alone.
bool isPageUrl(std::string_view strUrl);

// "%41" becomes "A"; what is no two hexadecimal digits behind a "%" stays.
std::string percentDecoded(std::string_view strText);

std::string replacedAll(std::string_view strText, std::string_view strPart,
                        std::string_view strNew);

}  // namespace mail
