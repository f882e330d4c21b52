#include "inspect/model/RomKnowledge.h"

namespace rombus {

std::string shownText(const std::string& stored) {
    // The kernel's text attributes drop what isspace() takes for white space at the end.
    size_t end = stored.size();
    while (end > 0 &&
           (stored[end - 1] == ' ' || (stored[end - 1] >= '\t' && stored[end - 1] <= '\r')))
        --end;
    return stored.substr(0, end);
}

} // namespace rombus
