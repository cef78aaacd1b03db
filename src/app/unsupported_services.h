#pragma once

#include "app/hot_key_service.h"
#include "app/login_item_service.h"

namespace dravo {

/// A desktop that gives no program a key of its own.
class UnsupportedHotKeys final : public HotKeyService {
public:
    Result<Subscription> registerHotKey(HotKey, std::function<void()>) override {
        return Error{ErrorCode::Unsupported, "this desktop has no global shortcuts"};
    }
};

/// A desktop that starts no programs at login.
class UnsupportedLoginItems final : public LoginItemService {
public:
    Status status() override { return Status::notFound; }
    Result<void> registerItem() override { return refusal(); }
    Result<void> unregisterItem() override { return refusal(); }

private:
    static Error refusal() { return {ErrorCode::Unsupported, "this desktop starts no programs at login"}; }
};

}  // namespace dravo
