#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "app/update_feed.h"

namespace dravo::memory {

/// A feed that answers when it is told to.
class MemoryUpdateFeed final : public UpdateFeed {
public:
    Subscription fetch(const std::string& address, Answer answer) override {
        addresses.push_back(address);
        transfer_ = std::make_shared<Answer>(std::move(answer));
        return Subscription([this, ended = std::weak_ptr<Answer>(transfer_)] {
            if (ended.lock() == transfer_) transfer_.reset();
        });
    }

    /// REQUIRES: `isAsked()`.
    void answer(const Result<std::string>& text) { (*std::exchange(transfer_, nullptr))(text); }
    [[nodiscard]] bool isAsked() const { return transfer_ != nullptr; }

    std::vector<std::string> addresses;  ///< Asked for so far.

private:
    std::shared_ptr<Answer> transfer_;
};

}  // namespace dravo::memory
