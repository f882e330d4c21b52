#pragma once

#include <cstddef>
#include <set>

namespace rombus {

enum class Color { Auto, Always, Never };

// How the text report is laid out on standard output: its width and whether levels are coloured.
struct Layout {
    size_t width = 100;
    bool color = false;
    bool dump = false;       // every node's annotated ROM dump after its records
    std::set<size_t> hidden; // devices of the nodes -s and -d leave out
};

// On a terminal: the width of COLUMNS when it holds a number, else the terminal's, and never
// below 60. Elsewhere 100 columns. Colour as asked; auto means on a terminal and without
// NO_COLOR set.
Layout layoutOf(Color color);

} // namespace rombus
