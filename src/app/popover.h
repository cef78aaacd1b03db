#pragma once

namespace dravo {

/// The panel's window, which goes when the person turns to something else.
///
/// Thread: main thread.
class Popover {
public:
    virtual ~Popover() = default;

    /// Shows it at the tray icon, or where the person clicked, or in a corner of the screen, and gives it the keyboard.
    /// Shown already, it comes to the front where it is.
    virtual void present() = 0;
    virtual void dismiss() = 0;
    [[nodiscard]] virtual bool isShown() const = 0;

    /// Whether a click outside has closed it a moment ago. The same click may have been on the icon, and comes as one
    /// more click there: it has done its work.
    [[nodiscard]] virtual bool wasJustClosed() const = 0;
};

}  // namespace dravo
