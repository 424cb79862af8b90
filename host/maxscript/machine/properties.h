#pragma once

#include "maxscript/machine/script_value.h"
#include "maxscript/machine/signature.h"

#include <any>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

/// What scripts can read and write of things of one kind, as tables: of nodes, cameras, materials, values, and of
/// the globals of one subject.
namespace corrivane::host {

/// Settings that 3ds Max keeps and this host has no use for: what was written is read back.
using KeptSettings = std::map<std::string, std::any, std::less<>>;

/// A row of a property table. Object is what the getter and setter work on.
template <typename Object>
struct Property {
    /// As it is written; found in any case.
    std::string name;
    std::function<Value*(Object&)> get;
    /// Empty where the property is read-only.
    std::function<void(Object&, Value*)> set;
    /// 3ds Max has it, this host does not: both functions raise an error that says so.
    bool absent = false;
};

template <typename Object>
class PropertyTable {
public:
    PropertyTable(std::initializer_list<Property<Object>> rows) : m_rows(rows) {
        for (std::size_t i = 0; i < m_rows.size(); ++i)
            m_index.emplace(lower_case(m_rows[i].name), i);
    }
    /// Rows in the order in which they are written; for getPropNames and its kin.
    const std::vector<Property<Object>>& rows() const { return m_rows; }
    /// Null when there is none of this name, which is in lower case.
    const Property<Object>* find(std::string_view name) const {
        const auto found = m_index.find(name);
        return found == m_index.end() ? nullptr : &m_rows[found->second];
    }
    /// Null when there is no such property.
    Value* get(Object& object, std::string_view name) const {
        const Property<Object>* row = find(name);
        return row == nullptr ? nullptr : row->get(object);
    }
    /// False when there is no such property; a MAXScript error when it is read-only.
    bool set(Object& object, std::string_view name, Value* content) const {
        const Property<Object>* row = find(name);
        if (row == nullptr) return false;
        if (!row->set) raise_runtime_error("Cannot assign to read-only property: " + row->name);
        row->set(object, content);
        return true;
    }

private:
    std::vector<Property<Object>> m_rows;
    std::map<std::string, std::size_t, std::less<>> m_index;
};

template <typename Signature>
struct Accessor;
template <typename R, typename O>
struct Accessor<std::function<R(O&)>> {
    using Object = O;
};
template <typename R, typename O, typename T>
struct Accessor<std::function<R(O&, T)>> {
    using Content = std::conditional_t<ScriptClass<T>, T, std::remove_cvref_t<T>>;
};
template <typename F>
using ObjectOf = typename Accessor<decltype(std::function(std::declval<F>()))>::Object;
template <typename F>
using ContentOf = typename Accessor<decltype(std::function(std::declval<F>()))>::Content;

/// A row that can only be read: `getter(object)`, whose result becomes a value.
template <typename Getter>
Property<ObjectOf<Getter>> read_only(const char* name, Getter getter) {
    using Object = ObjectOf<Getter>;
    return {name, [getter](Object& object) { return to_script(getter(object)); }, {}};
}

/// A row that is read by `getter(object)` and written by `setter(object, content)`; the content's type says what a
/// script may assign (signature.h).
template <typename Getter, typename Setter>
Property<ObjectOf<Getter>> property(const char* name, Getter getter, Setter setter) {
    using Object = ObjectOf<Getter>;
    return {name, [getter](Object& object) { return to_script(getter(object)); },
            [setter](Object& object, Value* content) {
                setter(object, FromScript<ContentOf<Setter>>::from(content));
            }};
}

/// A row whose content is kept and has no effect. T is what may be assigned, `initial` what is read before that;
/// `object.kept()` is where it is kept.
template <typename Object, typename T>
Property<Object> kept(const char* name, T initial) {
    return {name,
            [name, initial](Object& object) {
                const KeptSettings& settings = object.kept();
                const auto found = settings.find(std::string_view(name));
                return to_script(found == settings.end() ? initial : std::any_cast<const T&>(found->second));
            },
            [name](Object& object, Value* content) { object.kept()[name] = FromScript<T>::from(content); }};
}

/// A row for what this host does not have: `this host has no <what>`.
template <typename Object>
Property<Object> absent(const char* name, const std::string& what) {
    return {name, [what](Object&) -> Value* { raise_absent(what); },
            [what](Object&, Value*) { raise_absent(what); }, true};
}

/// Makes every row a global of the row's name, of an object that outlives the runtime.
template <typename Object>
void define_globals(const PropertyTable<Object>& table, Object& object) {
    for (const Property<Object>& row : table.rows())
        define_variable(
            row.name, [get = row.get, &object] { return get(object); },
            row.set ? VariableSetter([set = row.set, &object](Value* content) { set(object, content); })
                    : VariableSetter());
}

/// A value whose properties are those of a table: T has `static const PropertyTable<T>& properties()`.
template <typename T>
class TabledValue : public ScriptValue {
public:
    Value* get_property(const std::string& name) override {
        Value* found = T::properties().get(static_cast<T&>(*this), name);
        return found != nullptr ? found : ScriptValue::get_property(name);
    }
    void set_property(const std::string& name, Value* content) override {
        if (!T::properties().set(static_cast<T&>(*this), name, content))
            ScriptValue::set_property(name, content);
    }
};

}  // namespace corrivane::host
