#pragma once

#include <max/types.h>

#include <cstdint>
#include <vector>

class ClassDesc;
class Value;

/// Identifies a published function within its interface.
using FunctionID = std::uint16_t;
/// "No such function", where a FunctionID is optional: the setter of a read-only property.
constexpr FunctionID FP_NO_FUNCTION = 0xFFFF;

using FPStatus = int;
constexpr FPStatus FPS_OK = 1;
constexpr FPStatus FPS_NO_SUCH_FUNCTION = -1;

/// Type codes of parameters and results.
enum ParamType2 : int {
    TYPE_FLOAT = 0,
    TYPE_INT = 1,
    TYPE_VOID = 25,
    TYPE_VALUE = 44,
    TYPE_bool = 46,
};

/// Descriptor flag: a core interface, which MAXScript reaches by its name.
constexpr unsigned FP_CORE = 4;

/// Tags in a descriptor list.
constexpr std::uint32_t FP_END = 0xC0000400;
constexpr std::uint32_t FP_PROPERTIES = 0xC0000401;

/// One item of a variable-argument list: a whole number, a type code or a pointer to a zero-terminated text.
using FPSlot = std::intptr_t;

/// A value with its type code, as calls carry arguments and results.
struct FPValue {
    int type = TYPE_VOID;
    union {
        int i = 0;
        float f;
        bool b;
        Value* v;
    };

    /// Stores the first item of a list as a value of the given type. With `ptr` the item is a pointer to the
    /// value. A float travels as its bits, in the low half of the slot.
    void Loadva(int valueType, const FPSlot* list, bool ptr);
};

/// The arguments of a call, in order.
struct FPParams {
    std::vector<FPValue> params;
};

/// A published interface. MAXScript calls it through _dispatch_fn once load_descriptor has been given
/// its functions.
class FPInterfaceDesc : public BaseInterface {
public:
    FPInterfaceDesc() = default;
    FPInterfaceDesc(const FPInterfaceDesc&) = delete;
    FPInterfaceDesc& operator=(const FPInterfaceDesc&) = delete;

    /// Answers a call by function identifier; the arguments have been converted to the declared types.
    /// Returns FPS_OK, or FPS_NO_SUCH_FUNCTION for an identifier it does not know. May throw.
    virtual FPStatus _dispatch_fn(FunctionID function, TimeValue time, FPValue& result, FPParams* params) = 0;

protected:
    /// Withdraws the interface.
    virtual ~FPInterfaceDesc();

    /// Registers the interface. `list` holds, for each function: identifier, name, description resource,
    /// return type, flags, parameter count and for each parameter name, description resource, type; then, if
    /// there are properties, FP_PROPERTIES and for each property getter, setter (-1 for none), name,
    /// description resource, type; then FP_END. The list and its texts are copied.
    void load_descriptor(Interface_ID id, const char* internalName, int descriptionResource,
                         ClassDesc* classDesc, unsigned flags, const FPSlot* list);
};

/// A published interface that belongs to no object.
class FPStaticInterface : public FPInterfaceDesc {};
