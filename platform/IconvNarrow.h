#pragma once

namespace platform {

// Installs a converter over the C library's iconv: a stand-in until the project's own conversion is
// installed in its place (see CHANGELOG.md). A code page that iconv does not know passes ASCII
// only.
void InstallIconvNarrowConverter();

}  // namespace platform
