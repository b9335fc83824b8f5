// A picture of a run: one small chart per key of its value against the
// iteration, drawn from the history file as an SVG image.
#pragma once

#include <istream>
#include <ostream>
#include <string>

namespace spsa {

// False with a message when the history has no key column or no row.
bool write_trajectory_svg(std::istream& history, std::ostream& svg, std::string& error);

}  // namespace spsa
