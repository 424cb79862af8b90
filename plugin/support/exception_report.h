#pragma once

#include <windows.h>

#include <cstddef>
#include <string_view>

/// What is known about a processor fault, as text: names, the crash report, and which faults a guard takes.
/// Nothing here allocates, locks or faults, so that all of it may run on top of the faulting frames, whatever
/// state they left the process in.

/// The English name of a structured exception's code; "Unknown SEH Exception Code" for codes that guards
/// don't take.
const char* seh_exception_name(DWORD code);

/// Whether guards take exceptions with that code: exactly those that have a name.
bool is_handled_seh_exception(DWORD code);

/// Text in a fixed buffer; what does not fit is cut off.
class report_text {
public:
    static constexpr std::size_t capacity = 8000;

    /// Appends as printf does and returns how many characters found room.
    int append(const char* format, ...);
    /// Takes a line feed off the end, which stands there when the text was cut off right behind it.
    void remove_trailing_line_feed();
    void clear() { m_size = 0; }
    std::string_view view() const { return {m_text, m_size}; }

private:
    char m_text[capacity];
    std::size_t m_size = 0;
};

/// The full path (260 characters with its terminator) and the load address of the module whose memory holds
/// the address. False, and an empty path, when there is none.
bool find_module_for_address(const void* address, char* path, BYTE** base);

/// Appends one entry for each frame of the faulting call stack, 20 at most, and returns the number of
/// characters. The walk ends where the stack cannot be read or leads out of code.
int format_call_stack(const EXCEPTION_POINTERS& information, report_text& output);

/// The whole crash report: process, module and its date, code, the address that could not be accessed, the
/// bytes of the instruction ("??" for a byte that cannot be read) and the call stack. Lines are separated by a
/// line feed; none stands in front or at the end. The text stays valid until the next report: it lies in static
/// memory, since the stack may be what ran out.
std::string_view build_exception_report(const EXCEPTION_POINTERS& information);
