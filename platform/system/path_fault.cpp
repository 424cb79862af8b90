#include <system/drive_map.h>

std::string_view path_fault(std::string_view windows_path, DWORD error) {
    if (windows_path.empty()) return "the name is empty";
    switch (error) {
        case ERROR_PATH_NOT_FOUND:
            return drives_are_mapped() ? "no folder of this machine stands for that drive"
                                       : "there is no such drive";
        case ERROR_BAD_NETPATH:
            return drives_are_mapped() ? "no folder of this machine stands for that share"
                                       : "there is no such share";
        case ERROR_FILENAME_EXCED_RANGE:
            return "the name is too long";
        default:
            return "Windows could not store a file of that name";
    }
}
