#pragma once

#include "json/value.h"
#include "worker/job/job.h"
#include "worker/job/run_settings.h"

#include <nlohmann/json_fwd.hpp>

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <type_traits>
#include <vector>

/// The types that settings of a job may have. Each can be read from a job file and from the command line, written into
/// a job file and described in its schema, and some can be told to the plug-in.
namespace corrivane::worker {

/// The texts that an option has on the command line: one for each time that it is given, true or false
/// for a switch.
using OptionTexts = std::vector<std::string>;

/// Reading replaces the value; of a map it replaces the entries that it names. From a job file it throws
/// json::Error, and std::invalid_argument for what is of the right type and yet no such value. From texts it
/// throws std::invalid_argument. Neither says which setting it was in std::invalid_argument.
void read_value(const json::Value& source, bool& value);
void read_value(const OptionTexts& texts, bool& value);

void read_value(const json::Value& source, int& value);
void read_value(const OptionTexts& texts, int& value);

void read_value(const json::Value& source, std::string& value);
void read_value(const OptionTexts& texts, std::string& value);

/// Whole seconds; 0 stands for no limit.
void read_value(const json::Value& source, std::chrono::milliseconds& value);
void read_value(const OptionTexts& texts, std::chrono::milliseconds& value);

void read_value(const json::Value& source, std::vector<std::string>& value);
void read_value(const OptionTexts& texts, std::vector<std::string>& value);

/// An object of texts, numbers and booleans; KEY=VALUE.
void read_value(const json::Value& source, std::map<std::string, std::string>& value);
void read_value(const OptionTexts& texts, std::map<std::string, std::string>& value);

/// The same, and lists of these; KEY=VALUE, where a key that is given again adds to its list.
void read_value(const json::Value& source, std::map<std::string, std::vector<std::string>>& value);
void read_value(const OptionTexts& texts, std::map<std::string, std::vector<std::string>>& value);

/// Folders by drive letter, which becomes upper case: {"C": "DIR"}; LETTER=DIR.
void read_value(const json::Value& source, std::map<char, std::string>& value);
void read_value(const OptionTexts& texts, std::map<char, std::string>& value);

/// {"left": 0, "top": 0, "right": 320, "bottom": 240, "padding": 8}; L,T,R,B.
void read_value(const json::Value& source, Region& value);
void read_value(const OptionTexts& texts, Region& value);

/// {"percentage": 95, "threshold": 0.02}; PERCENT,THRESHOLD.
void read_value(const json::Value& source, BlackFrameCheck& value);
void read_value(const OptionTexts& texts, BlackFrameCheck& value);

/// A list of files, uvws, dlls, xrefs; with commas between them.
void read_value(const json::Value& source, IgnoreMissing& value);
void read_value(const OptionTexts& texts, IgnoreMissing& value);

/// full, fast or off.
void read_value(const json::Value& source, Verify& value);
void read_value(const OptionTexts& texts, Verify& value);

/// One of progress_names().
void read_value(const json::Value& source, ViewSettings::Progress& value);
void read_value(const OptionTexts& texts, ViewSettings::Progress& value);

template <typename Source, typename Value>
void read_value(const Source& source, std::optional<Value>& value) {
    read_value(source, value.emplace());
}

/// The value as a job file has it; null, which is left out there, for one that is not set.
nlohmann::ordered_json written_value(bool value);
nlohmann::ordered_json written_value(int value);
nlohmann::ordered_json written_value(const std::string& value);
nlohmann::ordered_json written_value(const std::chrono::milliseconds& value);
nlohmann::ordered_json written_value(const std::vector<std::string>& value);
nlohmann::ordered_json written_value(const std::map<std::string, std::string>& value);
nlohmann::ordered_json written_value(const std::map<std::string, std::vector<std::string>>& value);
nlohmann::ordered_json written_value(const std::map<char, std::string>& value);
nlohmann::ordered_json written_value(const Region& value);
nlohmann::ordered_json written_value(const BlackFrameCheck& value);
nlohmann::ordered_json written_value(const IgnoreMissing& value);
nlohmann::ordered_json written_value(Verify value);
nlohmann::ordered_json written_value(ViewSettings::Progress value);

/// What JSON Schema says of a value of this type in a job file.
nlohmann::ordered_json schema_of(const bool& type);
nlohmann::ordered_json schema_of(const int& type);
nlohmann::ordered_json schema_of(const std::string& type);
nlohmann::ordered_json schema_of(const std::chrono::milliseconds& type);
nlohmann::ordered_json schema_of(const std::vector<std::string>& type);
nlohmann::ordered_json schema_of(const std::map<std::string, std::string>& type);
nlohmann::ordered_json schema_of(const std::map<std::string, std::vector<std::string>>& type);
nlohmann::ordered_json schema_of(const std::map<char, std::string>& type);
nlohmann::ordered_json schema_of(const Region& type);
nlohmann::ordered_json schema_of(const BlackFrameCheck& type);
nlohmann::ordered_json schema_of(const IgnoreMissing& type);
nlohmann::ordered_json schema_of(const Verify& type);
nlohmann::ordered_json schema_of(const ViewSettings::Progress& type);

/// A path as it is written in a file of that folder, seen from the current one. Full paths and those on drives and
/// shares stay as they are; an empty folder is the current one.
std::string path_from(const std::string& folder, const std::string& path);

/// The same for all paths in a value.
void take_paths_from(const std::string& folder, std::string& path);
void take_paths_from(const std::string& folder, std::vector<std::string>& paths);
void take_paths_from(const std::string& folder, std::map<char, std::string>& paths);
void take_paths_from(const std::string& folder, std::optional<std::string>& path);

/// Whether an option of this type may stand on the command line several times.
template <typename Value>
inline constexpr bool is_repeatable = false;
template <>
inline constexpr bool is_repeatable<std::vector<std::string>> = true;
template <>
inline constexpr bool is_repeatable<IgnoreMissing> = true;
template <typename Key, typename Entry>
inline constexpr bool is_repeatable<std::map<Key, Entry>> = true;

/// The parameters of the command that tells the plug-in a value.
std::vector<std::string> command_parameters(int value);
std::vector<std::string> command_parameters(const std::string& value);
std::vector<std::string> command_parameters(const Region& value);
std::vector<std::string> command_parameters(const BlackFrameCheck& value);

/// The kinds that the value names.
std::vector<std::string> missing_kind_names(const IgnoreMissing& value);

/// How job files call the ways to show progress.
std::vector<std::string> progress_names();
std::string progress_name(ViewSettings::Progress value);

/// The command lines that switch on what the value names.
std::vector<std::string> ignore_missing_commands(const IgnoreMissing& value);

}  // namespace corrivane::worker
