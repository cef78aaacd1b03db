#pragma once

#include <xcb/xcb.h>

#include <QAbstractNativeEventFilter>
#include <cstdint>
#include <functional>

namespace dravo::ui {

/// Tells what a person presses and lets go anywhere on the screen while it watches, also where that changes no focus:
/// on the bare desktop, on its bar, on the tray icon. The wheel is no button.
///
/// Thread: main thread.
class InputWatch : public QAbstractNativeEventFilter {
public:
    /// Our own windows are no exception.
    struct Handlers {
        std::function<void(bool isDown)> onButton;
        std::function<void(std::uint8_t keycode, bool isDown)> onKey;  ///< The X server's number of the key.
        std::function<void()> onTouch;                                 ///< Where, is not known yet.
    };

    explicit InputWatch(Handlers handlers);
    ~InputWatch() override;
    InputWatch(const InputWatch&) = delete;
    InputWatch& operator=(const InputWatch&) = delete;

    /// False without an X server, or one without XInput 2: then it stays silent.
    [[nodiscard]] bool canWatch() const { return extension_ != 0; }
    /// Each press costs a wake-up: only while the panel is open.
    void setWatching(bool isWatching);

private:
    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;

    Handlers handlers_;
    xcb_connection_t* connection_ = nullptr;
    std::uint8_t extension_ = 0;
    bool isWatching_ = false;
};

}  // namespace dravo::ui
