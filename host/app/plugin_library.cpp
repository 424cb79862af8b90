#include "app/plugin_library.h"

#include "os/shared_library.h"

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <stdexcept>

namespace corrivane::host {

namespace {

/// The release that this host stands in for: release number in the upper 16 bits, API number in bits 8 to 15.
/// The low bits, the revision, may differ.
constexpr std::uint32_t host_version = 9000U << 16 | 21U << 8;
constexpr std::uint32_t revision_bits = 0xFF;

std::string in_hex(std::uint32_t number) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%08X", number);
    return text;
}

/// The loader would wait for ever for somebody who writes to a pipe or types at a terminal. What it says of
/// files and folders is better than what could be said here.
void check_is_no_device(const std::string& file) {
    std::error_code ignored;
    if (std::filesystem::is_other(file, ignored))
        throw std::runtime_error("cannot load the library " + file + ": it is not a file");
}

}  // namespace

PluginLibrary::PluginLibrary(const std::string& file) {
    check_is_no_device(file);
    try {
        m_handle = load_library(file);
    } catch (const std::runtime_error& error) {
        throw std::runtime_error("cannot load the library " + file + ": " + error.what());
    }
    try {
        identify(file);
    } catch (...) {
        unload_library(m_handle);
        throw;
    }
}

PluginLibrary::~PluginLibrary() {
    unload_library(m_handle);
}

void PluginLibrary::identify(const std::string& file) {
    const auto describe = reinterpret_cast<const char* (*)()>(entry_point(file, "LibDescription"));
    const auto version = reinterpret_cast<std::uint32_t (*)()>(entry_point(file, "LibVersion"));
    const auto initialise = reinterpret_cast<void (*)()>(entry_point(file, "LibInit"));
    describe();
    if ((version() & ~revision_bits) != host_version) {
        throw std::runtime_error("the library " + file + " is built for version " + in_hex(version()) +
                                 " of 3ds Max; this is " + in_hex(host_version));
    }
    initialise();
}

void* PluginLibrary::entry_point(const std::string& file, const char* name) const {
    void* entry = library_entry(m_handle, name);
    if (entry == nullptr) {
        throw std::runtime_error("the library " + file + " has no entry point " + name);
    }
    return entry;
}

std::string default_library() {
    return program_file().replace_filename("corrivane.dlx").string();
}

}  // namespace corrivane::host
