#pragma once

#include <xcb/xcb.h>

#include <QAbstractNativeEventFilter>
#include <QPoint>
#include <cstdint>
#include <functional>

namespace dravo::ui {

/// Tells of mouse presses anywhere on the screen while it watches, also where the press changes no focus: on the bare
/// desktop, on its bar, on the tray icon. Without an X server, or one without XInput 2, it stays silent.
///
/// Thread: main thread.
class OutsidePress : public QAbstractNativeEventFilter {
public:
    /// `onPress` runs at every press, those on our own windows included.
    explicit OutsidePress(std::function<void()> onPress);
    ~OutsidePress() override;
    OutsidePress(const OutsidePress&) = delete;
    OutsidePress& operator=(const OutsidePress&) = delete;

    /// A screen's presses cost a wake-up each: only while the panel is open.
    void setWatching(bool isWatching);

private:
    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;

    std::function<void()> onPress_;
    xcb_connection_t* connection_ = nullptr;
    std::uint8_t extension_ = 0;
    bool isWatching_ = false;
};

}  // namespace dravo::ui
