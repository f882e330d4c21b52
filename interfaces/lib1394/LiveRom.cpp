#include "lib1394/LiveRom.h"

#include "lib1394/HexText.h"

#include <algorithm>
#include <array>
#include <bitset>
#include <string>
#include <utility>
#include <vector>

namespace lib1394 {
namespace {

constexpr unsigned RomQuadlets = MaxRomSize / 4;
// The first quadlets of a ROM, read again once it is read: the bus information block and the
// root directory's header, as the kernel compares them to know a node again.
constexpr unsigned CheckedQuadlets = 6;

// How one reading of the ROM ended.
enum class Walk {
    Done,    // read, perhaps with blocks cut short (told in the notes)
    Restart, // the bus was reset, or the ROM changed while read: read it anew
    Stopped, // reading stopped (told in the notes); what was read is kept
    Lost,    // nothing usable: the node is booting, refused its first quadlet or left the bus
};

std::string where(unsigned index) {
    return "quadlet " + std::to_string(index) + " (" + hexText(RomAddress + 4 * index, 12) + ")";
}

// One reading of a ROM, from its first quadlet on.
class RomWalk {
public:
    RomWalk(LiveNode& live, const std::string& path) : live_(live), path_(path) {}

    Walk run();
    std::vector<uint8_t> bytes() const;
    std::vector<std::string> takeNotes() { return std::move(notes_); }
    // Whether the reading was begun anew because the ROM's first quadlets changed.
    bool changed() const { return changed_; }

private:
    Walk readFirstQuadlet();
    Walk readRange(unsigned begin, unsigned end, const std::string& what);
    Walk readBlocks(unsigned root);
    Walk recheck();
    Answer readAt(unsigned index, uint32_t& value);
    Walk stopAt(Answer answer, unsigned index);
    void follow(unsigned begin, unsigned end, std::vector<std::pair<unsigned, bool>>& pending);

    LiveNode& live_;
    const std::string& path_;
    std::array<uint32_t, RomQuadlets> quadlets_{};
    std::bitset<RomQuadlets> read_;
    std::vector<std::string> notes_;
    bool changed_ = false;
};

Walk RomWalk::run() {
    if (const Walk walk = readFirstQuadlet(); walk != Walk::Done)
        return walk;
    const unsigned infoLength = quadlets_[0] >> 24;
    const unsigned crcLength = quadlets_[0] >> 16 & 0xFF;
    // A bus information length of 1 makes a minimal ROM: the first quadlet holds all of it.
    if (infoLength == 1)
        return recheck();
    const unsigned root = std::min(1 + infoLength, RomQuadlets);
    const Walk walk = readRange(1, root, "the bus information block");
    if (walk != Walk::Done)
        return walk;
    if (const Walk covered =
            readRange(root, std::min(1 + crcLength, RomQuadlets), "the quadlets crc_length covers");
        covered != Walk::Done)
        return covered;
    if (root < RomQuadlets)
        if (const Walk blocks = readBlocks(root); blocks != Walk::Done)
            return blocks;
    return recheck();
}

// The first quadlet; 0 there is a node still booting, asked again after a pause.
Walk RomWalk::readFirstQuadlet() {
    const LiveLimits& limits = live_.limits();
    for (unsigned check = 1;; ++check) {
        uint32_t value = 0;
        const Answer answer = live_.read(RomAddress, value);
        if (answer != Answer::Complete) {
            const Walk walk = stopAt(answer, 0);
            return walk == Walk::Stopped ? Walk::Lost : walk;
        }
        quadlets_[0] = value;
        read_.set(0);
        if (value != 0)
            return Walk::Done;
        if (check >= limits.bootChecks) {
            notes_.push_back(path_ + ": the first quadlet of the ROM was still 0 after " +
                             std::to_string(check) + " reads " +
                             std::to_string(limits.bootPause.count()) +
                             " ms apart: the node is still booting");
            return Walk::Lost;
        }
        live_.pause(limits.bootPause);
    }
}

// Quadlets [begin, end) not read yet. A refused quadlet ends the range, told in a note.
Walk RomWalk::readRange(unsigned begin, unsigned end, const std::string& what) {
    for (unsigned i = begin; i < end; ++i) {
        if (read_.test(i))
            continue;
        uint32_t value = 0;
        const Answer answer = readAt(i, value);
        if (answer == Answer::Refused) {
            notes_.push_back(path_ + ": " + where(i) + " of " + what + " answered " +
                             live_.trouble() + "; the rest of it was not read");
            return Walk::Done;
        }
        if (answer != Answer::Complete)
            return stopAt(answer, i);
    }
    return Walk::Done;
}

// Every block the root directory reaches, directories followed through their entries that
// point to leaves and directories inside the 256 quadlets, each block read once.
Walk RomWalk::readBlocks(unsigned root) {
    std::vector<std::pair<unsigned, bool>> pending{{root, true}}; // block, is a directory
    std::bitset<RomQuadlets> visited;
    while (!pending.empty()) {
        const auto [block, directory] = pending.back();
        pending.pop_back();
        if (visited.test(block))
            continue;
        visited.set(block);
        const std::string what = "the block at " + where(block);
        if (const Walk walk = readRange(block, block + 1, what); walk != Walk::Done)
            return walk;
        if (!read_.test(block))
            continue;
        const unsigned length = quadlets_[block] >> 16;
        unsigned end = block + 1 + length;
        if (end > RomQuadlets) {
            notes_.push_back(path_ + ": " + what + " claims " + std::to_string(length) +
                             " quadlets, past the 256 of a Configuration ROM; it was read to "
                             "the ROM's end");
            end = RomQuadlets;
        }
        if (const Walk walk = readRange(block + 1, end, what); walk != Walk::Done)
            return walk;
        if (directory)
            follow(block + 1, end, pending);
    }
    return Walk::Done;
}

// The blocks the entries of a directory's quadlets [begin, end) point to: key type 2 a leaf,
// 3 a directory, each offset counted in quadlets from its entry.
void RomWalk::follow(unsigned begin, unsigned end,
                     std::vector<std::pair<unsigned, bool>>& pending) {
    for (unsigned i = begin; i < end && read_.test(i); ++i) {
        const uint32_t entry = quadlets_[i];
        const unsigned type = entry >> 30;
        const uint64_t target = i + uint64_t{entry & 0xFFFFFF};
        if (type >= 2 && target < RomQuadlets)
            pending.emplace_back(static_cast<unsigned>(target), type == 3);
    }
}

// The first quadlets once more: a ROM that changed while it was read is read anew.
Walk RomWalk::recheck() {
    for (unsigned i = 0; i < CheckedQuadlets && read_.test(i); ++i) {
        uint32_t value = 0;
        const Answer answer = live_.read(RomAddress + 4 * i, value);
        if (answer == Answer::Reset)
            return Walk::Restart;
        if (answer == Answer::Complete && value != quadlets_[i]) {
            changed_ = true;
            return Walk::Restart;
        }
    }
    return Walk::Done;
}

Answer RomWalk::readAt(unsigned index, uint32_t& value) {
    const Answer answer = live_.read(RomAddress + 4 * index, value);
    if (answer == Answer::Complete) {
        quadlets_[index] = value;
        read_.set(index);
    }
    return answer;
}

// What a read that neither completed nor was refused makes of this reading, told in a note.
Walk RomWalk::stopAt(Answer answer, unsigned index) {
    const std::string read = std::to_string(read_.count()) + " quadlets read";
    switch (answer) {
    case Answer::Reset:
        return Walk::Restart;
    case Answer::Failed:
        notes_.push_back(path_ + ": " + deviceTrouble(live_.error()) +
                         " while its ROM was read, at " + where(index));
        return Walk::Lost;
    case Answer::TimeUp:
        notes_.push_back(path_ + ": reading stopped at " + where(index) +
                         ": the time for the node was spent; " + read);
        return Walk::Stopped;
    case Answer::Refused:
        notes_.push_back(path_ + ": " + where(index) + " answered " + live_.trouble() +
                         "; reading stopped, " + read);
        return Walk::Stopped;
    default:
        notes_.push_back(path_ + ": " + where(index) + " answered " + live_.trouble() + " " +
                         std::to_string(live_.limits().attempts) + " times; reading stopped, " +
                         read);
        return Walk::Stopped;
    }
}

std::vector<uint8_t> RomWalk::bytes() const {
    size_t count = 0;
    for (size_t i = 0; i < RomQuadlets; ++i)
        if (read_.test(i))
            count = i + 1;
    std::vector<uint8_t> rom;
    for (size_t i = 0; i < count; ++i)
        for (int shift = 24; shift >= 0; shift -= 8)
            rom.push_back(static_cast<uint8_t>(quadlets_[i] >> shift));
    return rom;
}

// What is kept of a reading that was to begin anew once more than the restarts allow.
std::string lastReading(Walk result, const std::vector<uint8_t>& rom) {
    if (result != Walk::Restart)
        return std::string();
    if (rom.empty())
        return "; the last reading read nothing, so the ROM was not read";
    return "; the last reading is kept as it stands (" + std::to_string(rom.size() / 4) +
           " quadlets)";
}

} // namespace

// Notes of readings begun anew are dropped: the last reading's notes tell what was kept.
void readDeviceRom(LiveNode& live, const std::string& path, RomNode& node) {
    unsigned resets = 0, changes = 0;
    for (;;) {
        RomWalk walk(live, path);
        Walk result = walk.run();
        std::vector<std::string> notes = walk.takeNotes();
        if (result == Walk::Restart && resets + changes < live.limits().restarts) {
            ++(walk.changed() ? changes : resets);
            const int error = live.askKernel(nullptr);
            if (error == 0)
                continue;
            notes.push_back(path + ": " + deviceTrouble(error) + " after a bus reset");
            result = Walk::Lost;
        }
        node.rom = result == Walk::Lost ? std::vector<uint8_t>() : walk.bytes();
        if (resets + changes > 0 || result == Walk::Restart)
            notes.push_back(path + ": the ROM was read anew after " + std::to_string(resets) +
                            " bus resets and " + std::to_string(changes) +
                            " changes of its first quadlets while it was read" +
                            lastReading(result, node.rom));
        node.accessible = !node.rom.empty();
        node.notes.insert(node.notes.end(), notes.begin(), notes.end());
        return;
    }
}

} // namespace lib1394
