#pragma once

#include <QHBoxLayout>
#include <QVBoxLayout>

namespace dravo::ui {

/// A layout without margins of its own, `gap` pixels between its items.
template <typename Layout>
[[nodiscard]] Layout* bare(int gap) {
    auto* const layout = new Layout;
    layout->setContentsMargins({});
    layout->setSpacing(gap);
    return layout;
}

/// The same, filling `owner`.
template <typename Layout>
Layout* layOut(QWidget* owner, int gap) {
    auto* const layout = bare<Layout>(gap);
    owner->setLayout(layout);
    return layout;
}

}  // namespace dravo::ui
