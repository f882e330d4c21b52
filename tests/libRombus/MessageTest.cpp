#include "ModuleFixture.h"
#include "libRombus/Log.h"

#include "vesk5/LocalizedString.h"

namespace {

using libRombus::declared;
using libRombus::lib1394_log;

class MessageTest : public rombus_test::ModuleTest {};

TEST_F(MessageTest, ARecordOutlivesTwoOfItsThreeCopies) {
    size_t before = vesk5::LocalizedString::liveCount();
    {
        libRombus::Messages third;
        {
            libRombus::Messages first, second;
            lib1394_log record(declared.ReadFailed.message, 2);
            libRombus::setEventVariable(declared.ReadFailed.event, record, "offset", "14h");
            libRombus::setEventVariable(declared.ReadFailed.event, record, "length", "8");
            first.append(record);
            second.append(record);
            third.append(record);
            EXPECT_EQ(record.message.useCount(), 4u);
            EXPECT_EQ(vesk5::LocalizedString::liveCount(), before + 1);
        }
        ASSERT_EQ(third.size(), 1u);
        EXPECT_EQ(third[0].message.useCount(), 1u);
        EXPECT_EQ(third[0].message->text().str(),
                  "Configuration ROM read failed: read of 8 bytes at offset 14h");
    }
    EXPECT_EQ(vesk5::LocalizedString::liveCount(), before);
}

TEST_F(MessageTest, EventsAreRaisedOnlyWithoutADevice) {
    lib1394_log empty;
    libRombus::setEventVariable(declared.ReadFailed.event, empty, "offset", "0h");
    libRombus::setEventVariable(declared.ReadFailed.event, empty, "length", "20");
    EXPECT_TRUE(empty.message.isEmpty());
    EXPECT_EQ(declared.ReadFailed.event->variables().find("offset")->valueString(),
              vesk5::VeskString("0h"));

    vesk5::SysInfoDevice* device = makeDevice("d");
    for (uint32_t level : {0u, 1u, 2u}) {
        lib1394_log record(declared.ReadFailed.message, level);
        libRombus::raiseLog(declared.ReadFailed.event, record, device, "f", 1);
        libRombus::raiseLog(declared.ReadFailed.event, record, nullptr, "csr/Leaf", 40 + level);
    }
    using Severity = vesk5::DiagModule::Severity;
    const auto& reports = vesk5::DiagModule::reports();
    ASSERT_EQ(reports.size(), 3u);
    EXPECT_EQ(reports[0].severity, Severity::Progress);
    EXPECT_EQ(reports[1].severity, Severity::Warning);
    EXPECT_EQ(reports[2].severity, Severity::Error);
    EXPECT_EQ(reports[2].sourceFile, vesk5::VeskString("csr/Leaf"));
    EXPECT_EQ(reports[2].line, 42);
    EXPECT_EQ(reports[2].text.str(),
              "Configuration ROM read failed: read of 20 bytes at offset 0h");
}

TEST_F(MessageTest, ALineIsGatedBeforeAnythingIsCreatedOrFormatted) {
    libRombus::LoggerSlot slot{"libRombus.test.Gated"};
    int formatted = 0;
    auto piece = [&formatted] {
        ++formatted;
        return zul::String("piece");
    };
    zul::LogFactory::setPriority(zul::LOG_NONE);
    ROMBUS_LOG(slot, zul::LOG_FAILURE, "x", piece());
    EXPECT_EQ(slot.logger, nullptr);
    EXPECT_EQ(zul::LogFactory::findLogger("libRombus.test.Gated"), nullptr);

    zul::LogFactory::setPriority(zul::LOG_ALL);
    zul::LogFactory::setLoggerPriority("libRombus.test", zul::LOG_FAILURE);
    ROMBUS_LOG(slot, zul::LOG_PROBLEM, "x", piece());
    EXPECT_NE(slot.logger, nullptr);
    EXPECT_EQ(formatted, 0);
    EXPECT_TRUE(lines.empty());

    int line = __LINE__ + 1;
    ROMBUS_LOG(slot, zul::LOG_FAILURE, "value ", piece(), " ", 17u);
    EXPECT_EQ(formatted, 1);
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0], "libRombus.test.Gated|4|" + std::to_string(line) + " value piece 17");
    zul::LogFactory::setLoggerPriority("libRombus.test", zul::LOG_ALL);
}

} // namespace
