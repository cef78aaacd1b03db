#include "platform/curl/transfer.h"

#include <memory>

#include "app/update_feed.h"

namespace dravo::curl {

namespace {

constexpr long kMaxRedirects = 5;
constexpr std::size_t kMaxHeaderBytes = std::size_t{64} * 1024;

// The longest wait without a look at what happened; a wake-up ends it.
constexpr int kPollMilliseconds = 1000;

constexpr long kOk = 200;

Fault::Kind kindOf(CURLcode code) {
    using Kind = Fault::Kind;
    switch (code) {
        case CURLE_COULDNT_RESOLVE_HOST:
        case CURLE_COULDNT_RESOLVE_PROXY:
        case CURLE_COULDNT_CONNECT:
        case CURLE_OPERATION_TIMEDOUT:
            return Kind::unreachable;
        case CURLE_SSL_CONNECT_ERROR:
        case CURLE_PEER_FAILED_VERIFICATION:
        case CURLE_SSL_CACERT_BADFILE:
        case CURLE_SSL_ISSUER_ERROR:
            return Kind::insecure;
        case CURLE_FILESIZE_EXCEEDED:
            return Kind::tooLong;
        case CURLE_PARTIAL_FILE:
        case CURLE_GOT_NOTHING:
        case CURLE_SEND_ERROR:
        case CURLE_RECV_ERROR:
        case CURLE_HTTP2:
        case CURLE_HTTP2_STREAM:
            return Kind::brokenOff;
        default:
            return Kind::other;
    }
}

}  // namespace

struct Transfer::Handles {
    explicit Handles(const CurlLibrary& functions)
        : library(functions), easy(functions.easyInit()), multi(functions.multiInit()) {}
    ~Handles() {
        if (easy && multi) library.multiRemoveHandle(multi, easy);
        if (easy) library.easyCleanup(easy);
        if (multi) library.multiCleanup(multi);
    }
    Handles(const Handles&) = delete;
    Handles& operator=(const Handles&) = delete;

    const CurlLibrary& library;
    CURL* easy;
    CURLM* multi;
};

void Transfer::giveUp() {
    const std::lock_guard lock(mutex_);
    isGivenUp_ = true;
    if (multi_) wakeUp_(multi_);
}

bool Transfer::enter(const CurlLibrary& library, CURLM* multi) {
    const std::lock_guard lock(mutex_);
    wakeUp_ = library.multiWakeup;
    multi_ = multi;
    return !isGivenUp_;
}

void Transfer::leave() {
    const std::lock_guard lock(mutex_);
    multi_ = nullptr;
}

bool Transfer::isGivenUp() {
    const std::lock_guard lock(mutex_);
    return isGivenUp_;
}

Result<std::string, Fault> Transfer::run() {
    if (isGivenUp()) return Fault{};
    const auto library = CurlLibrary::load(request_.libraries);
    if (!library) return Fault{Fault::Kind::noLibrary, library.error().message};
    const Handles handles(*library);
    if (!handles.easy || !handles.multi) return Fault{Fault::Kind::other, "out of memory"};
    prepare(*library, handles.easy);
    CURLcode code = CURLE_ABORTED_BY_CALLBACK;
    if (enter(*library, handles.multi)) code = perform(*library, handles.easy, handles.multi);
    leave();

    long status = 0;
    library->easyGetinfo(handles.easy, CURLINFO_RESPONSE_CODE, &status);
    if (code != CURLE_OK) return faultOf(*library, handles.easy, code);
    if (status != kOk) return Fault{Fault::Kind::status, std::to_string(status)};
    return std::move(text_);
}

CURLcode Transfer::perform(const CurlLibrary& library, CURL* easy, CURLM* multi) {
    if (library.multiAddHandle(multi, easy) != CURLM_OK) return CURLE_FAILED_INIT;
    int running = 1;
    while (running > 0) {
        if (isGivenUp()) return CURLE_ABORTED_BY_CALLBACK;
        if (library.multiPerform(multi, &running) != CURLM_OK) return CURLE_FAILED_INIT;
        if (running > 0) library.multiPoll(multi, nullptr, 0, kPollMilliseconds, nullptr);
    }
    int left = 0;
    const CURLMsg* message = library.multiInfoRead(multi, &left);
    return message && message->msg == CURLMSG_DONE ? message->data.result : CURLE_FAILED_INIT;
}

void Transfer::prepare(const CurlLibrary& library, CURL* easy) {
    const auto set = [&](CURLoption option, auto value) { library.easySetopt(easy, option, value); };
    set(CURLOPT_URL, request_.address.c_str());
    set(CURLOPT_USERAGENT, request_.userAgent.c_str());
    set(CURLOPT_FOLLOWLOCATION, 1L);
    set(CURLOPT_MAXREDIRS, kMaxRedirects);
// Their successors by name came with 7.85; these work with every version.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
    set(CURLOPT_PROTOCOLS, static_cast<long>(request_.isSecure ? CURLPROTO_HTTPS : CURLPROTO_HTTPS | CURLPROTO_HTTP));
    set(CURLOPT_REDIR_PROTOCOLS, static_cast<long>(CURLPROTO_HTTPS));
#pragma GCC diagnostic pop
    set(CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
    set(CURLOPT_SSL_VERIFYPEER, 1L);
    set(CURLOPT_SSL_VERIFYHOST, 2L);
    if (!request_.authorities.empty()) set(CURLOPT_CAINFO, request_.authorities.c_str());
    if (!request_.usesProxy) set(CURLOPT_NOPROXY, "*");
    set(CURLOPT_FAILONERROR, 1L);
    set(CURLOPT_MAXFILESIZE, static_cast<long>(kMaxFeedBytes));
    set(CURLOPT_WRITEFUNCTION, &Transfer::onBody);
    set(CURLOPT_WRITEDATA, this);
    set(CURLOPT_HEADERFUNCTION, &Transfer::onHeader);
    set(CURLOPT_HEADERDATA, this);
    // The name service has a thread of the library's. No signals for it, and no waiting for it once we gave up.
    set(CURLOPT_NOSIGNAL, 1L);
#if LIBCURL_VERSION_NUM >= 0x075700
    set(CURLOPT_QUICK_EXIT, 1L);
#endif
}

std::size_t Transfer::onBody(const char* bytes, std::size_t, std::size_t count, void* self) {
    auto& transfer = *static_cast<Transfer*>(self);
    transfer.isTooLong_ = transfer.isTooLong_ || transfer.text_.size() + count > kMaxFeedBytes;
    if (transfer.isTooLong_) return 0;
    transfer.text_.append(bytes, count);
    return count;
}

std::size_t Transfer::onHeader(const char*, std::size_t, std::size_t count, void* self) {
    auto& transfer = *static_cast<Transfer*>(self);
    transfer.headerBytes_ += count;
    transfer.isTooLong_ = transfer.isTooLong_ || transfer.headerBytes_ > kMaxHeaderBytes;
    return transfer.isTooLong_ ? 0 : count;
}

Fault Transfer::faultOf(const CurlLibrary& library, CURL* easy, CURLcode code) const {
    if (isTooLong_) return {Fault::Kind::tooLong, {}};
    long status = 0;
    library.easyGetinfo(easy, CURLINFO_RESPONSE_CODE, &status);
    if (code == CURLE_HTTP_RETURNED_ERROR) return {Fault::Kind::status, std::to_string(status)};
    // The same code is for an answer that is no HTTP.
    const bool isSentOn = status >= 300 && status < 400;
    const bool leadsAway = code == CURLE_UNSUPPORTED_PROTOCOL && isSentOn;
    return {leadsAway ? Fault::Kind::leadsAway : kindOf(code), library.easyStrerror(code)};
}

}  // namespace dravo::curl
