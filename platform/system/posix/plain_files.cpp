#include <system/plain_files.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

int open_plain_file(const char* path, int flags) {
    // Not waiting stays on: it changes nothing for plain files, but some of /proc that pass for such would wait
    // when they are read.
    const int file = open(path, flags | O_NONBLOCK | O_CLOEXEC | O_NOCTTY, 0666);
    if (file < 0) return -1;
    struct stat status;
    int error = 0;
    if (fstat(file, &status) != 0) {
        error = errno;
    } else if (!S_ISREG(status.st_mode)) {
        error = S_ISDIR(status.st_mode) ? EISDIR : ENXIO;  // ENXIO is what opening a socket gives
    }
    if (error == 0) return file;
    close(file);
    errno = error;
    return -1;
}

std::string plain_file_error(int error_number) {
    return error_number == EISDIR || error_number == ENXIO ? "it is not a file" : std::strerror(error_number);
}

void fill_standard_descriptors() {
    int file;
    do {
        file = open("/dev/null", O_RDWR);  // takes the lowest number that is free
    } while (file >= STDIN_FILENO && file <= STDERR_FILENO);
    if (file >= 0) close(file);
}
