#pragma once

// Buses of any shape for the tests: a tree of PHYs described from the root down, numbered as the
// self-ID process numbers them (every PHY after its children, the child on the lowest port
// first), each child on the next port of its parent and the parent on the port after them.
#include "inspect/model/SelfIds.h"

#include <algorithm>
#include <vector>

namespace rombus_test {

struct Shape {
    std::vector<Shape> children;
    unsigned speed = 2; // S400
    bool linkActive = true;
    bool contender = true;
    unsigned ports = 3;
    unsigned gapCount = 63;
};

inline unsigned numberPhys(const Shape& shape, bool root, std::vector<rombus::PhySelfId>& phys) {
    rombus::PhySelfId phy;
    const size_t needed = shape.children.size() + (root ? 0 : 1);
    phy.ports.assign(std::max<size_t>(shape.ports, needed), rombus::PortState::NotConnected);
    for (size_t port = 0; port < shape.children.size(); ++port) {
        numberPhys(shape.children[port], false, phys);
        phy.ports[port] = rombus::PortState::Child;
    }
    if (!root)
        phy.ports[shape.children.size()] = rombus::PortState::Parent;
    phy.phyId = static_cast<unsigned>(phys.size());
    phy.speed = shape.speed;
    phy.linkActive = shape.linkActive;
    phy.contender = shape.contender;
    phy.gapCount = shape.gapCount;
    phys.push_back(phy);
    return phy.phyId;
}

// The self-IDs of a bus, the root last.
inline std::vector<rombus::PhySelfId> selfIdsOf(const Shape& root) {
    std::vector<rombus::PhySelfId> phys;
    numberPhys(root, true, phys);
    return phys;
}

// A chain of n PHYs hanging from the root; a star of n leaves around a root of n ports.
inline Shape chain(unsigned n) {
    Shape shape;
    for (unsigned i = 1; i < n; ++i) {
        Shape above;
        above.children.push_back(std::move(shape));
        shape = std::move(above);
    }
    return shape;
}

inline Shape star(unsigned leaves) {
    Shape root;
    root.ports = std::max(3u, leaves);
    root.children.resize(leaves);
    return root;
}

} // namespace rombus_test
