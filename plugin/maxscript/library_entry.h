#pragma once

// The entry points by which 3ds Max identifies a MAXScript extension library.
extern "C" {

/// What the library is, in words.
const char* LibDescription();
/// The release that it is built for: release number, API number, SDK revision in 16, 8 and 8 bits.
unsigned int LibVersion();
/// Nothing is left to do: loading the library has published its interface.
void LibInit();
}
