#pragma once

// Every JSON report the tests make is checked against the report's schema with Debian's
// python3-jsonschema, through tests/tools/validate-report.
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <string>

namespace rombus_test {

inline void expectValidReport(const std::filesystem::path& report,
                              const std::string& schema = "rombus-report.schema.json") {
    const std::string command = "/usr/bin/python3 '" ROMBUS_SOURCE_DIR
                                "/tests/tools/validate-report' '" ROMBUS_SOURCE_DIR "/doc/" +
                                schema + "' '" + report.string() + "' 2>&1";
    FILE* pipe = popen(command.c_str(), "r");
    ASSERT_NE(pipe, nullptr);
    std::string errors;
    char buffer[512];
    while (size_t count = std::fread(buffer, 1, sizeof buffer, pipe))
        errors.append(buffer, count);
    EXPECT_EQ(pclose(pipe), 0) << errors;
}

} // namespace rombus_test
