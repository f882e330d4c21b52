// rombus diff A B: two ROMs compared entry by entry, in the manner of diff -u.
#include "CommandIo.h"
#include "RomCommands.h"
#include "Text.h"
#include "inspect/io/JsonText.h"
#include "inspect/lifecycle/RomDiff.h"

#include <nlohmann/json.hpp>

namespace rombus {
namespace {

const char* const diffFooter =
    "Compares two ROM images (any form 'rombus check' reads) by structure: each entry by\n"
    "its path (root/unit[0]/model), the bus information block by its fields. Shows changed\n"
    "values and texts, entries, leaves and directories added or removed, and changed block\n"
    "CRCs; blocks that moved with --layout or when nothing else differs; then any quadlet\n"
    "that differs where no entry tells it (rom/3Ch bytes). Exit status: 0 the ROMs are\n"
    "equal byte for byte, 1 they differ, 2 an input cannot be read.\n";

// Every text of a diff line goes out escaped: a ROM text or a file name holding a line break
// could otherwise fake a line of the diff.
std::string label(const RomChange& change, const std::string& value) {
    const std::string aspect = change.aspect == "value" ? "" : " " + change.aspect;
    return escaped(change.path + aspect + ": " + value, false) + "\n";
}

std::string diffText(const std::string& a, const std::string& b,
                     const std::vector<RomChange>& changes) {
    std::string text = "--- " + escaped(a, false) + "\n+++ " + escaped(b, false) + "\n";
    for (const RomChange& change : changes) {
        if (change.kind != RomChange::Added)
            text += "-" + label(change, change.before);
        if (change.kind != RomChange::Removed)
            text += "+" + label(change, change.after);
    }
    return text;
}

std::string diffJson(const std::string& a, const std::string& b,
                     const std::vector<RomChange>& changes) {
    nlohmann::ordered_json json = {{"from", a}, {"to", b}, {"equal", changes.empty()}};
    json["changes"] = nlohmann::ordered_json::array();
    for (const RomChange& change : changes) {
        nlohmann::ordered_json item = {{"change", changeKindName(change.kind)},
                                       {"path", change.path},
                                       {"aspect", change.aspect}};
        if (change.kind != RomChange::Added)
            item["before"] = change.before;
        if (change.kind != RomChange::Removed)
            item["after"] = change.after;
        json["changes"].push_back(item);
    }
    return jsonDocumentText(json);
}

int runDiff(const Options& options) {
    std::vector<decode::DecodedRom> roms;
    for (const std::string& path : options.files) {
        const lib1394::ImageFile image = readImage(path, options.byteOrder);
        if (!image.ok()) {
            complain(image.error);
            return ExitUsage;
        }
        roms.push_back(decode::decodeRom(image.rom));
    }
    const std::vector<RomChange> changes = diffRoms(roms[0], roms[1], options.layout);
    const std::string& a = options.files[0];
    const std::string& b = options.files[1];
    if (options.format == Format::Json && !writeOut(diffJson(a, b, changes)))
        return ExitUsage;
    if (options.format == Format::Text && !changes.empty() && !writeOut(diffText(a, b, changes)))
        return ExitUsage;
    return changes.empty() ? ExitClean : ExitProblems;
}

} // namespace

void addDiff(CLI::App& app, Options& options) {
    CLI::App* diff = app.add_subcommand("diff", "Compare two ROM images entry by entry");
    diff->add_option("FILE", options.files, "The two ROM images, A then B; - for standard input")
        ->required()
        ->expected(2);
    diff->add_flag("--layout", options.layout, "Also show blocks that moved to another offset");
    diff->footer(diffFooter);
    diff->callback([&options] { options.run = runDiff; });
}

} // namespace rombus
