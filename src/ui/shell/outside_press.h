#pragma once

#include <xcb/xcb.h>

#include <QAbstractNativeEventFilter>
#include <QPoint>
#include <cstdint>
#include <functional>

namespace dravo::ui {

/// Tells of mouse buttons pressed and let go anywhere on the screen while it watches, also where that changes no focus:
/// on the bare desktop, on its bar, on the tray icon. The wheel is no button. Without an X server, or one without
/// XInput 2, it stays silent.
///
/// Thread: main thread.
class OutsidePress : public QAbstractNativeEventFilter {
public:
    /// Both run at every click, those on our own windows included.
    OutsidePress(std::function<void()> onPress, std::function<void()> onRelease);
    ~OutsidePress() override;
    OutsidePress(const OutsidePress&) = delete;
    OutsidePress& operator=(const OutsidePress&) = delete;

    /// A screen's presses cost a wake-up each: only while the panel is open.
    void setWatching(bool isWatching);

private:
    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;

    std::function<void()> onPress_;
    std::function<void()> onRelease_;
    xcb_connection_t* connection_ = nullptr;
    std::uint8_t extension_ = 0;
    bool isWatching_ = false;
};

}  // namespace dravo::ui
