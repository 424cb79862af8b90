#include <system/plain_files.h>
#include <windows.h>

#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

int open_plain_file(const char* path, int flags) {
    const DWORD attributes = GetFileAttributesA(path);
    if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
        errno = EISDIR;
        return -1;
    }
    const int file = _open(path, flags | _O_NOINHERIT | _O_BINARY, _S_IREAD | _S_IWRITE);
    if (file < 0) return -1;
    // NUL, CON and their like are names everywhere.
    if (GetFileType(reinterpret_cast<HANDLE>(_get_osfhandle(file))) == FILE_TYPE_DISK) return file;
    _close(file);
    errno = ENXIO;
    return -1;
}

std::string plain_file_error(int error_number) {
    return error_number == EISDIR || error_number == ENXIO ? "it is not a file" : std::strerror(error_number);
}

void fill_standard_descriptors() {
    constexpr int last_standard = 2;
    int file;
    do {
        file = _open("NUL", _O_RDWR);  // takes the lowest number that is free
    } while (file >= 0 && file <= last_standard);
    if (file >= 0) _close(file);
}
