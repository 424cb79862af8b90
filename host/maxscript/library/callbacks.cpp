#include "maxscript/library/callbacks.h"

#include "maxscript/language/parser.h"
#include "maxscript/library/library.h"
#include "maxscript/machine/conversions.h"
#include "maxscript/machine/define.h"
#include "maxscript/machine/rooted.h"
#include "maxscript/machine/signature.h"

#include <algorithm>
#include <array>
#include <optional>

namespace corrivane::host {

namespace {

/// A script that waits for something to happen. Kind and identifier are in lower case.
struct Callback {
    std::string kind;
    std::string id;
    std::string script;
};

std::vector<Callback>& callbacks() {
    static auto* const registered = new std::vector<Callback>;
    return *registered;
}

const std::string& kind_of(const NameValue& name) {
    static constexpr auto kinds = std::to_array<std::string_view>({"prerenderframe", "postrenderframe"});
    if (std::find(kinds.begin(), kinds.end(), name.key()) == kinds.end())
        raise_runtime_error("this host has no callback #" + name.text());
    return name.key();
}

using Id = Keyword<"id", NameValue*>;

/// `callbacks.addScript #preRenderFrame "script" id:#mine`.
bool add_script(Value* kind, const std::string& script, const Id& id) {
    const NameValue& name = FromScript<NameValue&>::from(kind);
    callbacks().push_back({kind_of(name), id ? (*id)->key() : "", script});
    return true;
}

/// `callbacks.removeScripts #preRenderFrame id:#mine`, with one of the two or both.
void remove_scripts(const NameValue* kind, const Id& id) {
    if (kind == nullptr && !id)
        raise_runtime_error("callbacks.removeScripts requires a callback's name or id:");
    if (kind != nullptr) kind_of(*kind);
    std::erase_if(callbacks(), [&](const Callback& callback) {
        return (kind == nullptr || callback.kind == kind->key()) && (!id || callback.id == (*id)->key());
    });
}

}  // namespace

void run_callbacks(std::string_view kind) {
    const std::string wanted = lower_case(kind);
    // A copy: a script may add and remove callbacks, which counts from the next time on.
    const std::vector<Callback> registered = callbacks();
    for (const Callback& callback : registered) {
        if (callback.kind != wanted) continue;
        auto* stream = new StringStream;
        const Rooted root(stream);
        stream->write(callback.script.data(), callback.script.size());
        run_stream(*stream);
    }
}

void forget_callbacks() {
    callbacks().clear();
}

void define_callback_functions() {
    define_functions({
        {"callbacks.addScript", add_script},
        {"callbacks.removeScripts", remove_scripts},
    });
}

}  // namespace corrivane::host
