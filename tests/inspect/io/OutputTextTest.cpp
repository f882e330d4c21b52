#include "inspect/io/JsonText.h"
#include "inspect/io/TerminalText.h"
#include "lib1394/Utf8Text.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <sstream>
#include <string>

namespace {

using rombus::escaped;
using rombus::jsonString;

TEST(TerminalText, EveryByteThatCouldMoveOrHideTheCursorIsEscaped) {
    const std::pair<std::string, std::string> cases[] = {
        {"plain text 1394", "plain text 1394"},
        {"\x1B[2J\a", "\\x1B[2J\\x07"},
        {"one\r+two\nthree", "one\\x0D+two\\x0Athree"},
        {"a\\b", "a\\\\b"},
        {"caf\xC3\xA9", "caf\xC3\xA9"},
        // Right-to-left override, zero-width space, byte-order mark, a C1 control.
        {"x\xE2\x80\xAEy\xE2\x80\x8Bz\xEF\xBB\xBF\xC2\x9B",
         "x\\xE2\\x80\\xAEy\\xE2\\x80\\x8Bz\\xEF\\xBB"
         "\\xBF\\xC2\\x9B"},
        // A stray continuation byte, an overlong NUL, a surrogate, a truncated sequence.
        {"\x80\xC0\x80\xED\xA0\x80\xE2\x82", "\\x80\\xC0\\x80\\xED\\xA0\\x80\\xE2\\x82"},
        {"\x7F", "\\x7F"},
    };
    for (const auto& [text, shown] : cases)
        EXPECT_EQ(escaped(text, false), shown);
    EXPECT_EQ(escaped("caf\xC3\xA9", true), "caf\\xC3\\xA9");
}

TEST(JsonText, StringsLoseNothingAndNeverBreakTheWriter) {
    EXPECT_EQ(jsonString("plain"), "plain");
    EXPECT_EQ(jsonString("\xC3\xA9\xE2\x80\xAE\n\x1B"), "\xC3\xA9\xE2\x80\xAE\n\x1B");
    EXPECT_EQ(jsonString("odd\xFF name\\"), "odd\\xFF name\\\\");
    EXPECT_EQ(jsonString("\xC0\x80\xED\xA0\x80\xF4\x90\x80\x80"),
              "\\xC0\\x80\\xED\\xA0\\x80\\xF4\\x90\\x80\\x80");
    // Two byte strings that differ give JSON strings that differ.
    EXPECT_NE(jsonString("\\xFF"), jsonString("\xFF"));

    nlohmann::ordered_json document = {{"name\xFE", "text\xFF"},
                                       {"list", {"ok", "\x80", 7, nullptr}},
                                       {"nested", {{"deep", "\xE2\x82"}}}};
    const std::string text = rombus::jsonDocumentText(document);
    const auto back = nlohmann::ordered_json::parse(text);
    EXPECT_EQ(back["name\\xFE"], "text\\xFF");
    EXPECT_EQ(back["list"][1], "\\x80");
    EXPECT_EQ(back["list"][2], 7);
    EXPECT_TRUE(back["list"][3].is_null());
    EXPECT_EQ(back["nested"]["deep"], "\\xE2\\x82");
    EXPECT_EQ(text.back(), '\n');
}

TEST(Utf8Text, TextIsWellFormedUtf8WithoutControlsButWhiteSpace) {
    EXPECT_TRUE(lib1394::isTextContent("04041234 # r\xC3\xA9sum\xC3\xA9\r\n\t\f\v"));
    EXPECT_TRUE(lib1394::isTextContent("\xF0\x9F\x98\x80 \xE6\x97\xA5"));
    EXPECT_TRUE(lib1394::isTextContent(""));
    const std::string binary[] = {std::string("\x04\x04\x12\x34", 4),
                                  std::string("a\0b", 3),
                                  "caf\xE9",
                                  "\xC2\x85",
                                  "\x7F",
                                  "\xF4\x90\x80\x80",
                                  "\xE2\x82"};
    for (const std::string& content : binary)
        EXPECT_FALSE(lib1394::isTextContent(content)) << escaped(content, false);
    uint32_t code = 0;
    EXPECT_EQ(lib1394::utf8SequenceAt("\xF4\x8F\xBF\xBF", 0, code), 4u);
    EXPECT_EQ(code, 0x10FFFFu);
    EXPECT_EQ(lib1394::utf8SequenceAt("x\xE2\x82\xAC", 1, code), 3u);
    EXPECT_EQ(code, 0x20ACu);
}

TEST(Utf8Text, AStreamIsCheckedPieceByPieceAndItsFaultNamesTheByte) {
    using lib1394::C1Controls;
    const auto fault = [](const std::string& content, C1Controls c1) {
        std::istringstream in(content);
        return lib1394::textFault(in, c1);
    };
    // A euro sign across every boundary of the 64 KiB pieces the stream is read in.
    for (size_t before = 65530; before <= 65536; ++before) {
        const std::string text = std::string(before, 'a') + "\xE2\x82\xAC\n";
        EXPECT_EQ(fault(text, C1Controls::Refused), "") << before;
        EXPECT_EQ(fault(text.substr(0, text.size() - 2), C1Controls::Refused),
                  "byte " + std::to_string(before) + " (E2h) begins no well-formed UTF-8")
            << before;
    }
    const std::string far = std::string(200000, 'a');
    EXPECT_EQ(fault(far + std::string(1, '\0'), C1Controls::Refused), "byte 200000 is a NUL byte");
    EXPECT_EQ(fault(far + "\x1B[0m", C1Controls::Refused),
              "byte 200000 is the control character U+001B");
    // C1 controls are text only where they are taken.
    EXPECT_EQ(fault("\xC3\x9D \xC2\x9D", C1Controls::Refused),
              "byte 3 is the control character U+009D");
    EXPECT_EQ(fault("\xC3\x9D \xC2\x9D", C1Controls::Taken), "");
    EXPECT_EQ(lib1394::textFault("caf\xE9"), "byte 3 (E9h) begins no well-formed UTF-8");
    EXPECT_EQ(lib1394::textFault("r\xC3\xA9sum\xC3\xA9\r\n"), "");
}

} // namespace
