#include "maxscript/machine/literals.h"

#include "maxscript/machine/bit_array.h"
#include "maxscript/machine/errors.h"
#include "maxscript/machine/geometry.h"
#include "maxscript/machine/references.h"
#include "maxscript/machine/scene_access.h"
#include "maxscript/machine/times.h"

#include <max/maxscript/streams.h>

#include <array>

namespace corrivane::host {

const ValueMetaClass Reference_class{"Reference"};

namespace {

const ValueMetaClass Interface_definition_class{"RolloutClass"};

/// What a definition with a user interface defines. Scripts may keep it; what shows it raises an error.
class InterfaceDefinitionValue final : public ScriptValue {
public:
    InterfaceDefinitionValue(const std::string& kind, const std::string& name) : m_kind(kind), m_name(name) {}

    const ValueMetaClass& value_class() const override { return Interface_definition_class; }
    void sprin1(CharStream* stream) override { stream->puts((m_kind + ":" + m_name).c_str()); }
    Value* get_property(const std::string& name) override {
        if (name == "name") return make_string(m_name);
        // Scripts ask before they close what they opened.
        if (name == "open" || name == "inviewport" || name == "ismaximized") return &false_value;
        raise_absent("user interface: " + m_name + "." + name);
    }
    void set_property(const std::string& name, Value* /*content*/) override {
        raise_absent("user interface: " + m_name + "." + name);
    }
    Value* call(Arguments& /*arguments*/) override { raise_absent("objects of scripted classes: " + m_name); }

private:
    std::string m_kind;
    std::string m_name;
};

}  // namespace

Value* PathLiteral::eval(Activation& activation) const {
    activation.thread.place.line = line();
    return call_host([&] { return scene_access().find_path(m_path); });
}

Value* TimeLiteral::eval(Activation& activation) const {
    activation.thread.place.line = line();
    return new TimeScriptValue(
        checked_ticks(m_seconds * 4800 + m_frames * ticks_per_frame() + static_cast<double>(m_ticks)));
}

Value* PointLiteral::eval(Activation& activation) const {
    std::array<float, 4> parts{};
    for (std::size_t i = 0; i < m_parts.size(); ++i) {
        Value* value = evaluate(m_parts[i], activation);
        if (value == nullptr) return nullptr;
        activation.thread.place.line = m_parts[i]->line();
        parts[i] = to_float(value);
    }
    if (m_parts.size() == 2) return new Point2Value({parts[0], parts[1]});
    if (m_parts.size() == 3) return new Point3Value({parts[0], parts[1], parts[2]});
    return new Point4Value({parts[0], parts[1], parts[2], parts[3]});
}

Value* BitArrayLiteral::eval(Activation& activation) const {
    auto* bits = new BitArrayValue;
    activation.temporaries[m_slot] = bits;
    for (const Range& range : m_ranges) {
        Value*& first = activation.temporaries[m_slot + 1];
        first = evaluate(range.first, activation);
        if (first == nullptr) return nullptr;
        Value* last = range.last == nullptr ? first : evaluate(range.last, activation);
        if (last == nullptr) return nullptr;
        activation.thread.place.line = range.first->line();
        const std::size_t end = array_index(last) + 1;
        for (std::size_t i = array_index(first) + 1; i <= end; ++i)
            bits->set(i, true);
    }
    return bits;
}

Value* ReferenceNode::eval(Activation& activation) const {
    if (!m_target->locate(activation)) return nullptr;
    activation.thread.place.line = line();
    return m_target->make_reference(activation);
}

bool Dereference::locate(Activation& activation) const {
    Value*& reference = activation.temporaries[m_slot];
    if ((reference = evaluate(m_reference, activation)) == nullptr) return false;
    activation.thread.place.line = line();
    if (value_as<ReferenceValue>(reference) == nullptr)
        raise_type_error("* requires a reference, got: " + excerpt(reference));
    return true;
}

Value* Dereference::load(Activation& activation) const {
    return static_cast<ReferenceValue*>(activation.temporaries[m_slot])->get();
}

void Dereference::store(Activation& activation, Value* content) const {
    static_cast<ReferenceValue*>(activation.temporaries[m_slot])->set(content);
}

Value* Dereference::make_reference(Activation& activation) const {
    return activation.temporaries[m_slot];
}

Value* AbsentStatement::eval(Activation& activation) const {
    activation.thread.place.line = line();
    raise_absent(m_what);
}

Value* IncludedCode::eval(Activation& activation) const {
    const PlaceScope place(activation.thread);
    activation.thread.place.file = m_file;
    Value* result = &ok;
    for (const Node* expression : m_expressions) {
        result = evaluate(expression, activation);
        if (result == nullptr) return nullptr;
    }
    return result;
}

Value* InterfaceDefinition::eval(Activation& activation) const {
    Value*& definition = activation.temporaries[m_slot];
    definition = new InterfaceDefinitionValue(m_kind, m_name);
    if (m_target != nullptr) m_target->store(activation, definition);
    return definition;
}

}  // namespace corrivane::host
