#pragma once

#include "Options.h"
#include "inspect/io/AtomicFile.h"
#include "lib1394/ImageFile.h"

#include <CLI/CLI.hpp>

#include <string>

namespace rombus {

// What every command does with its inputs and outputs.

// A message of the tool's own on standard error; the paths it names are shown escaped.
void complain(const std::string& text);

// Writes the whole text to standard output; false, with a message, when it cannot (a full
// disk): a report that did not arrive must not pass for a clean one. A reader that has gone
// ends the tool by SIGPIPE before this returns, as it ends other tools of a pipeline.
bool writeOut(const std::string& text);

// An image file, or standard input for "-" (with a word on standard error when it is a
// terminal, which would otherwise wait without one).
lib1394::ImageFile readImage(const std::string& path, lib1394::ByteOrder order,
                             lib1394::ImageForm form = lib1394::ImageForm::Detect);

// Writes content to path whole or not at all, by the rules (replacing it unless told otherwise;
// see writeWholeFile); false, with a message that says why, when it cannot.
bool writeFile(const std::string& path, const std::string& content,
               const WriteRules& rules = {.replace = true});

// The options of a command that writes a ROM: -o FILE (- for standard output) and
// --output-form be|le|hex into Options::output and Options::outputForm.
void addOutputOptions(CLI::App& command, Options& options, bool outputRequired);

// The ROM in a form: raw binary in bus order (be, or an empty form), every byte of it; in
// little-endian quadlets (le), or hex text of one quadlet a line.
std::string romInForm(const std::vector<uint8_t>& rom, const std::string& form);

// Why the ROM cannot be written in the form without losing bytes (a part quadlet at its end in
// le or hex); empty when it can.
std::string formProblem(const std::vector<uint8_t>& rom, const std::string& form);

// Writes a ROM to path by the rules, standard output for "-"; false, with a message, when it
// cannot.
bool writeRom(const std::string& path, const std::string& content,
              const WriteRules& rules = {.replace = true});

// Whether a ROM in this form may go to path: a *.rom file holds raw binary in bus order only, as
// check and --save-roms take it; false, with a message, for hex text or little-endian quadlets.
bool formFitsName(const std::string& path, const std::string& form);

} // namespace rombus
