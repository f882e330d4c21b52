#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>
#include <unistd.h>
#include <vector>

namespace rombus_test {

// A folder of the running test's own: named by its suite, its name and the process, so that
// tests run side by side, repeated or shuffled never touch each other's files. It is made empty
// and removed with the object.
class TestFolder {
public:
    TestFolder() : path_(uniquePath()) {
        std::filesystem::remove_all(path_);
        std::filesystem::create_directories(path_);
    }
    ~TestFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TestFolder(const TestFolder&) = delete;
    TestFolder& operator=(const TestFolder&) = delete;

    const std::filesystem::path& path() const { return path_; }

    // Writes a file of the folder and answers its path.
    std::string write(const std::string& name, const std::string& content) const {
        const std::filesystem::path file = path_ / name;
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file, std::ios::binary | std::ios::trunc) << content;
        return file.string();
    }

    // Writes an image's bytes as they are.
    std::string write(const std::string& name, const std::vector<uint8_t>& bytes) const {
        return write(name, std::string(bytes.begin(), bytes.end()));
    }

private:
    static std::filesystem::path uniquePath() {
        const auto* test = ::testing::UnitTest::GetInstance()->current_test_info();
        std::string name = "rombus-";
        name += test ? std::string(test->test_suite_name()) + "." + test->name() : "outside-a-test";
        name += "-" + std::to_string(::getpid());
        return std::filesystem::temp_directory_path() / name;
    }

    std::filesystem::path path_;
};

// The names in a folder, sorted: what a writer left there, temporary files included.
inline std::vector<std::string> namesIn(const std::filesystem::path& folder) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

} // namespace rombus_test
