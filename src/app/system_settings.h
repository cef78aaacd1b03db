#pragma once

#include <string>

namespace dravo {

/// Opens what lies outside this program: pages of the desktop's own settings, and links in the person's browser.
///
/// Thread: main thread. Nothing here waits for what it opens.
class SystemSettings {
public:
    enum class Page { notifications, location };

    virtual ~SystemSettings() = default;

    /// Whether this desktop has such a page that can be opened. Views leave the button out where it has not.
    [[nodiscard]] virtual bool offers(Page page) const = 0;
    /// What it does not offer, it does not open.
    virtual void open(Page page) = 0;

    /// `address` is https; anything else is not opened.
    virtual void openLink(const std::string& address) = 0;
};

}  // namespace dravo
