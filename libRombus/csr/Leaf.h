#pragma once

#include "libRombus/csr/Node.h"

namespace libRombus {

// A leaf that is only checked and published.
class Leaf : public Node {
public:
    using Node::Node;

    bool parse(bool checkCRC) override;
};

} // namespace libRombus
