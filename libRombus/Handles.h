#pragma once

#include "lib1394/ConfigROM.h"
#include "vesk5/SysInfoDevice.h"
#include "zul/CopiedResource.h"
#include "zul/PointerStorage.h"

namespace libRombus {

// A non-owning device handle, taken over by whoever receives it.
using DeviceHandle = zul::CopiedResource<zul::PointerStorage<vesk5::SysInfoDevice, 3, 2>>;

// The shared handle to a node's ROM accessor; the last handle released destroys the accessor.
using AccessorHandle = lib1394::AccessorHandle;

} // namespace libRombus
