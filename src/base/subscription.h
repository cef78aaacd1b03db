#pragma once

#include <functional>
#include <utility>

namespace dravo {

/// Holds something that lasts as long as this handle: an observer in a list, a watch, a timer.
///
/// Move-only; destroying or resetting it ends what it holds. Keep it as the last member of its owner, so that it
/// goes first and no delivery reaches a half-destroyed object.
class [[nodiscard]] Subscription {
public:
    Subscription() = default;
    explicit Subscription(std::function<void()> end) : end_(std::move(end)) {}
    Subscription(Subscription&& other) noexcept : end_(std::exchange(other.end_, nullptr)) {}
    Subscription& operator=(Subscription&& other) noexcept {
        if (this != &other) {
            reset();
            end_ = std::exchange(other.end_, nullptr);
        }
        return *this;
    }
    ~Subscription() { reset(); }

    void reset() {
        if (auto end = std::exchange(end_, nullptr)) end();
    }
    explicit operator bool() const { return static_cast<bool>(end_); }

private:
    std::function<void()> end_;
};

}  // namespace dravo
