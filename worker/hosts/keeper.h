#pragma once

#include "worker/base/file_descriptor.h"

#include <sys/types.h>

namespace corrivane::worker {

/// What a program is to be started with.
struct KeptProgram {
    char* const* arguments = nullptr;  // the program's path first, a null pointer last
    int input = -1;
    int output = -1;  // and its errors
    int nice = 0;     // added to the worker's priority
};

/// A process between the worker and a program that it started, to which every descendant of the program falls that
/// loses its parent, also one with a session of its own. When the program ends, when the worker lets go of the leash,
/// and when the worker ends in whatever way, the keeper kills all of them and ends.
struct Keeper {
    pid_t pid = -1;
    pid_t program = -1;
    FileDescriptor leash;  // closed: the keeper kills what there is
    FileDescriptor
        report;  // readable once the program has ended: its ProgramEnd, or nothing where the keeper was killed
};

/// As siginfo_t has it.
struct ProgramEnd {
    int code = 0;
    int status = 0;
};

/// Throws std::system_error where the program can't be started; nothing is left then.
Keeper start_kept(const KeptProgram& program);

}  // namespace corrivane::worker
