#pragma once

#include <string>
#include <utility>

#include "app/update_feed.h"
#include "base/descriptor_watch.h"
#include "base/scheduler.h"

namespace dravo::curl {

/// Fetches by the program `curl`, with the system's certificates and the environment's proxies.
///
/// Without cookies, passwords, or anything else that the person set up for that program; at most five times sent on.
/// On the machine itself (loopback) no proxy is asked. A transfer that is given up is killed.
/// Lifetime: what it is given outlives it.
class CurlUpdateFeed final : public UpdateFeed {
public:
    CurlUpdateFeed(DescriptorWatch& watch, Scheduler& scheduler, std::string userAgent)
        : watch_(watch), scheduler_(scheduler), userAgent_(std::move(userAgent)) {}

    Subscription fetch(const std::string& address, Answer answer) override;
    Subscription probe(Found found) override;

private:
    DescriptorWatch& watch_;
    Scheduler& scheduler_;
    std::string userAgent_;
};

}  // namespace dravo::curl
