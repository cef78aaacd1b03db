#pragma once

#include <QHBoxLayout>
#include <QVBoxLayout>
#include <QWidget>

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

/// Makes the layouts of `widget` and of all in it measure anew. Parts that came or went tell the layouts around them
/// only one by one, in turns of the loop: asked before that, the whole would give a height that was never true.
inline void measureAnew(QWidget& widget) {
    for (auto* const child : widget.findChildren<QWidget*>(Qt::FindDirectChildrenOnly)) measureAnew(*child);
    if (!widget.layout()) return;
    widget.layout()->invalidate();
    widget.layout()->activate();
}

}  // namespace dravo::ui
