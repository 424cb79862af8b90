// A plug-in that writes down what happens to it, in a file on drive C.
#include <max/core_interface.h>
#include <windows.h>

#include <string>

namespace {

/// Writes all events so far, in the order in which they happened.
void note(const std::string& event) {
    static std::string events;
    events += event + "\n";
    const HANDLE file = CreateFileA("C:\\events.txt", GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        return;
    }
    DWORD written = 0;
    WriteFile(file, events.data(), static_cast<DWORD>(events.size()), &written, nullptr);
    CloseHandle(file);
}

struct Lifetime {
    Lifetime() { note("loaded"); }
    ~Lifetime() {
        note("unloaded at frame " + std::to_string(GetCOREInterface()->GetTime() / GetTicksPerFrame()));
    }
} lifetime;

}  // namespace

extern "C" const char* LibDescription() {
    note("described");
    return "Test plug-in";
}

extern "C" void LibInit() {
    note("initialised");
}

#ifdef PLUGIN_VERSION
extern "C" DWORD LibVersion() {
    return PLUGIN_VERSION;
}
#endif
