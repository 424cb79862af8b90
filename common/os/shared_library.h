#pragma once

#include <filesystem>
#include <string>

namespace corrivane {

/// The file of the program that runs.
std::filesystem::path program_file();

// Libraries that come while the program runs.

/// Throws std::runtime_error with the loader's text when the library cannot be loaded whole.
void* load_library(const std::string& file);
/// What the library shows under a name; null when there is none.
void* library_entry(void* library, const char* name);
void unload_library(void* library);

}  // namespace corrivane
