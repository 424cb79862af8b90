#pragma once

#include <string>

namespace corrivane::host {

/// A plug-in library, loaded as 3ds Max loads one: its description and version are asked for, then it is
/// initialised. Unloaded at the end of this object's life.
class PluginLibrary {
public:
    /// Throws std::runtime_error, which names the file and the fault, when it cannot be loaded, lacks one of
    /// the entry points LibDescription, LibVersion and LibInit, or was built for another release of 3ds Max.
    explicit PluginLibrary(const std::string& file);
    ~PluginLibrary();
    PluginLibrary(const PluginLibrary&) = delete;
    PluginLibrary& operator=(const PluginLibrary&) = delete;

private:
    void identify(const std::string& file);
    void* entry_point(const std::string& file, const char* name) const;

    void* m_handle;
};

/// The file that is loaded when none is named: corrivane.dlx in the folder of the running program.
std::string default_library();

}  // namespace corrivane::host
