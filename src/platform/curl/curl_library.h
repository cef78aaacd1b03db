#pragma once

#include <curl/curl.h>

#include <string>
#include <vector>

#include "base/result.h"

namespace dravo::curl {

/// The functions that we use of libcurl, which is loaded when it is first asked for: it brings some twenty libraries,
/// and most runs never check for updates. It stays until the process ends.
///
/// Thread: any.
struct CurlLibrary {
    decltype(&::curl_global_init) globalInit = nullptr;
    decltype(&::curl_easy_init) easyInit = nullptr;
    decltype(&::curl_easy_setopt) easySetopt = nullptr;
    decltype(&::curl_easy_getinfo) easyGetinfo = nullptr;
    decltype(&::curl_easy_strerror) easyStrerror = nullptr;
    decltype(&::curl_easy_cleanup) easyCleanup = nullptr;
    decltype(&::curl_multi_init) multiInit = nullptr;
    decltype(&::curl_multi_add_handle) multiAddHandle = nullptr;
    decltype(&::curl_multi_remove_handle) multiRemoveHandle = nullptr;
    decltype(&::curl_multi_perform) multiPerform = nullptr;
    decltype(&::curl_multi_poll) multiPoll = nullptr;
    decltype(&::curl_multi_wakeup) multiWakeup = nullptr;
    decltype(&::curl_multi_info_read) multiInfoRead = nullptr;
    decltype(&::curl_multi_cleanup) multiCleanup = nullptr;

    /// Loads the first of these libraries that is there, and readies it.
    /// Errors: `Unsupported`, with the dynamic loader's own words (none is installed, or it is older than 7.68).
    [[nodiscard]] static Result<CurlLibrary> load(const std::vector<std::string>& names);
};

}  // namespace dravo::curl
