#pragma once

#include <optional>

#include "app/login_item_service.h"

namespace dravo::memory {

/// A desktop's list of programs that start at login, with room for one.
class MemoryLoginItem : public LoginItemService {
public:
    Status status() override { return held; }
    Result<void> registerItem() override { return change(Status::enabled); }
    Result<void> unregisterItem() override { return change(Status::notRegistered); }

    Status held = Status::notRegistered;
    std::optional<Error> fails;  ///< What every change answers, if set.

private:
    Result<void> change(Status to) {
        if (fails) return *fails;
        held = to;
        return {};
    }
};

}  // namespace dravo::memory
