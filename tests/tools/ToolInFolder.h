#pragma once

// A test that runs the built tool from a folder of its own, as a user runs it from theirs: names
// on its command lines are the folder's files.
#include "rombus_support/TestFolder.h"
#include "rombus_support/ToolRun.h"

#include <gtest/gtest.h>

#include <string>

namespace rombus_test {

class ToolInFolder : public ::testing::Test {
protected:
    std::string read(const std::string& name) const { return readAll(folder_.path() / name); }

    Outcome rombus(const std::string& arguments) const {
        return runCommand(folder_, std::string("'") + ROMBUS_BINARY + "' " + arguments, true);
    }

    TestFolder folder_;
};

} // namespace rombus_test
