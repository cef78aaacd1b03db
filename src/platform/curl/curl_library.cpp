#include "platform/curl/curl_library.h"

#include <dlfcn.h>

#include <mutex>

namespace dravo::curl {

namespace {

Error unusable(const char* fallback) {
    const char* reason = ::dlerror();
    return {ErrorCode::Unsupported, reason ? reason : fallback};
}

template <typename Function>
bool find(void* library, const char* name, Function*& function) {
    function = reinterpret_cast<Function*>(::dlsym(library, name));
    return function != nullptr;
}

}  // namespace

Result<CurlLibrary> CurlLibrary::load(const std::vector<std::string>& names) {
    void* library = nullptr;
    for (const auto& name : names) {
        library = ::dlopen(name.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
        if (library) break;
    }
    if (!library) return unusable("libcurl cannot be loaded");
    CurlLibrary found;
    const bool isWhole =
        find(library, "curl_global_init", found.globalInit) && find(library, "curl_easy_init", found.easyInit) &&
        find(library, "curl_easy_setopt", found.easySetopt) && find(library, "curl_easy_getinfo", found.easyGetinfo) &&
        find(library, "curl_easy_strerror", found.easyStrerror) &&
        find(library, "curl_easy_cleanup", found.easyCleanup) && find(library, "curl_multi_init", found.multiInit) &&
        find(library, "curl_multi_add_handle", found.multiAddHandle) &&
        find(library, "curl_multi_remove_handle", found.multiRemoveHandle) &&
        find(library, "curl_multi_perform", found.multiPerform) && find(library, "curl_multi_poll", found.multiPoll) &&
        find(library, "curl_multi_wakeup", found.multiWakeup) &&
        find(library, "curl_multi_info_read", found.multiInfoRead) &&
        find(library, "curl_multi_cleanup", found.multiCleanup);
    if (!isWhole) return unusable("libcurl is too old");

    // Counted by the library, but safe from two threads at once only since 7.84.
    static std::mutex mutex;
    const std::lock_guard lock(mutex);
    if (found.globalInit(CURL_GLOBAL_DEFAULT) != CURLE_OK)
        return Error{ErrorCode::Unsupported, "libcurl does not start"};
    return found;
}

}  // namespace dravo::curl
