#include "maxscript/builtins.h"
#include "maxscript/errors.h"
#include "maxscript/parser.h"
#include "maxscript/runtime.h"
#include "maxscript/values.h"

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

std::string kind_argument(const Arguments& arguments) {
    static constexpr auto kinds = std::to_array<std::string_view>({"prerenderframe", "postrenderframe"});
    auto* name = value_as<NameValue>(arguments[0]);
    if (name == nullptr) raise_conversion_error(arguments[0], Name_class.name);
    if (std::find(kinds.begin(), kinds.end(), name->key()) == kinds.end())
        raise_runtime_error(arguments.function() + ": this host has no callback " + excerpt(name));
    return name->key();
}

std::optional<std::string> id_argument(const Arguments& arguments) {
    Value* id = arguments.keyword("id");
    if (id == nullptr) return std::nullopt;
    auto* name = value_as<NameValue>(id);
    if (name == nullptr) raise_conversion_error(id, Name_class.name);
    return name->key();
}

/// `callbacks.addScript #preRenderFrame "script" id:#mine`.
Value* add_script(Arguments& arguments) {
    arguments.require(2);
    callbacks().push_back({kind_argument(arguments), id_argument(arguments).value_or(""), arguments.text(1)});
    return make_boolean(true);
}

/// `callbacks.removeScripts #preRenderFrame id:#mine`, with one of the two or both.
Value* remove_scripts(Arguments& arguments) {
    arguments.require(0, 1);
    const std::optional<std::string> kind =
        arguments.count() == 1 ? std::optional(kind_argument(arguments)) : std::nullopt;
    const std::optional<std::string> id = id_argument(arguments);
    if (!kind && !id) raise_runtime_error("callbacks.removeScripts requires a callback's name or id:");
    std::erase_if(callbacks(), [&](const Callback& callback) {
        return (!kind || callback.kind == *kind) && (!id || callback.id == *id);
    });
    return &ok;
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
    define_function("callbacks.addScript", add_script);
    define_function("callbacks.removeScripts", remove_scripts);
}

}  // namespace corrivane::host
