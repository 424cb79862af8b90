#pragma once

#include "maxscript/machine/properties.h"
#include "maxscript/machine/thread_state.h"

#include <string>

namespace corrivane::host {

/// A row that always reads the same, since this host can do no other: what else is assigned is an error, "this host has
/// no <what>".
template <typename Object, typename T>
Property<Object> fixed(const char* name, T always, const std::string& what) {
    return {name, [always](Object&) { return to_script(always); },
            [always, what](Object&, Value* content) {
                if (!(FromScript<T>::from(content) == always)) raise_absent(what);
            }};
}

/// For properties that glTF cannot animate.
inline void forbid_key(const std::string& what) {
    if (thread_state().context.animate) raise_absent("animation of " + what);
}

}  // namespace corrivane::host
