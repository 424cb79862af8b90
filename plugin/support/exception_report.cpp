#include "support/exception_report.h"

#include <system/stack_walk.h>
#include <tlhelp32.h>
#include <windows.h>

#include <algorithm>
#include <cinttypes>
#include <cstdarg>
#include <cstdint>
#include <cstdio>

namespace {

constexpr int instruction_bytes = 16;
constexpr int max_frames = 20;

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

/// Copies from the front for as far as the memory can be read, and returns how many bytes. Not every system says how
/// far it came when it could not copy all.
SIZE_T copy_readable(const BYTE* from, BYTE* to, SIZE_T count) {
    SIZE_T done = 0;
    if (ReadProcessMemory(GetCurrentProcess(), from, to, count, &done)) return count;
    SIZE_T one = 0;
    while (done < count && ReadProcessMemory(GetCurrentProcess(), from + done, to + done, 1, &one))
        ++done;
    return done;
}

void append_instruction(const void* address, report_text& report) {
    BYTE bytes[instruction_bytes];
    const SIZE_T readable = copy_readable(static_cast<const BYTE*>(address), bytes, sizeof bytes);
    report.append("\nInstruction: ");
    for (SIZE_T i = 0; i < sizeof bytes; ++i) {
        if (i < readable)
            report.append(" %02X", static_cast<unsigned>(bytes[i]));
        else
            report.append(" ??");
    }
}

int append_arguments(const ULONG_PTR (&words)[5], report_text& output) {
    return output.append("  (%" PRIXPTR ", %" PRIXPTR ", %" PRIXPTR ", %" PRIXPTR ", %" PRIXPTR ")", words[0],
                         words[1], words[2], words[3], words[4]);
}

int append_frame(const StackFrame& frame, bool first, report_text& output) {
    const auto address = reinterpret_cast<ULONG_PTR>(frame.address);
    char path[MAX_PATH];
    BYTE* base = nullptr;
    if (!find_module_for_address(frame.address, path, &base)) return output.append("\n%08" PRIXPTR, address);

    const auto start = reinterpret_cast<ULONG_PTR>(base);
    int written = output.append("\n%08" PRIXPTR "  %s\n  +%08" PRIXPTR, start, path, address - start);
    if (first)
        written += output.append("  Exception Offset");
    else if (frame.has_arguments)
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
    const HANDLE modules = CreateToolhelp32Snapshot(TH32CS_SNAPMODULE, 0);
    if (modules == INVALID_HANDLE_VALUE) return false;
    MODULEENTRY32 module{};
    module.dwSize = sizeof module;
    for (BOOL more = Module32First(modules, &module); more; more = Module32Next(modules, &module)) {
        const ULONG_PTR offset =
            reinterpret_cast<ULONG_PTR>(address) - reinterpret_cast<ULONG_PTR>(module.modBaseAddr);
        if (offset >= module.modBaseSize) continue;
        lstrcpynA(path, module.szExePath, MAX_PATH);
        *base = module.modBaseAddr;
        break;
    }
    CloseHandle(modules);
    return path[0] != '\0';
}

int format_call_stack(const EXCEPTION_POINTERS& information, report_text& output) {
    StackWalk walk(information);
    StackFrame frame;
    int written = 0;
    for (int index = 0; index < max_frames && walk.next(frame); ++index) {
        if (IsBadCodePtr(reinterpret_cast<FARPROC>(reinterpret_cast<ULONG_PTR>(frame.address)))) break;
        written += append_frame(frame, index == 0, output);
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
    report.append("\nException Code:  %08X", static_cast<unsigned>(record.ExceptionCode));
    if (record.ExceptionCode == EXCEPTION_ACCESS_VIOLATION)
        report.append("\n%s Address:  %08" PRIXPTR, record.ExceptionInformation[0] != 0 ? "Write" : "Read",
                      record.ExceptionInformation[1]);
    append_instruction(record.ExceptionAddress, report);
    report.append("\nCall Stack:");
    format_call_stack(information, report);
    report.remove_trailing_line_feed();
    return report.view();
}
