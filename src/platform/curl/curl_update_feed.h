#pragma once

#include <list>
#include <memory>
#include <string>
#include <vector>

#include "app/update_feed.h"
#include "base/descriptor_watch.h"
#include "base/scheduler.h"

namespace dravo::curl {

/// Fetches by libcurl, with the system's certificates and the environment's proxies, on a thread for each transfer.
///
/// Without cookies, passwords, or anything else that another program left for it; at most five times sent on. On the
/// machine itself (loopback) no proxy is asked.
/// Lifetime: what it is given outlives it; destroyed, it waits for transfers that were given up.
class CurlUpdateFeed final : public UpdateFeed {
public:
    struct Options {
        std::string userAgent = "Dravo";
        std::string authorities = {};  ///< A file of certificates to trust instead of the system's; empty: those.
        /// Names under which the library is looked for. Debian has it once more, with another library for TLS.
        std::vector<std::string> libraries = {"libcurl.so.4", "libcurl-gnutls.so.4"};
    };

    CurlUpdateFeed(DescriptorWatch& watch, Scheduler& scheduler, Options options)
        : watch_(watch), scheduler_(scheduler), options_(std::move(options)) {}
    ~CurlUpdateFeed() override;
    CurlUpdateFeed(const CurlUpdateFeed&) = delete;
    CurlUpdateFeed& operator=(const CurlUpdateFeed&) = delete;

    Subscription fetch(const std::string& address, Answer answer) override;

private:
    struct Fetch;

    void ended(Fetch* fetch);

    DescriptorWatch& watch_;
    Scheduler& scheduler_;
    Options options_;
    std::list<std::shared_ptr<Fetch>> fetches_;  ///< Shared with who may give them up.
};

}  // namespace dravo::curl
