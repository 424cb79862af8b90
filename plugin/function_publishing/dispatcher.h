#pragma once

#include "function_publishing/var_arg_buffer.h"

#include <max/function_publishing.h>
#include <max/maxscript/exceptions.h>
#include <max/maxscript/value.h>

#include <cstddef>
#include <exception>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace quorvel::FPWrapper {

/// One published function of T: calls a member function and describes its signature.
template <typename T>
class FPDispatcher {
public:
    /// `name` is empty for a property's getter; `parameter_names` are at least as many as the function
    /// has parameters.
    FPDispatcher(FunctionID id, std::string name, std::vector<std::string> parameter_names)
        : m_id(id), m_name(std::move(name)), m_parameter_names(std::move(parameter_names)) {}
    virtual ~FPDispatcher() = default;

    const std::string& name() const { return m_name; }

    /// Calls the function with the arguments converted and stores what it returns. A std::exception becomes a
    /// RuntimeError with its text; other exceptions pass.
    virtual void dispatch(T* self, TimeValue time, FPValue& result, FPParams* params) = 0;
    /// Appends the function's entry of a descriptor list. The list refers to this object's names.
    virtual void write_description(VarArgBuffer& list) const = 0;

protected:
    FunctionID m_id;
    std::string m_name;
    std::vector<std::string> m_parameter_names;
};

/// How a parameter of a declared type is published, and how its argument is read.
template <typename Declared>
struct FPParameter;

template <>
struct FPParameter<int> {
    static constexpr ParamType2 type = TYPE_INT;
    static int read(const FPValue& argument) { return argument.i; }
};

template <>
struct FPParameter<float> {
    static constexpr ParamType2 type = TYPE_FLOAT;
    static float read(const FPValue& argument) { return argument.f; }
};

template <>
struct FPParameter<const std::string&> {
    static constexpr ParamType2 type = TYPE_VALUE;
    static std::string read(const FPValue& argument) {
        const char* text = argument.v->to_string();
        return text == nullptr ? "" : text;
    }
};

/// How a result of a declared type is published and handed over.
template <typename Declared>
struct FPResult;

template <>
struct FPResult<bool> {
    static constexpr ParamType2 type = TYPE_bool;
    static FPSlot slot(bool value) { return value; }
};

template <>
struct FPResult<int> {
    static constexpr ParamType2 type = TYPE_INT;
    static FPSlot slot(int value) { return value; }
};

template <>
struct FPResult<Value*> {
    static constexpr ParamType2 type = TYPE_VALUE;
    static FPSlot slot(Value* value) { return reinterpret_cast<FPSlot>(value); }
};

template <>
struct FPResult<void> {
    static constexpr ParamType2 type = TYPE_VOID;
};

template <typename T, typename MemFn>
class FPDispatcherImpl;

/// The dispatcher of a member function of T with that signature.
template <typename T, typename Result, typename... Parameters>
class FPDispatcherImpl<T, Result (T::*)(Parameters...)> : public FPDispatcher<T> {
public:
    using Method = Result (T::*)(Parameters...);

    FPDispatcherImpl(Method method, FunctionID id, std::string name, std::vector<std::string> parameter_names)
        : FPDispatcher<T>(id, std::move(name), std::move(parameter_names)), m_method(method) {}

    void dispatch(T* self, TimeValue /*time*/, FPValue& result, FPParams* params) override {
        try {
            static const FPParams no_arguments;
            call(self, result, params == nullptr ? no_arguments : *params,
                 std::index_sequence_for<Parameters...>());
        } catch (const std::exception& error) {
            throw RuntimeError(error.what());
        }
    }

    void write_description(VarArgBuffer& list) const override {
        list.append(this->m_id);
        list.append(this->m_name.c_str());
        list.append(no_description);
        list.append(FPResult<Result>::type);
        list.append(no_flags);
        list.append(sizeof...(Parameters));
        std::size_t index = 0;
        (write_parameter(list, this->m_parameter_names[index++], FPParameter<Parameters>::type), ...);
    }

private:
    static constexpr FPSlot no_description = 0;
    static constexpr FPSlot no_flags = 0;

    static void write_parameter(VarArgBuffer& list, const std::string& name, ParamType2 type) {
        list.append(name.c_str());
        list.append(no_description);
        list.append(type);
    }

    template <std::size_t... Index>
    void call(T* self, FPValue& result, [[maybe_unused]] const FPParams& arguments,
              std::index_sequence<Index...>) {
        if constexpr (std::is_void_v<Result>) {
            (self->*m_method)(FPParameter<Parameters>::read(arguments.params.at(Index))...);
        } else {
            const FPSlot slot = FPResult<Result>::slot(
                (self->*m_method)(FPParameter<Parameters>::read(arguments.params.at(Index))...));
            result.Loadva(FPResult<Result>::type, &slot, false);
        }
    }

    Method m_method;
};

}  // namespace quorvel::FPWrapper
