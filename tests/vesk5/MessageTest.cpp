#include "vesk5/DiagModule.h"
#include "vesk5/Event.h"
#include "vesk5/LocalizedString.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

using vesk5::Value;

TEST(LocalizedStringTest, FillsPlaceholdersByName) {
    vesk5::LocalizedStringSpec messageTemplate("msg.fill",
                                               "{size} bytes at {offset}, {size} again, {missing}");
    size_t live = vesk5::LocalizedString::liveCount();
    std::unique_ptr<vesk5::LocalizedString> message(messageTemplate.createLocalizedString());
    EXPECT_EQ(vesk5::LocalizedString::liveCount(), live + 1);
    message->setVariable("size", Value(uint32_t{4}));
    message->setVariable("offset", Value("404h"));
    EXPECT_EQ(message->text(), zul::String("4 bytes at 404h, 4 again, {missing}"));
    message.reset();
    EXPECT_EQ(vesk5::LocalizedString::liveCount(), live);

    vesk5::Variables variables;
    variables.set("a", Value("x"));
    EXPECT_EQ(variables.fill("{a}{a}}{"), zul::String("xx}{"));
    EXPECT_EQ(variables.fill("open {a and {a}"), zul::String("open {a and x"));
    EXPECT_EQ(variables.fill("{}{b}"), zul::String("{}{b}"));
}

TEST(EventTest, VariablesKeepFirstSetOrderAndTextComesFromTheSameId) {
    vesk5::Event event("event.crc");
    EXPECT_EQ(event.text(), zul::String("event.crc")) << "without a template, the name";
    vesk5::LocalizedStringSpec messageTemplate("event.crc", "CRC {found}, expected {expected}");
    vesk5::LocalizedStringSpec otherTemplate("event.other", "unrelated");
    event.setVariable("expected", Value("1234h"));
    event.setVariable("found", Value("0h"));
    event.setVariable("expected", Value("ABCDh"));
    const auto& all = event.variables().all();
    ASSERT_EQ(all.size(), 2u);
    EXPECT_EQ(all[0].first, vesk5::VeskString("expected"));
    EXPECT_EQ(event.text(), zul::String("CRC 0h, expected ABCDh"));
}

TEST(DiagModuleTest, ReportsTakeTheTextWhenReported) {
    vesk5::DiagModule::clearReports();
    vesk5::LocalizedStringSpec messageTemplate("diag.bad", "bad entry at {offset}");
    vesk5::Event* event = vesk5::DiagModule::createEvent("diag.bad");
    event->setVariable("offset", Value("414h"));
    vesk5::DiagModule::warning(event, "Directory.cpp", 12);
    event->setVariable("offset", Value("418h"));
    vesk5::DiagModule::error(event, "Leaf.cpp", 34);
    vesk5::DiagModule::error(nullptr, "Leaf.cpp", 35);

    const auto& reports = vesk5::DiagModule::reports();
    ASSERT_EQ(reports.size(), 2u);
    EXPECT_EQ(reports[0].severity, vesk5::DiagModule::Severity::Warning);
    EXPECT_EQ(reports[0].text, zul::String("bad entry at 414h"));
    EXPECT_EQ(reports[0].sourceFile, vesk5::VeskString("Directory.cpp"));
    EXPECT_EQ(reports[1].severity, vesk5::DiagModule::Severity::Error);
    EXPECT_EQ(reports[1].text, zul::String("bad entry at 418h"));
    vesk5::DiagModule::clearReports();
}

} // namespace
