#pragma once

#include "lib1394/MemoryBus.h"
#include "libRombus/Declarations.h"
#include "libRombus/Handles.h"
#include "libRombus/Message.h"
#include "rombus_support/RomLayout.h"
#include "rombus_support/TestFolder.h"
#include "vesk5/DiagModule.h"
#include "vesk5/SysInfoModule.h"
#include "zul/Log.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace rombus_test {

// Every module test starts from a clean framework, an empty in-memory bus, CRC mismatches as
// errors, a small vendor registry, and every log line captured as "logger|priority|text".
class ModuleTest : public ::testing::Test {
protected:
    void SetUp() override {
        vesk5::SysInfoModule::reset();
        vesk5::DiagModule::clearReports();
        setCrcLevel(2);
        folder = std::make_unique<TestFolder>();
        registry =
            folder->write("registry.txt", "0000F0 SAMPLE VENDOR ONE\n00A027 SAMPLE VENDOR TWO\n");
        libRombus::declared.IEEEVendorRegistryFile->setValue(vesk5::Value(registry.c_str()));
        bus = std::make_shared<lib1394::MemoryBus>();
        lib1394::ConfigROMContext::installBus(bus);
        zul::LogFactory::setPriority(zul::LOG_ALL);
        zul::LogFactory::setSink(
            [this](const zul::String& logger, unsigned priority, const zul::String& text) {
                lines.push_back(logger.str() + "|" + std::to_string(priority) + "|" + text.str());
            });
    }

    void TearDown() override {
        lib1394::ConfigROMContext::installBus(nullptr);
        zul::LogFactory::setSink({});
        zul::LogFactory::setPriority(zul::LOG_PROBLEM);
        vesk5::SysInfoModule::reset();
        vesk5::DiagModule::clearReports();
        folder.reset();
    }

    static void setCrcLevel(uint32_t level) {
        libRombus::declared.CRCMismatchLogLevel->setValue(vesk5::Value(level));
    }

    // Puts one node with this image (and faults) on port 0 and returns its accessor.
    lib1394::AccessorHandle node(const std::vector<uint8_t>& image,
                                 uint64_t guid = 0x0001020304050607ull,
                                 const std::function<void(lib1394::MemoryNode&)>& fault = {}) {
        if (bus->portCount() == 0)
            bus->addPort();
        lib1394::MemoryNode& added = bus->addNode(0, image, guid);
        if (fault)
            fault(added);
        unsigned id = 0xFFC0u | static_cast<unsigned>(bus->port(0).nodes.size() - 1);
        return lib1394::ConfigROMContext::getConfigROMAccessor(0, id, true);
    }

    static std::vector<std::string> texts(const libRombus::Messages& messages) {
        std::vector<std::string> out;
        for (const auto& log : messages)
            out.push_back(std::to_string(log.level) + " " +
                          (log.message.isEmpty() ? "" : log.message->text().str()));
        return out;
    }

    static std::vector<std::string> publishedLocators() {
        std::vector<std::string> out;
        for (const auto& device : vesk5::SysInfoModule::publishedDevices())
            out.push_back(device.hwLocator().zulString().str());
        return out;
    }

    static const vesk5::SysInfoDevice* published(const std::string& locator) {
        for (const auto& device : vesk5::SysInfoModule::publishedDevices())
            if (device.hwLocator().zulString().str() == locator)
                return &device;
        return nullptr;
    }

    // A device made by the framework, which destroys it when it is reset.
    static vesk5::SysInfoDevice* makeDevice(const char* locator) {
        return vesk5::SysInfoDevice::createGeneric(vesk5::DeviceCapability::IEEE1394(),
                                                   vesk5::DeviceCapability::NIL(), locator, locator,
                                                   "", locator);
    }

    // A device for entries to publish under.
    static libRombus::DeviceHandle parent() {
        return libRombus::DeviceHandle(makeDevice("PARENT-LOCATOR"));
    }

    static std::string property(const vesk5::SysInfoDevice* device, const char* name) {
        const auto* found = device ? device->findProperty(name) : nullptr;
        return found ? found->value.text().str() : "<none>";
    }

    bool logged(const std::string& fragment) const {
        for (const auto& line : lines)
            if (line.find(fragment) != std::string::npos)
                return true;
        return false;
    }

    std::shared_ptr<lib1394::MemoryBus> bus;
    std::unique_ptr<TestFolder> folder;
    std::string registry;
    std::vector<std::string> lines;
};

} // namespace rombus_test
