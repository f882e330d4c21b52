#include "inspect/Rombus.h"

#include "inspect/io/Registry.h"
#include "lib1394/ImageFile.h"
#include "lib1394/SysfsBus.h"

#include <dlfcn.h>
#include <filesystem>

namespace rombus {
namespace {

namespace fs = std::filesystem;

// Below the threshold of every log priority: the module's lines are kept from standard error.
constexpr unsigned NoLogLines = 5;

// The folder of the file that holds this code: the shared library, or a program linking it.
fs::path folderOfThisCode() {
    Dl_info info{};
    if (dladdr(reinterpret_cast<void*>(&installedRegistryPath), &info) == 0 || !info.dli_fname)
        return fs::path(".");
    return fs::path(info.dli_fname).parent_path();
}

} // namespace

std::string installedRegistryPath() {
    const fs::path folder = folderOfThisCode();
    const fs::path installed = folder / ROMBUS_LIBRARY_TO_REGISTRY;
    // In the build tree the libraries lie in bin/, beside share/.
    const fs::path built = folder / ".." / "share" / "rombus" / "oui-registry.txt";
    std::error_code error;
    if (fs::exists(installed, error))
        return installed.lexically_normal().string();
    return fs::exists(built, error) ? built.lexically_normal().string() : systemRegistryPath();
}

Settings toolSettings() {
    Settings settings;
    settings.registry = installedRegistryPath();
    settings.crcLevel = 2;
    settings.logLevel = NoLogLines;
    return settings;
}

Inspection inspectFiles(const std::vector<std::string>& paths, const Settings& settings,
                        std::vector<std::string>& errors) {
    std::vector<lib1394::ImageFile> images;
    for (const std::string& path : paths) {
        lib1394::ImageFile image = lib1394::readImageFile(path);
        if (image.ok())
            images.push_back(std::move(image));
        else
            errors.push_back(image.error);
    }
    return inspect(std::make_shared<lib1394::ImageFileBus>(images), settings);
}

Inspection inspectSysfs(const std::string& root, const Settings& settings) {
    return inspect(std::make_shared<lib1394::SysfsBus>(root), settings);
}

} // namespace rombus
