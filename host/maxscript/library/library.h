#pragma once

#include <ctime>
#include <string>
#include <string_view>

/// The functions and names that MAXScript itself has.
namespace corrivane::host {

/// abs, mod, random, sqrt, …
void define_number_functions();
/// substring, findString, filterString, toLower, …
void define_text_functions();
/// append, deleteItem, sort, …
void define_array_functions();
/// point3, color, matrix3, translate, distance, interval, …
void define_geometry_functions();
/// print, format, stringStream, classOf, execute, throw, …
void define_language_functions();
/// bit.and, bit.shift, …
void define_bit_functions();
/// openFile, getFiles, doesFileExist, copyFile, fileIn, …
void define_file_functions();
/// readLine, readValue, seek, eof, …
void define_stream_functions();
/// getFilenamePath, pathConfig.appendPath, …
void define_path_functions();
/// getINISetting and its kin.
void define_ini_functions();
/// localTime, sysInfo, systemTools, getDir, symbolicPaths, …
void define_system_functions();
/// Names of 3ds Max that this host knows and does not have.
void define_absent_names();
/// callbacks.addScript, callbacks.removeScripts.
void define_callback_functions();

/// A moment in local time: "11/23/2026 2:05:09 PM".
std::string date_text(std::time_t seconds);

/// Whether a text matches a pattern with * for any characters and ? for one.
bool matches_pattern(std::string_view text, std::string_view pattern);

}  // namespace corrivane::host
