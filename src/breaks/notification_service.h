#pragma once

#include <functional>
#include <string>

#include "base/probe.h"
#include "base/result.h"

namespace dravo {

/// Whether the desktop shows this program's notifications.
enum class NotificationPermission {
    undetermined,  ///< Nobody decided yet, or there is nobody to ask.
    denied,        ///< Switched off for this program.
    authorised,
    provisional,  ///< Shown on trial, quietly.
};

struct Notification {
    std::string title;
    std::string body;
};

/// The desktop's notifications, as banners with the default sound.
///
/// Thread: main thread. Answers come from the loop, never inside the call; the caller guards its own lifetime in
/// `answer`. A service that ends drops the answers it still owes.
class NotificationService : public Probed {
public:
    /// What holds now; never asks the person.
    virtual void permission(std::function<void(NotificationPermission)> answer) = 0;

    /// Asks the person for banners and sound, where the desktop has such a question, and answers with the decision.
    /// Errors: `NotFound`, there is nobody to ask, and it stays undetermined; the caller takes any other for a refusal.
    virtual void requestPermission(std::function<void(Result<bool>)> answer) = 0;

    /// Shows a notification of its own, which replaces no earlier one, also while the program's panel has the focus.
    /// Dropped in silence where that is not possible.
    virtual void post(const Notification& notification) = 0;
};

}  // namespace dravo
