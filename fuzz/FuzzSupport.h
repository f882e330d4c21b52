#pragma once

// What the fuzz targets share: the module set up once per process with every log line passing
// the gates into a sink that drops it, a small vendor registry in a temporary file, and the
// framework emptied after every run so that memory does not grow from one input to the next.
#include "lib1394/ConfigROM.h"
#include "libRombus/Declarations.h"
#include "vesk5/DiagModule.h"
#include "vesk5/SysInfoModule.h"
#include "zul/Log.h"

#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace rombus_fuzz {

// A file in the temporary folder named after the process, removed when the process ends.
class TempFile {
public:
    explicit TempFile(const std::string& name) {
        const char* folder = std::getenv("TMPDIR");
        path_ = std::string(folder && *folder ? folder : "/tmp") + "/rombus-fuzz-" +
                std::to_string(getpid()) + "-" + name;
    }
    ~TempFile() { std::remove(path_.c_str()); }
    TempFile(const TempFile&) = delete;
    TempFile& operator=(const TempFile&) = delete;

    const std::string& path() const { return path_; }

    // Replaces the file's contents; false when it cannot be written.
    bool write(const uint8_t* data, size_t size) const {
        FILE* file = std::fopen(path_.c_str(), "wb");
        if (!file)
            return false;
        const bool written = std::fwrite(data, 1, size, file) == size;
        return std::fclose(file) == 0 && written;
    }
    bool write(const std::string& text) const {
        return write(reinterpret_cast<const uint8_t*>(text.data()), text.size());
    }

private:
    std::string path_;
};

// The registry the ROM targets look vendors up in: the identifiers the seeds use, in order.
inline const char* const seedRegistry = "000001 SMALLEST VENDOR\n"
                                        "0030E0 OXFORD SEMICONDUCTOR LTD.\n"
                                        "00609E NCITS\n"
                                        "00A027 SAMPLE VENDOR TWO\n"
                                        "FCFFAA IEEE Registration Authority\n";

inline void setParameter(vesk5::Parameter* parameter, const vesk5::Value& value) {
    if (!parameter)
        std::abort();
    parameter->setValue(value);
}

// The reads one node may make in a fuzz run. The bus's own bound is far higher and just as
// final; a lower one keeps each run short (a ROM that refers to one block from many places can
// use up any budget) while every path that runs out of reads is still taken.
constexpr uint64_t FuzzReadBudget = 4096;

// Registers the module, lets every log line through and drops them all, and bounds the reads.
inline void setUpModule() {
    libRombus::init();
    lib1394::ConfigROMContext::setReadBudget(FuzzReadBudget);
    zul::LogFactory::setPriority(zul::LOG_ALL);
    zul::LogFactory::setSink([](const zul::String&, unsigned, const zul::String&) {});
}

// The registry file of this fuzz process.
inline const TempFile& registry() {
    static TempFile file("registry.txt");
    return file;
}

// Sets the module up and points it at the seed registry, for the targets that read ROMs.
inline void setUpModuleWithSeedRegistry() {
    setUpModule();
    if (!registry().write(seedRegistry))
        std::abort();
    setParameter(libRombus::declared.IEEEVendorRegistryFile,
                 vesk5::Value(registry().path().c_str()));
}

// Forgets everything one run published, reported or noted, and the bus it installed.
inline void resetFramework() {
    lib1394::ConfigROMContext::installBus(nullptr);
    lib1394::ConfigROMContext::clearExhaustedNodes();
    vesk5::SysInfoModule::reset();
    vesk5::DiagModule::clearReports();
}

} // namespace rombus_fuzz
