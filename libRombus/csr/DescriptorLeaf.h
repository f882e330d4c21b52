#pragma once

#include "libRombus/csr/Leaf.h"

namespace libRombus {

// A descriptor leaf; a textual descriptor in minimal ASCII publishes its text as TextString.
class DescriptorLeaf : public Leaf {
public:
    using Leaf::Leaf;

    bool parse(bool checkCRC) override;

private:
    bool reportReadFailure(unsigned length, int line);
    bool publishText(unsigned length);
};

} // namespace libRombus
