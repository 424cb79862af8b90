#include "maxscript/published/published_interface.h"

#include "maxscript/machine/code.h"
#include "maxscript/machine/conversions.h"
#include "maxscript/machine/define.h"
#include "maxscript/machine/errors.h"
#include "maxscript/machine/globals.h"
#include "maxscript/machine/rooted.h"
#include "maxscript/machine/thread_state.h"
#include "maxscript/machine/values.h"

#include <max/maxscript/streams.h>

#include <algorithm>
#include <unordered_map>

namespace corrivane::host {

namespace {

using InterfacePointer = std::shared_ptr<PublishedInterface>;

/// The core interfaces that are published.
std::vector<InterfacePointer>& published_interfaces() {
    // Never destroyed: a library withdraws its interfaces while the program ends.
    static auto* const interfaces = new std::vector<InterfacePointer>;
    return *interfaces;
}

FPInterfaceDesc& owner_of(const PublishedInterface& published) {
    if (published.owner == nullptr)
        raise_runtime_error("The interface has been withdrawn: " + published.name);
    return *published.owner;
}

[[noreturn]] void fail_on_argument(const std::string& target, const std::string& wanted, Value* got) {
    raise_type_error(target + " requires " + wanted + ", got: " + excerpt(got));
}

/// `target` is the parameter or property, for messages.
FPValue to_published(int type, Value* value, const std::string& target) {
    FPValue converted;
    converted.type = type;
    const bool number = value->is(Integer_class) || value->is(Float_class);
    switch (type) {
        case TYPE_INT:
            if (!number) fail_on_argument(target, "an integer", value);
            converted.i = to_integer(value);
            break;
        case TYPE_FLOAT:
            if (!number) fail_on_argument(target, "a number", value);
            converted.f = to_float(value);
            break;
        case TYPE_bool:
            if (!value->is(Boolean_class)) fail_on_argument(target, "true or false", value);
            converted.b = to_boolean(value);
            break;
        default:
            converted.v = value;
            break;
    }
    return converted;
}

Value* from_published(int type, const FPValue& result) {
    // A function that has stored nothing leaves the result without a value.
    if (type == TYPE_VOID || result.type == TYPE_VOID) return type == TYPE_VOID ? &ok : &undefined;
    switch (type) {
        case TYPE_INT:
            return make_integer(result.i);
        case TYPE_FLOAT:
            return make_float(result.f);
        case TYPE_bool:
            return make_boolean(result.b);
        default:
            return result.v != nullptr ? result.v : &undefined;
    }
}

/// Calls into the library. `name` is what the script has called.
Value* dispatch(const PublishedInterface& published, FunctionID id, int return_type, const std::string& name,
                FPParams params) {
    count_step();
    ThreadState& thread = thread_state();
    FPValue result;
    try {
        const LibraryCallScope scope(thread);
        if (owner_of(published)._dispatch_fn(id, 0, result, &params) == FPS_NO_SUCH_FUNCTION)
            raise_runtime_error("The interface " + published.name + " does not answer to " + name);
    } catch (RuntimeError& error) {
        // The library's own message stays as it is: users look for exactly the text that they gave
        // to FailRender.
        throw ScriptError(exception_text(error), {});
    }
    Value* value = from_published(return_type, result);
    thread.locals.current_result = value;
    return value;
}

/// A function of a published interface.
class PublishedFunction final : public ScriptValue {
public:
    PublishedFunction(InterfacePointer published, const PublishedInterface::Function& function)
        : m_published(std::move(published)), m_function(function) {}

    const ValueMetaClass& value_class() const override { return Primitive_class; }
    void sprin1(CharStream* stream) override { stream->puts((m_function.name + "()").c_str()); }
    Value* call(Arguments& arguments) override {
        const std::string name = m_published->name + "." + m_function.name;
        const std::vector<PublishedInterface::Parameter>& parameters = m_function.parameters;
        if (arguments.count() != parameters.size())
            raise_argument_count(name, std::to_string(parameters.size()), arguments.count());
        if (arguments.keyword_count() != 0)
            raise_runtime_error(name + " has no keyword parameter " + *arguments.keywords()->name + ":");
        FPParams params;
        for (std::size_t i = 0; i < parameters.size(); ++i)
            params.params.push_back(
                to_published(parameters[i].type, arguments[i], name + ": parameter " + parameters[i].name));
        return dispatch(*m_published, m_function.id, m_function.return_type, m_function.name,
                        std::move(params));
    }

private:
    InterfacePointer m_published;
    const PublishedInterface::Function& m_function;
};

/// A published interface as scripts see it.
class InterfaceValue final : public ScriptValue {
public:
    static constexpr const ValueMetaClass& metaclass = Interface_class;

    explicit InterfaceValue(InterfacePointer published) : m_published(std::move(published)) {}

    /// Makes the functions; this value is rooted meanwhile.
    void make_functions() {
        for (const PublishedInterface::Function& function : m_published->functions)
            m_functions[lower_case(function.name)] = new PublishedFunction(m_published, function);
    }
    const PublishedInterface* published() const { return m_published.get(); }

    const ValueMetaClass& value_class() const override { return metaclass; }
    void sprin1(CharStream* stream) override {
        stream->puts(("<Interface:" + m_published->name + ">").c_str());
    }
    void gc_trace() override {
        for (const auto& [name, function] : m_functions)
            gc_mark(function);
    }

    Value* get_property(const std::string& name) override {
        if (const auto found = m_functions.find(name); found != m_functions.end()) return found->second;
        const PublishedInterface::PublishedProperty* property = find_property(name);
        if (property == nullptr) return ScriptValue::get_property(name);
        return dispatch(*m_published, property->getter, property->type, property->name, {});
    }
    void set_property(const std::string& name, Value* content) override {
        const PublishedInterface::PublishedProperty* property = find_property(name);
        if (property == nullptr) return ScriptValue::set_property(name, content);
        const std::string target = m_published->name + "." + property->name;
        if (property->setter == FP_NO_FUNCTION)
            raise_runtime_error("Cannot assign to read-only property: " + target);
        FPParams params{{to_published(property->type, content, target)}};
        dispatch(*m_published, property->setter, TYPE_VOID, property->name, std::move(params));
    }

private:
    const PublishedInterface::PublishedProperty* find_property(const std::string& name) const {
        const auto found =
            std::find_if(m_published->properties.begin(), m_published->properties.end(),
                         [&](const auto& property) { return lower_case(property.name) == name; });
        return found == m_published->properties.end() ? nullptr : &*found;
    }

    InterfacePointer m_published;
    std::unordered_map<std::string, PublishedFunction*> m_functions;
};

void define_interface(const InterfacePointer& published) {
    auto* value = new InterfaceValue(published);
    const Rooted root(value);
    value->make_functions();
    define_constant(published->name, value);
}

void withdraw(const FPInterfaceDesc* owner) {
    std::vector<InterfacePointer>& interfaces = published_interfaces();
    const auto found =
        std::find_if(interfaces.begin(), interfaces.end(),
                     [&](const InterfacePointer& published) { return published->owner == owner; });
    if (found == interfaces.end()) return;
    (*found)->owner = nullptr;
    Global* variable = find_global(lower_case((*found)->name));
    const auto* value = variable != nullptr ? value_as<InterfaceValue>(variable->get()) : nullptr;
    if (value != nullptr && value->published() == found->get()) variable->forget();
    interfaces.erase(found);
}

}  // namespace

const PublishedInterface* find_published_interface(const std::string& name) {
    for (const InterfacePointer& published : published_interfaces())
        if (published->name == name) return published.get();
    return nullptr;
}

void define_published_interfaces() {
    for (const InterfacePointer& published : published_interfaces())
        define_interface(published);
}

}  // namespace corrivane::host

FPInterfaceDesc::~FPInterfaceDesc() {
    corrivane::host::withdraw(this);
}

void FPInterfaceDesc::load_descriptor(Interface_ID id, const char* internalName, int /*descriptionResource*/,
                                      ClassDesc* /*classDesc*/, unsigned flags, const FPSlot* list) {
    using namespace corrivane::host;
    auto published = std::make_shared<PublishedInterface>(read_descriptor(this, internalName, list));
    published->id = id;
    // Only core interfaces have a name that scripts can use; others belong to objects.
    if ((flags & FP_CORE) == 0) return;
    withdraw(this);
    published_interfaces().push_back(published);
    define_interface(published);
}
