#pragma once

#include "lib1394/BusCapture.h"

#include <string>
#include <vector>

namespace rombus {

// A captured bus as a text file a user can send in a bug report and read back elsewhere: the
// kernel's node ids after the bus reset, the local node's topology map, and per PHY its device
// file, GUID, ROM and PHY ids. Lines of words, quadlets in hex, '#' starting a comment:
//
//   rombus-bus 1
//   name card 0
//   generation 5
//   nodes local ffc0 root ffc2 irm ffc2 bm ffc0
//   files listed
//   topology 000587a1 00000005 00030003 ...   (lines add up)
//   phy 0 file /dev/fw0 guid 0800280000001394
//   phy 0 rom 0404c2a1 31333934 ...            (lines add up)
//   phy 1 ids 00601d 412345
//   phy 2 ids none no remote access reply
std::string formatBusFile(const lib1394::BusCapture& capture);

// Reads the text back; false, with the line and what is wrong with it in error, when it is not
// such a file. Nothing it holds is trusted: counts and ids are bounded, lengths are checked.
bool parseBusFile(const std::string& text, lib1394::BusCapture& capture, std::string& error);

// Saves each bus to FOLDER/<name without blanks>.bus ("card0.bus"), written whole as saveRoms
// writes ROMs; answers the problems met, each naming its file.
std::vector<std::string> saveBusFiles(const std::vector<lib1394::BusCapture>& captures,
                                      const std::string& folder, bool overwrite);

// The most quadlets a topology map of a bus file may hold, and the biggest file read.
constexpr size_t MaxBusFileQuadlets = 1024;
constexpr size_t MaxBusFileBytes = 1 << 20;

} // namespace rombus
