#pragma once

#include "function_publishing/dispatcher.h"

#include <max/core_interface.h>
#include <max/function_publishing.h>

#include <exception>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace quorvel::FPWrapper {

template <typename T>
class FPDescriptorBuilder;

/// A published interface made of member functions of T, which derives from this class. Flags are
/// the descriptor's.
///
/// T's constructor calls QXCreateDescriptor, registers each function and property once, in the order of their
/// identifiers, and lets the builder go: that publishes the interface, which scripts may call from then on.
template <typename T, unsigned Flags>
class QXStaticInterface : public FPStaticInterface {
public:
    FPStatus _dispatch_fn(FunctionID fid, TimeValue t, FPValue& result, FPParams* params) override {
        const auto found = m_dispatchers.find(fid);
        if (found == m_dispatchers.end()) return FPS_NO_SUCH_FUNCTION;
        found->second->dispatch(static_cast<T*>(this), t, result, params);
        return FPS_OK;
    }

private:
    friend class FPDescriptorBuilder<T>;

    void publish_descriptor(const FPDescriptorBuilder<T>& builder) {
        VarArgBuffer list;
        for (const auto& [id, dispatcher] : m_dispatchers)
            if (!dispatcher->name().empty()) dispatcher->write_description(list);
        builder.write_properties(list);
        list.append(static_cast<FPSlot>(FP_END));
        this->load_descriptor(builder.m_id, builder.m_name.c_str(), 0, builder.m_class_desc, Flags,
                              list.list());
    }

    std::map<FunctionID, std::unique_ptr<FPDispatcher<T>>> m_dispatchers;
};

/// One property of a descriptor.
struct FPPropertyRecord {
    FunctionID getter;
    FunctionID setter;
    std::string name;
    ParamType2 type;
};

/// Collects the functions and properties of an interface and publishes them when it is destroyed, unless an
/// exception is the reason. Made by QXCreateDescriptor.
template <typename T>
class FPDescriptorBuilder {
public:
    /// See QXCreateDescriptor.
    FPDescriptorBuilder(T* owner, Interface_ID id, std::string name, ClassDesc* classDesc)
        : m_owner(owner), m_id(id), m_name(std::move(name)), m_class_desc(classDesc) {
        if (id == Interface_ID()) refuse_default_id();
    }
    FPDescriptorBuilder(const FPDescriptorBuilder&) = delete;
    FPDescriptorBuilder& operator=(const FPDescriptorBuilder&) = delete;

    ~FPDescriptorBuilder() noexcept(false) {
        if (std::uncaught_exceptions() == m_exceptions_before) m_owner->publish_descriptor(*this);
    }

    /// Publishes a member function under a name. The names of its parameters come first among p1 to p7. `id`
    /// FP_NO_FUNCTION takes the next automatic identifier.
    template <typename MemFn>
    void add_function(MemFn method, const std::string& name, const std::string& p1 = "Param1",
                      const std::string& p2 = "Param2", const std::string& p3 = "Param3",
                      const std::string& p4 = "Param4", const std::string& p5 = "Param5",
                      const std::string& p6 = "Param6", const std::string& p7 = "Param7",
                      FunctionID id = FP_NO_FUNCTION) {
        const FunctionID used = id == FP_NO_FUNCTION ? m_next_id++ : id;
        store(method, used, name, {p1, p2, p3, p4, p5, p6, p7});
    }

    /// Publishes a member function as a property that can only be read. It takes the next
    /// automatic identifier.
    void add_read_only_property(int (T::*getter)(), const std::string& name) {
        const FunctionID id = m_next_id++;
        store(getter, id, "", {});
        m_properties.push_back({id, FP_NO_FUNCTION, name, TYPE_INT});
    }

private:
    template <typename Owner, unsigned Flags>
    friend class QXStaticInterface;

    template <typename MemFn>
    void store(MemFn method, FunctionID id, const std::string& name,
               std::vector<std::string> parameter_names) {
        m_owner->m_dispatchers[id] =
            std::make_unique<FPDispatcherImpl<T, MemFn>>(method, id, name, std::move(parameter_names));
    }

    void write_properties(VarArgBuffer& list) const {
        if (m_properties.empty()) return;
        list.append(static_cast<FPSlot>(FP_PROPERTIES));
        for (const FPPropertyRecord& property : m_properties) {
            list.append(static_cast<std::int16_t>(property.getter));
            list.append(static_cast<std::int16_t>(property.setter));
            list.append(property.name.c_str());
            list.append(FPSlot{0});
            list.append(property.type);
        }
    }

    [[noreturn]] void refuse_default_id() const {
        const std::string message =
            "QXCreateDescriptor() - The interface ID for the function publishing descriptor \"" + m_name +
            "\" was set to the default value, its value must be set to a randomly selected constant value.";
        GetCOREInterface()->Log()->LogEntry(SYSLOG_ERROR, DISPLAY_DIALOG, "QX Function Publishing Wrapper",
                                            "%s", message.c_str());
        throw std::runtime_error(message);
    }

    FunctionID m_next_id = 0;
    std::vector<FPPropertyRecord> m_properties;
    T* m_owner;
    Interface_ID m_id;
    std::string m_name;
    ClassDesc* m_class_desc;
    int m_exceptions_before = std::uncaught_exceptions();
};

/// Starts the descriptor of an interface that its owner is constructing. An identifier that nobody set is
/// refused: an entry in 3ds Max's log and a std::runtime_error.
template <typename T>
FPDescriptorBuilder<T> QXCreateDescriptor(T* owner, Interface_ID id, const std::string& name,
                                          ClassDesc* classDesc) {
    return FPDescriptorBuilder<T>(owner, id, name, classDesc);
}

}  // namespace quorvel::FPWrapper
