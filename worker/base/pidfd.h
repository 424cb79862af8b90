#pragma once

// Some releases of this header declare C functions without saying so.
extern "C" {
#include <sys/pidfd.h>
}
