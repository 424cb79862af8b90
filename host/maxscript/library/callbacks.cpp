#include "maxscript/library/callbacks.h"

#include "maxscript/language/parser.h"
#include "maxscript/library/library.h"
#include "maxscript/machine/functions.h"
#include "maxscript/machine/globals.h"
#include "maxscript/machine/signature.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace corrivane::host {

namespace {

/// Kinds whose time comes in this host.
constexpr std::string_view raised_kinds =
    " prerender postrender prerenderframe postrenderframe filepreopen filepostopen filepremerge filepostmerge"
    " systemprereset systempostreset systemprenew systempostnew selectionsetchanged nodecreated nodepredelete"
    " nodepostdelete ";
/// Kinds that 3ds Max has and whose time never comes here, as it never does in a 3ds Max without a user interface, or
/// that saves nothing.
constexpr std::string_view quiet_kinds =
    " filepresave filepostsave filepresaveold filepostsaveold prerendereval preimport postimport "
    "importfailed preexport"
    " postexport exportfailed viewportchange postsystemstartup presystemshutdown postsystemshutdown heartbeat"
    " unitschange timeunitschange modpanelobjpostchange spacemodechange colorchange animationrangechange"
    " sceneundo sceneredo manipulatemodeon manipulatemodeoff filelinkprebind filelinkpostbind"
    " nodelinked nodeunlinked nodehide nodeunhide nodefreeze nodeunfreeze nodenameset nodecloned "
    "postnodescloned"
    " layercreated layerdeleted postmirrornodes namedselsetcreated namedselsetdeleted namedselsetrenamed"
    " bitmapchanged radiosityprocessdone radiosityprocessstarted radiosityprocessstopped "
    "radiosityprocessreset"
    " filesavefailed fileopenfailed prefileopenpro modifypanelchange beforemodpanelchange"
    " renderparamspossiblychanged mtlrefadded mtlrefdeleted ";

/// Something that waits for something to happen. Kind and identifier are in lower case.
struct Callback {
    std::string kind;
    std::string id;
    /// Text to run; empty for a file or a function.
    std::string script;
    std::string file;
    /// A global that holds the function, which keeps it alive.
    std::string variable;
    bool persistent = false;
};

std::vector<Callback>& callbacks() {
    static auto* const registered = new std::vector<Callback>;
    return *registered;
}

/// What is being told of; a root while it is.
Value*& notification() {
    static Value* parameter = nullptr;
    return parameter;
}

/// Puts the outer notification back at the end of the scope.
class NotificationScope {
public:
    explicit NotificationScope(Value* parameter) : m_outer(std::exchange(notification(), parameter)) {}
    ~NotificationScope() { notification() = m_outer; }
    NotificationScope(const NotificationScope&) = delete;
    NotificationScope& operator=(const NotificationScope&) = delete;

private:
    Value* m_outer;
};

bool lists(std::string_view names, const std::string& key) {
    return names.find(" " + key + " ") != std::string_view::npos;
}

const std::string& kind_of(const NameValue& name) {
    if (!lists(raised_kinds, name.key()) && !lists(quiet_kinds, name.key()))
        raise_absent("callback #" + name.text());
    return name.key();
}

using Id = Keyword<"id", NameValue*>;

/// `callbacks.addScript #preRenderFrame "script" id:#mine`, or a function, or fileName:.
bool add_script(Value* kind, std::optional<Value*> script, const Id& id,
                const Keyword<"fileName", std::string>& file, const Keyword<"persistent", bool>& persistent) {
    Callback callback{kind_of(FromScript<NameValue&>::from(kind)),
                      id ? (*id)->key() : "",
                      {},
                      file.value_or(""),
                      {},
                      persistent.value_or(false)};
    if (script && (*script)->is(Function_class)) {
        static int count = 0;
        callback.variable = "callback function " + std::to_string(++count);
        global(callback.variable).define_constant(*script);
    } else if (script) {
        callback.script = to_text(*script);
    } else if (!file) {
        raise_runtime_error("callbacks.addScript requires a script, a function or fileName:");
    }
    callbacks().push_back(std::move(callback));
    return true;
}

void forget(const Callback& callback) {
    if (!callback.variable.empty()) global(callback.variable).forget();
}

/// `callbacks.removeScripts #preRenderFrame id:#mine`, with one of the two or both.
void remove_scripts(const NameValue* kind, const Id& id) {
    if (kind == nullptr && !id)
        raise_runtime_error("callbacks.removeScripts requires a callback's name or id:");
    if (kind != nullptr) kind_of(*kind);
    std::erase_if(callbacks(), [&](const Callback& callback) {
        const bool removed =
            (kind == nullptr || callback.kind == kind->key()) && (!id || callback.id == (*id)->key());
        if (removed) forget(callback);
        return removed;
    });
}

/// `callbacks.show #kind id:#mine to:stream`: what is registered, one in a line.
void show(const NameValue* kind, const Id& id, const Keyword<"to", CharStream*>& output,
          const Keyword<"asArray", bool>&) {
    CharStream& stream = output ? **output : *thread_state().locals.current_stdout;
    for (const Callback& callback : callbacks()) {
        if ((kind != nullptr && callback.kind != kind->key()) || (id && callback.id != (*id)->key()))
            continue;
        const std::string what = !callback.script.empty()    ? callback.script
                                 : callback.variable.empty() ? callback.file
                                                             : "<function>";
        stream.puts(("id:#" + callback.id + ", callback:#" + callback.kind +
                     ", persistent:" + (callback.persistent ? "true" : "false") + ", " + what + "\n")
                        .c_str());
    }
}

/// Runs a stream that nothing else refers to.
template <typename Stream>
void run_and_close(Stream* stream) {
    const Rooted root(stream);
    run_stream(*stream);
    stream->close();
}

void run(const Callback& callback) {
    if (!callback.variable.empty()) {
        static const std::string name = "a callback";
        Value* parameter = notification();
        Arguments none(name, &parameter, 0, nullptr, 0);
        call_value(global(callback.variable).get(), none);
    } else if (!callback.script.empty()) {
        auto* stream = new StringStream;
        const Rooted root(stream);
        stream->write(callback.script.data(), callback.script.size());
        run_and_close(stream);
    } else {
        auto* stream = new FileStream;
        const Rooted root(stream);
        stream->open(callback.file.c_str(), "r");
        run_and_close(stream);
    }
}

}  // namespace

bool has_callbacks(std::string_view kind) {
    return std::ranges::any_of(callbacks(), [wanted = lower_case(kind)](const Callback& callback) {
        return callback.kind == wanted;
    });
}

void run_callbacks(std::string_view kind, Value* parameter) {
    const std::string wanted = lower_case(kind);
    const Rooted root(parameter);
    const NotificationScope scope(parameter);
    // A copy: a script may add and remove callbacks, which counts from the next time on.
    const std::vector<Callback> registered = callbacks();
    for (const Callback& callback : registered)
        if (callback.kind == wanted) run(callback);
}

void forget_callbacks() {
    callbacks().clear();
}

void define_callback_functions() {
    define_functions({
        {"callbacks.addScript", add_script},
        {"callbacks.removeScripts", remove_scripts},
        {"callbacks.removeScript", remove_scripts},
        {"callbacks.show", show},
        {"callbacks.notificationParam", notification},
        {"callbacks.broadcastCallback", [](const NameValue& kind) { run_callbacks(kind_of(kind)); }},
    });
}

}  // namespace corrivane::host
