#include "maxscript/library/library.h"
#include "maxscript/library/paths.h"
#include "maxscript/machine/signature.h"
#include "maxscript/machine/thread_state.h"
#include "os/local_time.h"

#include <chrono>
#include <cstdlib>
#include <ctime>
#include <map>
#include <thread>

namespace corrivane::host {

namespace {

/// Year, month, day of the week from 0 for Sunday, day, hour, minute, second, millisecond.
Value* time_array(bool local) {
    const auto now = std::chrono::system_clock::now();
    const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
    const std::tm parts = local ? local_time(seconds) : *std::gmtime(&seconds);
    const auto milliseconds =
        std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count() % 1000;
    const Rooted array(make_array());
    for (const int number : {parts.tm_year + 1900, parts.tm_mon + 1, parts.tm_wday, parts.tm_mday,
                             parts.tm_hour, parts.tm_min, parts.tm_sec, static_cast<int>(milliseconds)})
        append_to_array(array.get(), make_integer(number));
    return array.get();
}

std::optional<std::string> environment(const std::string& name) {
    const char* value = std::getenv(name.c_str());
    if (value == nullptr) return std::nullopt;
    return value;
}

/// The folders that 3ds Max knows by name, as scripts may assign them with setDir.
struct Folder {
    const char* name;
    std::string path;
};
std::vector<Folder>& folders() {
    static const std::string root = R"(C:\3dsMax)";
    static const std::string project = R"(C:\3dsMaxProject)";
    static std::vector<Folder> known{{"maxroot", root},
                                     {"ui", root + R"(\ui)"},
                                     {"scripts", root + R"(\scripts)"},
                                     {"startupscripts", root + R"(\scripts\startup)"},
                                     {"stdplugs", root + R"(\stdplugs)"},
                                     {"plugins", root + R"(\plugins)"},
                                     {"plugcfg", root + R"(\plugcfg)"},
                                     {"maxdata", project},
                                     {"project", project},
                                     {"userscripts", project + R"(\scripts)"},
                                     {"usermacros", project + R"(\usermacros)"},
                                     {"usericons", project + R"(\usericons)"},
                                     {"userstartupscripts", project + R"(\scripts\startup)"},
                                     {"scene", project + R"(\scenes)"},
                                     {"import", project + R"(\import)"},
                                     {"export", project + R"(\export)"},
                                     {"image", project + R"(\sceneassets\images)"},
                                     {"map", project + R"(\sceneassets\images)"},
                                     {"matlib", project + R"(\materiallibraries)"},
                                     {"preview", project + R"(\previews)"},
                                     {"renderoutput", project + R"(\renderoutput)"},
                                     {"renderassets", project + R"(\sceneassets\renderassets)"},
                                     {"renderpresets", project + R"(\renderpresets)"},
                                     {"autoback", project + R"(\autoback)"},
                                     {"archives", project + R"(\archives)"},
                                     {"expression", project + R"(\express)"},
                                     {"sound", project + R"(\sceneassets\sounds)"},
                                     {"temp", R"(C:\temp)"}};
    return known;
}

std::string& folder_named(const std::string& name) {
    for (Folder& folder : folders())
        if (folder.name == lower_case(name)) return folder.path;
    raise_absent("folder #" + name);
}

bool set_folder(const NameValue& name, const std::string& path) {
    folder_named(name.text()) = path;
    return true;
}

std::string& project_folder() {
    return folder_named("project");
}

/// Names for folders in paths, with the `$` in front, in lower case.
std::map<std::string, std::string>& user_paths() {
    static std::map<std::string, std::string> paths;
    return paths;
}

std::string with_sign(const std::string& name) {
    return (name.starts_with('$') ? "" : "$") + lower_case(name);
}

std::string path_value(const std::string& name) {
    const auto found = user_paths().find(with_sign(name));
    if (found != user_paths().end()) return found->second;
    const std::string key = with_sign(name).substr(1);
    if (key == "max") return folder_named("maxroot");
    return folder_named(key == "scenes" ? "scene" : key == "images" ? "image" : key);
}

/// A path that begins with `$name\` as a path.
std::string expanded(const std::string& path) {
    if (!path.starts_with('$')) return path;
    const std::size_t end = std::min(path.find_first_of("\\/"), path.size());
    return end == path.size() ? path_value(path)
                              : joined_path(path_value(path.substr(0, end)), path.substr(end));
}

Value* script_file() {
    const std::string* file = thread_state().place.file;
    return file == nullptr || file->empty() ? &undefined : make_string(*file);
}

}  // namespace

std::string date_text(std::time_t seconds) {
    const std::tm parts = local_time(seconds);
    const int hour = parts.tm_hour % 12 == 0 ? 12 : parts.tm_hour % 12;
    char text[64];
    std::snprintf(text, sizeof text, "%d/%d/%d %d:%02d:%02d %s", parts.tm_mon + 1, parts.tm_mday,
                  parts.tm_year + 1900, hour, parts.tm_min, parts.tm_sec, parts.tm_hour < 12 ? "AM" : "PM");
    return text;
}

void define_system_functions() {
    define_functions({
        {"getLocalTime", [] { return time_array(true); }},
        {"getUniversalTime", [] { return time_array(false); }},
        {"systemTools.getEnvVariable", environment},
        {"getDir", [](const NameValue& name) { return folder_named(name.text()); }},
        {"setDir", set_folder},
        {"pathConfig.getDir", [](const NameValue& name) { return folder_named(name.text()); }},
        {"pathConfig.setDir", set_folder},
        {"pathConfig.getCurrentProjectFolder", [] { return project_folder(); }},
        {"pathConfig.setCurrentProjectFolder", [](const std::string& path) { project_folder() = path; }},
        {"pathConfig.resolvePathSymbols", expanded},
        {"symbolicPaths.expandFileName", expanded},
        {"symbolicPaths.getPathValue", path_value},
        {"symbolicPaths.isPathName",
         [](const std::string& name) { return user_paths().contains(with_sign(name)); }},
        {"symbolicPaths.addUserPath",
         [](const std::string& name, const std::string& path) { user_paths()[with_sign(name)] = path; }},
        {"symbolicPaths.setUserPathValue",
         [](const std::string& name, const std::string& path) { user_paths()[with_sign(name)] = path; }},
        {"symbolicPaths.removeUserPath",
         [](const std::string& name) { return user_paths().erase(with_sign(name)) > 0; }},
        {"symbolicPaths.numUserPaths", [] { return static_cast<int>(user_paths().size()); }},
        {"getThisScriptFilename", script_file},
        {"getSourceFileName", script_file},
        {"getSourceFileLine", [] { return thread_state().place.line; }},
        {"is64bitApplication", [] { return sizeof(void*) == 8; }},
    });
    define_variable("localTime", [] { return make_string(date_text(std::time(nullptr))); });
    define_variable("sysInfo.computername", [] {
        return make_string(
            environment("COMPUTERNAME").value_or(environment("HOSTNAME").value_or("computer")));
    });
    define_variable("sysInfo.username", [] {
        return make_string(environment("USER").value_or(environment("USERNAME").value_or("user")));
    });
    define_variable("sysInfo.cpucount",
                    [] { return make_integer(static_cast<int>(std::thread::hardware_concurrency())); });
    define_variable("sysInfo.tempdir", [] { return make_string(folder_named("temp") + "\\"); });
    define_variable("sysInfo.windowsdir", [] { return make_string(R"(C:\Windows\)"); });
    define_variable("sysInfo.systemdir", [] { return make_string(R"(C:\Windows\system32\)"); });
    define_variable(
        "sysInfo.currentdir", [] { return make_string(project_folder()); },
        [](Value* path) { project_folder() = to_text(path); });
    define_variable("scriptsPath", [] { return make_string(folder_named("scripts") + "\\"); });
}

}  // namespace corrivane::host
