#include "lib1394/NodeNames.h"

#include <algorithm>

namespace lib1394 {

std::string nodeDigits(const std::string& name) {
    if (name.size() < 3 || name.compare(0, 2, "fw") != 0)
        return std::string();
    const std::string digits = name.substr(2);
    const bool decimal =
        std::all_of(digits.begin(), digits.end(), [](char c) { return c >= '0' && c <= '9'; });
    return decimal ? digits : std::string();
}

bool byNodeNumber(const std::string& a, const std::string& b) {
    auto significant = [](const std::string& name) {
        const std::string digits = nodeDigits(name);
        return digits.substr(std::min(digits.find_first_not_of('0'), digits.size() - 1));
    };
    const std::string x = significant(a), y = significant(b);
    if (x.size() != y.size())
        return x.size() < y.size();
    return x != y ? x < y : a < b;
}

} // namespace lib1394
