#pragma once

#include <string>

namespace rombus::description {

// Checks, while the text is parsed and before any of it is held, that a description has no more
// nodes and no deeper nesting than a ROM of 256 quadlets can need, so that the memory and the
// stack a description takes follow the ROM it can build, not the size of its file. Throws, naming
// the line, at the first node too many or too deep.
void checkDescriptionSize(const std::string& description);

} // namespace rombus::description
