#include <gtest/gtest.h>

#include <QApplication>

#include "ui/controls/accessibility.h"
#include "ui/controls/button.h"

// The toolkit's own window system in memory: neither a display nor a window manager takes part.
int main(int count, char** words) {
    ::testing::InitGoogleTest(&count, words);
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("XDG_CURRENT_DESKTOP", "none");
    QApplication application(count, words);
    dravo::ui::installAccessibility();
    dravo::ui::KeyboardFocus::watchInput();
    return RUN_ALL_TESTS();
}
