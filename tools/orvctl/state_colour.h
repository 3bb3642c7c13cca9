#ifndef ORVCTL_STATE_COLOUR_H
#define ORVCTL_STATE_COLOUR_H

#include "tools/orvctl/table.h"

namespace orvctl {

/// How good a state is.
enum class mood { none, good, attention, bad };

/// Judges a state by the words that the kernel, the tools and the library say it with.
mood mood_of(const json& state);

/// The sequence that begins a state's colour on a terminal; NULL for a state that needs none.
const char* colour_of(const json& state);

/// A text in the colour of a mood, for the terminal.
std::string coloured(const std::string& text, mood how);

/// Whether colours are wanted at all: not where NO_COLOR is set or the terminal has none.
bool wants_colours();

}  // namespace orvctl

#endif
