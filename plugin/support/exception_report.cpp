#include "support/exception_report.h"

#include <system/stack_walk.h>
#include <windows.h>

#include <algorithm>
#include <cinttypes>
#include <cstdarg>
#include <cstdint>
#include <cstdio>

namespace {

constexpr int instruction_bytes = 16;
constexpr int max_frames = 20;
constexpr int shown_arguments = 5;

struct exception_name {
    DWORD code;
    const char* name;
};

constexpr exception_name handled_exceptions[] = {
    {EXCEPTION_DATATYPE_MISALIGNMENT, "Datatype Misalignment"},
    {EXCEPTION_ACCESS_VIOLATION, "Access Violation"},
    {EXCEPTION_IN_PAGE_ERROR, "In Page Error"},
    {EXCEPTION_ILLEGAL_INSTRUCTION, "Illegal Instruction"},
    {EXCEPTION_ARRAY_BOUNDS_EXCEEDED, "Array Bounds Exceeded"},
    {EXCEPTION_FLT_DENORMAL_OPERAND, "Float Denormal Operand"},
    {EXCEPTION_FLT_DIVIDE_BY_ZERO, "Float Divide By Zero"},
    {EXCEPTION_FLT_INEXACT_RESULT, "Float Inexact Result"},
    {EXCEPTION_FLT_INVALID_OPERATION, "Float Invalid Operation"},
    {EXCEPTION_FLT_OVERFLOW, "Float Overflow"},
    {EXCEPTION_FLT_STACK_CHECK, "Float Stack Check"},
    {EXCEPTION_INT_DIVIDE_BY_ZERO, "Integer Divide By Zero"},
    {EXCEPTION_INT_OVERFLOW, "Integer Overflow"},
    {EXCEPTION_PRIV_INSTRUCTION, "Privileged Instruction"},
    {EXCEPTION_STACK_OVERFLOW, "Stack Overflow"},
};

const exception_name* find_handled(DWORD code) {
    const auto* found = std::find_if(std::begin(handled_exceptions), std::end(handled_exceptions),
                                     [code](const exception_name& entry) { return entry.code == code; });
    return found == std::end(handled_exceptions) ? nullptr : found;
}

/// What the frame-pointer register of a function points at, on the stack.
struct frame_record {
    const frame_record* caller;
    ULONG_PTR return_address;
    ULONG_PTR arguments[shown_arguments];
};

constexpr std::size_t linkage_size = offsetof(frame_record, arguments);

bool last_write_time(const char* path, SYSTEMTIME& local) {
    const HANDLE file = CreateFileA(path, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) return false;
    FILETIME written;
    FILETIME written_local;
    const bool read = GetFileTime(file, nullptr, nullptr, &written) != 0 &&
                      FileTimeToLocalFileTime(&written, &written_local) != 0 &&
                      FileTimeToSystemTime(&written_local, &local) != 0;
    CloseHandle(file);
    return read;
}

void append_module(const void* address, report_text& report) {
    char path[MAX_PATH];
    BYTE* base = nullptr;
    if (!find_module_for_address(address, path, &base)) {
        report.append("\nException Addr:  %08" PRIXPTR, reinterpret_cast<ULONG_PTR>(address));
        return;
    }
    report.append("\nModule:  %s", path);
    SYSTEMTIME written;
    if (last_write_time(path, written))
        report.append("\nDate Modified:  %02d/%02d/%d", written.wMonth, written.wDay, written.wYear);
}

void append_instruction(const void* address, report_text& report) {
    BYTE bytes[instruction_bytes];
    SIZE_T readable = 0;
    ReadProcessMemory(GetCurrentProcess(), address, bytes, sizeof bytes, &readable);
    report.append("\nInstruction: ");
    for (SIZE_T i = 0; i < sizeof bytes; ++i) {
        if (i < readable)
            report.append(" %02X", static_cast<unsigned>(bytes[i]));
        else
            report.append(" ??");
    }
}

/// Reads the record that a frame pointer points at; how much of it is readable comes back.
SIZE_T read_frame(const frame_record* frame, frame_record& copy) {
    SIZE_T readable = 0;
    ReadProcessMemory(GetCurrentProcess(), frame, &copy, sizeof copy, &readable);
    return readable;
}

int append_arguments(const ULONG_PTR (&words)[shown_arguments], report_text& output) {
    return output.append("  (%" PRIXPTR ", %" PRIXPTR ", %" PRIXPTR ", %" PRIXPTR ", %" PRIXPTR ")", words[0],
                         words[1], words[2], words[3], words[4]);
}

int append_frame(const frame_record& frame, bool first, bool has_arguments, report_text& output) {
    char path[MAX_PATH];
    BYTE* base = nullptr;
    if (!find_module_for_address(reinterpret_cast<const void*>(frame.return_address), path, &base))
        return output.append("\n%08" PRIXPTR, frame.return_address);

    const auto start = reinterpret_cast<ULONG_PTR>(base);
    int written =
        output.append("\n%08" PRIXPTR "  %s\n  +%08" PRIXPTR, start, path, frame.return_address - start);
    if (first)
        written += output.append("  Exception Offset");
    else if (has_arguments)
        written += append_arguments(frame.arguments, output);
    return written;
}

}  // namespace

const char* seh_exception_name(DWORD code) {
    const exception_name* handled = find_handled(code);
    return handled == nullptr ? "Unknown SEH Exception Code" : handled->name;
}

bool is_handled_seh_exception(DWORD code) {
    return find_handled(code) != nullptr;
}

int report_text::append(const char* format, ...) {
    const std::size_t room = capacity - m_size;
    va_list values;
    va_start(values, format);
    const int wanted = std::vsnprintf(m_text + m_size, room, format, values);
    va_end(values);
    if (wanted <= 0) return 0;
    const std::size_t written = std::min(static_cast<std::size_t>(wanted), room - 1);
    m_size += written;
    return static_cast<int>(written);
}

void report_text::remove_trailing_line_feed() {
    if (m_size > 0 && m_text[m_size - 1] == '\n') --m_size;
}

bool find_module_for_address(const void* address, char* path, BYTE** base) {
    path[0] = '\0';
    MODULEENTRY32 module;
    if (!find_loaded_module(address, &module)) return false;
    lstrcpynA(path, module.szExePath, MAX_PATH);
    *base = module.modBaseAddr;
    return path[0] != '\0';
}

int format_call_stack(const EXCEPTION_POINTERS& information, report_text& output) {
    frame_record frame{reinterpret_cast<const frame_record*>(frame_pointer(*information.ContextRecord)),
                       reinterpret_cast<ULONG_PTR>(information.ExceptionRecord->ExceptionAddress),
                       {}};
    SIZE_T readable = linkage_size;
    int written = 0;
    for (int index = 0; index < max_frames; ++index) {
        if (readable < linkage_size || IsBadCodePtr(reinterpret_cast<FARPROC>(frame.return_address))) break;
        written += append_frame(frame, index == 0, readable == sizeof frame, output);
        readable = read_frame(frame.caller, frame);
    }
    return written;
}

std::string_view build_exception_report(const EXCEPTION_POINTERS& information) {
    static report_text report;
    report.clear();
    const EXCEPTION_RECORD& record = *information.ExceptionRecord;
    char executable[MAX_PATH] = "";
    GetModuleFileNameA(nullptr, executable, MAX_PATH);
    executable[MAX_PATH - 1] = '\0';

    report.append("Process:  %s", executable);
    append_module(record.ExceptionAddress, report);
    report.append("\nException Code:  %08X", record.ExceptionCode);
    if (record.ExceptionCode == EXCEPTION_ACCESS_VIOLATION)
        report.append("\n%s Address:  %08" PRIXPTR, record.ExceptionInformation[0] != 0 ? "Write" : "Read",
                      record.ExceptionInformation[1]);
    append_instruction(record.ExceptionAddress, report);
    report.append("\nCall Stack:");
    format_call_stack(information, report);
    report.remove_trailing_line_feed();
    return report.view();
}
