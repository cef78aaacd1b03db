#pragma once

namespace dravo::ui {

/// Tells assistive technology what our own controls are and hold: sliders with their values, menu buttons with their
/// choice, disclosures with their state. Before the first control is made.
void installAccessibility();

}  // namespace dravo::ui
