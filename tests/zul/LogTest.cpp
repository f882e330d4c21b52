#include "zul/Log.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

// Logger names are unique per test: the factory keeps loggers and configured names for the life
// of the process.
TEST(LogTest, OneLoggerPerNameAndTheNearestConfiguredNameWins) {
    zul::LogFactory::setLoggerPriority("resolve.csr.Leaf", zul::LOG_FAILURE);
    zul::Logger *node = nullptr, *again = nullptr, *leaf = nullptr;
    zul::LogFactory::createLogger("resolve.csr.Node", node);
    zul::LogFactory::createLogger("resolve.csr.Node", again);
    zul::LogFactory::createLogger("resolve.csr.Leaf", leaf);
    ASSERT_NE(node, nullptr);
    EXPECT_EQ(node, again);
    EXPECT_EQ(leaf->getPriority(), unsigned{zul::LOG_FAILURE}) << "configured before creation";
    EXPECT_EQ(node->resolvePriority(), unsigned{zul::LOG_ALL});

    zul::LogFactory::setLoggerPriority("resolve", zul::LOG_FAILURE);
    EXPECT_EQ(node->resolvePriority(), unsigned{zul::LOG_FAILURE});
    EXPECT_EQ(node->getPriority(), unsigned{zul::LOG_ALL}) << "an enclosing name is not its own";
    EXPECT_EQ(zul::Logger("resolveX.csr").resolvePriority(), unsigned{zul::LOG_ALL});
    zul::LogFactory::setLoggerPriority("resolve.csr", zul::LOG_INFO);
    EXPECT_EQ(node->resolvePriority(), unsigned{zul::LOG_INFO});
    zul::LogFactory::setLoggerPriority("resolve.csr.Node", zul::LOG_DETAIL);
    EXPECT_EQ(node->resolvePriority(), unsigned{zul::LOG_DETAIL});
    EXPECT_EQ(node->getPriority(), unsigned{zul::LOG_DETAIL});
}

TEST(LogTest, SinkReceivesNamePriorityAndConcatenatedText) {
    std::vector<std::string> lines;
    zul::LogFactory::setSink(
        [&](const zul::String& logger, unsigned priority, const zul::String& text) {
            lines.push_back(logger.str() + "|" + std::to_string(priority) + "|" + text.str());
        });
    zul::Logger* logger = nullptr;
    zul::LogFactory::createLogger("sink.test", logger);
    zul::LoggerStream stream;
    const char* none = nullptr;
    stream + 42u + " " + zul::String("bytes at ") + none + 18446744073709551615ull;
    logger->log(zul::LOG_PROBLEM, stream);
    zul::LogFactory::setSink(nullptr);
    EXPECT_EQ(lines, std::vector<std::string>{"sink.test|3|42 bytes at 18446744073709551615"});
}

} // namespace
