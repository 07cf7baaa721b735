#pragma once

#include <algorithm>
#include <array>
#include <string_view>

namespace client {

// What a Thunderbird has in a profile besides mail, by names as they are on disk: in none of it
// lies mail, and in some there are many thousand files. Sorted, so that each name stands once.
inline constexpr auto kProfileFolders = std::to_array<std::string_view>({
    "Cache",
    "Cache.Trash",
    "OfflineCache",
    "Photos",
    "TestPilotExperimentResults",
    "adblockplus",
    "bookmarkbackups",
    "browser-extension-data",
    "cache2",
    "calendar-data",
    "chrome",
    "chrome_debugger_profile",
    "crashes",
    "datareporting",
    "extension-data",
    "extension-store",
    "extension-store-menus",
    "extensions",
    "features",
    "gmp",
    "gmp-eme-adobe",
    "gmp-gmpopenh264",
    "gmp-widevinecdm",
    "healthreport",
    "indexedDB",
    "jetpack",
    "jumpListCache",
    "logs",
    "minidumps",
    "pepmda",
    "personality-provider",
    "safebrowsing",
    "safebrowsing-updating",
    "saved-telemetry-pings",
    "security_state",
    "sessionstore-backups",
    "settings",
    "shader-cache",
    "startupCache",
    "storage",
    "thumbnails",
    "weave",
    "webapps",
});
inline constexpr auto kProfileFiles = std::to_array<std::string_view>({
    "AlternateServices.bin",
    "AlternateServices.txt",
    "SecurityPreloadState.bin",
    "SecurityPreloadState.txt",
    "ServiceWorkerRegistrations.txt",
    "SiteSecurityServiceState.bin",
    "SiteSecurityServiceState.txt",
    "TRRBlacklist.txt",
    "addonStartup.json.lz4",
    "cert_override.txt",
    "compatibility.ini",
    "cookies.txt",
    "enumerate_devices.txt",
    "hostperm.1",
    "key3.db",
    "key4.db",
    "kf.txt",
    "lock",
    "mailViews.dat",
    "persdict.dat",
    "pkcs11.txt",
    "prefs.js",
    "serviceworker.txt",
    "training.dat",
    "user.js",
    "xulstore.json",
});
static_assert(std::ranges::is_sorted(kProfileFolders) && std::ranges::is_sorted(kProfileFiles));

inline bool IsOfProfile(std::string_view name) {
  return std::ranges::binary_search(kProfileFolders, name) ||
         std::ranges::binary_search(kProfileFiles, name);
}

}  // namespace client
