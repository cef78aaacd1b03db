#pragma once

#include <xcb/xcb.h>

#include <QAbstractNativeEventFilter>
#include <functional>

#include "ui/shell/x11_connection.h"

namespace dravo::ui {

/// The X selection that an XEmbed tray owns for as long as it is there.
///
/// Without an X server there is never one. Thread: main thread.
class TraySelection : public QAbstractNativeEventFilter {
public:
    /// `onOwner` runs whenever a tray announces itself.
    explicit TraySelection(std::function<void()> onOwner);
    ~TraySelection() override;
    TraySelection(const TraySelection&) = delete;
    TraySelection& operator=(const TraySelection&) = delete;

    [[nodiscard]] bool hasOwner() const { return isOwned(selection_); }

private:
    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;

    std::function<void()> onOwner_;
    xcb_connection_t* connection_ = nullptr;
    xcb_atom_t selection_ = XCB_ATOM_NONE;
    xcb_atom_t manager_ = XCB_ATOM_NONE;
};

}  // namespace dravo::ui
