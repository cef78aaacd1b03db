#pragma once

namespace dravo {

/// How a run that filters the screen was started: by a person, by the desktop at login, or without anything to see.
enum class RunKind { byPerson, atLogin, headless };

}  // namespace dravo
