#include "maxscript/library_entry.h"

#include <max/version.h>

const char* LibDescription() {
    return "Corrivane, Cloud interface";
}

unsigned int LibVersion() {
    return VERSION_3DSMAX;
}

void LibInit() {}
