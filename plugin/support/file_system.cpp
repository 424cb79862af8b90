#include "support/file_system.h"

#include "support/filename_utilities.h"

#include <algorithm>
#include <stdexcept>
#include <utility>
#include <vector>

std::string get_system_error_message(DWORD code) {
    constexpr DWORD neutral_language = 0x400;
    char* text = nullptr;
    FormatMessageA(
        FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_ALLOCATE_BUFFER, nullptr,
        code, neutral_language, reinterpret_cast<char*>(&text), 0, nullptr);
    if (text == nullptr) return "";
    std::string message = text;
    LocalFree(text);
    message.erase(message.find_last_not_of("\r\n") + 1);
    return message;
}

std::string get_last_error_message() {
    return get_system_error_message(GetLastError());
}

bool file_exists(const std::string& path) {
    WIN32_FILE_ATTRIBUTE_DATA attributes;
    if (GetFileAttributesExA(path.c_str(), GetFileExInfoStandard, &attributes))
        return (attributes.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0;

    const DWORD code = GetLastError();
    if (code == ERROR_FILE_NOT_FOUND || code == ERROR_PATH_NOT_FOUND || code == ERROR_BAD_NETPATH)
        return false;
    throw std::runtime_error("file_exists: Could not get the file attributes of \"" + path +
                             "\": " + get_system_error_message(code));
}

bool directory_exists(const std::string& path) {
    WIN32_FIND_DATAA found;
    const HANDLE search = FindFirstFileA(path.c_str(), &found);
    if (search == INVALID_HANDLE_VALUE) return false;
    FindClose(search);
    return (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

void create_directory_tree(std::string path) {
    std::vector<std::string> missing;  // innermost first
    while (!path.empty()) {
        if (path.back() == '\\' || path.back() == '/') path.pop_back();
        std::string parent = get_directory_from_path(path);
        if (parent.size() >= path.size()) break;
        missing.push_back(std::move(path));
        // The system makes no folder of a longer name: on to the ancestors that it may make.
        if (parent.size() > MAX_PATH) parent.resize(std::min(parent.size(), parent.rfind('\\', MAX_PATH)));
        path = std::move(parent);
    }
    for (auto directory = missing.rbegin(); directory != missing.rend(); ++directory)
        CreateDirectoryA(directory->c_str(), nullptr);
}
