// The part of the Win32 API that the product and its tests call, on POSIX. Names, signatures, constants and
// results are Windows' own, so that the product's sources compile unchanged against the real headers. What
// differs is said at each function.
//
// Three things hold everywhere:
//  - A function that fails sets the calling thread's last error to a Win32 number, as Windows does.
//  - Paths are Windows paths; system/drive_map.h says which folder of this machine they mean.
//  - Functions marked "filter-safe" neither allocate nor lock: a structured-exception filter may call them.
#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstdint>

#ifndef TRUE
#define TRUE 1
#endif
#ifndef FALSE
#define FALSE 0
#endif

using BOOL = int;
using BYTE = std::uint8_t;
using WORD = std::uint16_t;
using DWORD = std::uint32_t;
using UINT = unsigned int;
using LONG = std::int32_t;
using INT_PTR = std::intptr_t;
using UINT_PTR = std::uintptr_t;
using LONG_PTR = std::intptr_t;
using ULONG_PTR = std::uintptr_t;
using SIZE_T = std::size_t;
using WPARAM = UINT_PTR;
using LPARAM = LONG_PTR;
using LRESULT = LONG_PTR;
using PVOID = void*;
using LPVOID = void*;
using LPCVOID = const void*;
using LPSTR = char*;
using LPCSTR = const char*;
using LPDWORD = DWORD*;
using HANDLE = void*;
using HLOCAL = HANDLE;
using HMODULE = HANDLE;
using HWND = struct MessageWindow*;
using FARPROC = INT_PTR (*)();

inline constexpr int MAX_PATH = 260;  // characters, terminator included
#define INVALID_HANDLE_VALUE (reinterpret_cast<HANDLE>(static_cast<LONG_PTR>(-1)))

constexpr WORD MAKEWORD(BYTE low, BYTE high) {
    return static_cast<WORD>(low | high << 8);
}

struct RECT {
    LONG left, top, right, bottom;
};

// Error numbers

inline constexpr DWORD ERROR_SUCCESS = 0;
inline constexpr DWORD ERROR_FILE_NOT_FOUND = 2;
inline constexpr DWORD ERROR_PATH_NOT_FOUND = 3;
inline constexpr DWORD ERROR_TOO_MANY_OPEN_FILES = 4;
inline constexpr DWORD ERROR_ACCESS_DENIED = 5;
inline constexpr DWORD ERROR_INVALID_HANDLE = 6;
inline constexpr DWORD ERROR_NOT_ENOUGH_MEMORY = 8;
inline constexpr DWORD ERROR_NO_MORE_FILES = 18;
inline constexpr DWORD ERROR_WRITE_PROTECT = 19;
inline constexpr DWORD ERROR_GEN_FAILURE = 31;
inline constexpr DWORD ERROR_SHARING_VIOLATION = 32;
inline constexpr DWORD ERROR_BAD_NETPATH = 53;
inline constexpr DWORD ERROR_FILE_EXISTS = 80;
inline constexpr DWORD ERROR_INVALID_PARAMETER = 87;
inline constexpr DWORD ERROR_DISK_FULL = 112;
inline constexpr DWORD ERROR_INSUFFICIENT_BUFFER = 122;
inline constexpr DWORD ERROR_INVALID_NAME = 123;
inline constexpr DWORD ERROR_MOD_NOT_FOUND = 126;
inline constexpr DWORD ERROR_DIR_NOT_EMPTY = 145;
inline constexpr DWORD ERROR_ALREADY_EXISTS = 183;
inline constexpr DWORD ERROR_FILENAME_EXCED_RANGE = 206;
inline constexpr DWORD ERROR_FILE_TOO_LARGE = 223;
inline constexpr DWORD ERROR_NO_MORE_ITEMS = 259;
inline constexpr DWORD ERROR_DIRECTORY = 267;
inline constexpr DWORD ERROR_PARTIAL_COPY = 299;
inline constexpr DWORD ERROR_NOACCESS = 998;
inline constexpr DWORD ERROR_IO_DEVICE = 1117;
inline constexpr DWORD ERROR_INVALID_WINDOW_HANDLE = 1400;
inline constexpr DWORD ERROR_CANT_RESOLVE_FILENAME = 1921;

// The calling thread's last error. Filter-safe.
DWORD GetLastError();
void SetLastError(DWORD error);

inline constexpr DWORD FORMAT_MESSAGE_ALLOCATE_BUFFER = 0x100;
inline constexpr DWORD FORMAT_MESSAGE_IGNORE_INSERTS = 0x200;
inline constexpr DWORD FORMAT_MESSAGE_FROM_SYSTEM = 0x1000;

// Puts the address of the system's English text for an error number, ending in "\r\n", where `buffer` points
// (a char** that is passed as LPSTR); LocalFree releases it. The flags are FORMAT_MESSAGE_FROM_SYSTEM and
// FORMAT_MESSAGE_ALLOCATE_BUFFER, or the call fails with ERROR_INVALID_PARAMETER; the language and the inserts
// are not looked at. Returns the text's length; 0, and a null address, for a number that has no text
// (ERROR_MR_MID_NOT_FOUND).
DWORD FormatMessageA(DWORD flags, LPCVOID source, DWORD message, DWORD language, LPSTR buffer, DWORD size,
                     va_list* arguments);
inline constexpr DWORD ERROR_MR_MID_NOT_FOUND = 317;

// Releases what FormatMessageA allocated; null is allowed. Returns null.
HLOCAL LocalFree(HLOCAL memory);

// Time

// Milliseconds on a steady clock; wraps at 32 bits.
DWORD GetTickCount();

// Suspends the calling thread; 0 gives up the rest of its time slice.
void Sleep(DWORD milliseconds);

struct FILETIME {  // 100 ns since 1601-01-01 UTC
    DWORD dwLowDateTime, dwHighDateTime;
};

struct SYSTEMTIME {
    WORD wYear, wMonth, wDayOfWeek, wDay, wHour, wMinute, wSecond, wMilliseconds;
};

// Shifts by the offset from UTC that is in force now, not the one at the given time, as Windows does. Inside
// a filter, "now" is when the thread's outermost guard was entered. Filter-safe.
BOOL FileTimeToLocalFileTime(const FILETIME* utc, FILETIME* local);

// Fails with ERROR_INVALID_PARAMETER for 2^63 steps and more (the year 30828). Filter-safe.
BOOL FileTimeToSystemTime(const FILETIME* time, SYSTEMTIME* parts);

// Threads

// The kernel's identifier of the calling thread. Filter-safe.
DWORD GetCurrentThreadId();

// Thread-local slots: one value a thread for each index, null at first. There are 64 of them, and none is
// ever free again.
inline constexpr DWORD TLS_OUT_OF_INDEXES = 0xFFFFFFFF;

// An index, or TLS_OUT_OF_INDEXES (last error ERROR_NO_MORE_ITEMS).
DWORD TlsAlloc();
// The calling thread's value; sets the last error to ERROR_SUCCESS, since null is a valid value. For an index
// that is not allocated: null and ERROR_INVALID_PARAMETER.
LPVOID TlsGetValue(DWORD index);
BOOL TlsSetValue(DWORD index, LPVOID value);

// Window messages: a queue for each thread. system/message_window.h makes windows.

#define CALLBACK
using WNDPROC = LRESULT (*)(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

inline constexpr UINT WM_USER = 0x0400;
inline constexpr UINT PM_REMOVE = 1;

struct MSG {
    HWND hwnd;
    UINT message;
    WPARAM wParam;
    LPARAM lParam;
};

// Takes the oldest message off the calling thread's queue; FALSE when it is empty. Only the whole queue is
// known (a null window, numbers 0 to 0, PM_REMOVE): all else is FALSE with ERROR_INVALID_PARAMETER.
BOOL PeekMessageA(MSG* message, HWND window, UINT first, UINT last, UINT remove);

// There is no keyboard: always FALSE.
BOOL TranslateMessage(const MSG* message);

// Runs the procedure of the message's window and returns its result; 0 for a message without a living window.
LRESULT DispatchMessageA(const MSG* message);

// Puts a message into the queue of a window of the calling thread; others fail with
// ERROR_INVALID_WINDOW_HANDLE. The product posts none: its tests do, to see its queue being drained.
BOOL PostMessageA(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

// Files

inline constexpr DWORD GENERIC_READ = 0x80000000;
inline constexpr DWORD GENERIC_WRITE = 0x40000000;
inline constexpr DWORD FILE_APPEND_DATA = 0x0004;
inline constexpr DWORD FILE_SHARE_READ = 1;
inline constexpr DWORD FILE_SHARE_WRITE = 2;
inline constexpr DWORD CREATE_ALWAYS = 2;
inline constexpr DWORD OPEN_EXISTING = 3;
inline constexpr DWORD FILE_ATTRIBUTE_DIRECTORY = 0x10;
inline constexpr DWORD FILE_ATTRIBUTE_NORMAL = 0x80;

struct SECURITY_ATTRIBUTES;  // always null here
struct OVERLAPPED;           // always null here

// Opens a file (not a directory: ERROR_ACCESS_DENIED). Sharing modes, attributes and the template are
// not looked at: others may always read, write and delete the file. Returns INVALID_HANDLE_VALUE on
// failure. Filter-safe.
HANDLE CreateFileA(LPCSTR path, DWORD access, DWORD sharing, SECURITY_ATTRIBUTES* security, DWORD disposition,
                   DWORD attributes, HANDLE pattern);

// Writes all bytes or fails; `written` receives how many went out either way. Filter-safe.
BOOL WriteFile(HANDLE file, LPCVOID bytes, DWORD count, LPDWORD written, OVERLAPPED* overlapped);

// The times of an open file; each pointer may be null. The change time stands for the creation
// time. Filter-safe.
BOOL GetFileTime(HANDLE file, FILETIME* creation, FILETIME* access, FILETIME* write);

// Closes what CreateFileA opened, and the walk of CreateToolhelp32Snapshot. Filter-safe.
BOOL CloseHandle(HANDLE handle);

enum GET_FILEEX_INFO_LEVELS { GetFileExInfoStandard };

// Windows' records say more: times and size, and a found entry's name.
struct WIN32_FILE_ATTRIBUTE_DATA {
    DWORD dwFileAttributes;  // FILE_ATTRIBUTE_DIRECTORY or FILE_ATTRIBUTE_NORMAL
};
struct WIN32_FIND_DATAA {
    DWORD dwFileAttributes;
};

// Fills a WIN32_FILE_ATTRIBUTE_DATA. Last error on failure: ERROR_FILE_NOT_FOUND for a missing name in an
// existing folder, ERROR_PATH_NOT_FOUND for a missing folder or drive, ERROR_BAD_NETPATH for a missing server
// or share, ERROR_INVALID_NAME for a name that Windows could not store, ERROR_ACCESS_DENIED.
BOOL GetFileAttributesExA(LPCSTR path, GET_FILEEX_INFO_LEVELS level, LPVOID information);

// Finds one entry by its exact name: wildcards match nothing here. As on Windows, a name that ends in a
// separator, a drive's root and a share itself are not found. Returns INVALID_HANDLE_VALUE on failure, else a
// handle for FindClose.
HANDLE FindFirstFileA(LPCSTR path, WIN32_FIND_DATAA* data);
BOOL FindClose(HANDLE search);

// Creates one directory. ERROR_ALREADY_EXISTS when there is an entry of that name; a drive's root and a share
// are never created.
BOOL CreateDirectoryA(LPCSTR path, SECURITY_ATTRIBUTES* security);

// Copies at most capacity - 1 characters and a terminator. Returns `to`, or null when it is
// null. Filter-safe.
LPSTR lstrcpynA(LPSTR to, LPCSTR from, int capacity);

// Process and memory

// The pseudo handle of this process.
HANDLE GetCurrentProcess();

// Path of the executable, as this machine names it; a module other than null fails with ERROR_MOD_NOT_FOUND.
// Returns its length, or `capacity` with ERROR_INSUFFICIENT_BUFFER when it was cut off; 0 on failure.
// Filter-safe.
DWORD GetModuleFileNameA(HMODULE module, LPSTR path, DWORD capacity);

// TRUE when some of the bytes cannot be read. Never faults. Filter-safe.
BOOL IsBadReadPtr(const void* address, UINT_PTR count);
// TRUE when the first byte at the address cannot be read. Never faults. Filter-safe.
BOOL IsBadCodePtr(FARPROC address);

// Copies memory of this process (the only handle known) that may be unreadable; `done` (may be null) receives
// how many bytes from the front could be copied. FALSE with ERROR_PARTIAL_COPY when not all could. Never
// faults. Filter-safe.
BOOL ReadProcessMemory(HANDLE process, LPCVOID from, LPVOID to, SIZE_T count, SIZE_T* done);

// Structured exceptions. system/guarded_call.h runs calls under a guard.

inline constexpr DWORD EXCEPTION_GUARD_PAGE = 0x80000001;
inline constexpr DWORD EXCEPTION_DATATYPE_MISALIGNMENT = 0x80000002;
inline constexpr DWORD EXCEPTION_BREAKPOINT = 0x80000003;
inline constexpr DWORD EXCEPTION_SINGLE_STEP = 0x80000004;
inline constexpr DWORD EXCEPTION_ACCESS_VIOLATION = 0xC0000005;
inline constexpr DWORD EXCEPTION_IN_PAGE_ERROR = 0xC0000006;
inline constexpr DWORD EXCEPTION_ILLEGAL_INSTRUCTION = 0xC000001D;
inline constexpr DWORD EXCEPTION_ARRAY_BOUNDS_EXCEEDED = 0xC000008C;
inline constexpr DWORD EXCEPTION_FLT_DENORMAL_OPERAND = 0xC000008D;
inline constexpr DWORD EXCEPTION_FLT_DIVIDE_BY_ZERO = 0xC000008E;
inline constexpr DWORD EXCEPTION_FLT_INEXACT_RESULT = 0xC000008F;
inline constexpr DWORD EXCEPTION_FLT_INVALID_OPERATION = 0xC0000090;
inline constexpr DWORD EXCEPTION_FLT_OVERFLOW = 0xC0000091;
inline constexpr DWORD EXCEPTION_FLT_STACK_CHECK = 0xC0000092;
inline constexpr DWORD EXCEPTION_FLT_UNDERFLOW = 0xC0000093;
inline constexpr DWORD EXCEPTION_INT_DIVIDE_BY_ZERO = 0xC0000094;
inline constexpr DWORD EXCEPTION_INT_OVERFLOW = 0xC0000095;
inline constexpr DWORD EXCEPTION_PRIV_INSTRUCTION = 0xC0000096;
inline constexpr DWORD EXCEPTION_STACK_OVERFLOW = 0xC00000FD;

inline constexpr int EXCEPTION_EXECUTE_HANDLER = 1;
inline constexpr int EXCEPTION_CONTINUE_SEARCH = 0;

inline constexpr DWORD EXCEPTION_NONCONTINUABLE = 1;
inline constexpr int EXCEPTION_MAXIMUM_PARAMETERS = 15;

struct EXCEPTION_RECORD {
    DWORD ExceptionCode;
    DWORD ExceptionFlags;
    EXCEPTION_RECORD* ExceptionRecord;
    PVOID ExceptionAddress;
    DWORD NumberParameters;
    // Access violation and in-page error: [0] is 0 for a read, 1 for a write, 8 for an execution; [1]
    // the address.
    ULONG_PTR ExceptionInformation[EXCEPTION_MAXIMUM_PARAMETERS];
};

// The registers that describe where the thread stood; Windows' record has them all.
struct CONTEXT {
    std::uint64_t Rsp, Rbp, Rip;
};

struct EXCEPTION_POINTERS {
    EXCEPTION_RECORD* ExceptionRecord;
    CONTEXT* ContextRecord;
};

// Raises an exception in software: the guards of the calling thread are asked, innermost first. When none
// takes it, the process ends by the signal that stands for the code (SIGABRT for a code of no processor
// fault). Never returns.
void RaiseException(DWORD code, DWORD flags, DWORD count, const ULONG_PTR* parameters);
