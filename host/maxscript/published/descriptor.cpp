#include "maxscript/published/published_interface.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <stdexcept>

namespace corrivane::host {

namespace {

constexpr FPSlot most_parameters = 64;

std::string read_name(FPSlot slot, const std::string& interface_name) {
    const auto* text = reinterpret_cast<const char*>(slot);
    if (text == nullptr)
        throw std::invalid_argument("The descriptor of " + interface_name + " misses a name");
    return text;
}

int read_type(FPSlot slot, const std::string& interface_name) {
    static constexpr auto types =
        std::to_array<int>({TYPE_FLOAT, TYPE_INT, TYPE_VOID, TYPE_VALUE, TYPE_bool});
    const int type = static_cast<int>(slot);
    if (std::find(types.begin(), types.end(), type) == types.end())
        throw std::invalid_argument("The descriptor of " + interface_name + " has the unknown type " +
                                    std::to_string(type));
    return type;
}

PublishedInterface::Function read_function(const FPSlot*& list, const std::string& interface_name) {
    PublishedInterface::Function function;
    function.id = static_cast<FunctionID>(list[0]);
    function.name = read_name(list[1], interface_name);
    function.return_type = read_type(list[3], interface_name);
    const FPSlot count = list[5];
    if (count < 0 || count > most_parameters)
        throw std::invalid_argument("The descriptor of " + interface_name + "." + function.name + " has " +
                                    std::to_string(count) + " parameters");
    list += 6;
    for (FPSlot i = 0; i < count; ++i, list += 3)
        function.parameters.push_back(
            {read_name(list[0], interface_name), read_type(list[2], interface_name)});
    return function;
}

}  // namespace

PublishedInterface read_descriptor(FPInterfaceDesc* owner, const std::string& name, const FPSlot* list) {
    PublishedInterface published{owner, name, {}, {}};
    const auto tag = [&] { return static_cast<std::uint32_t>(*list); };
    while (tag() != FP_END && tag() != FP_PROPERTIES)
        published.functions.push_back(read_function(list, name));
    if (tag() == FP_PROPERTIES) {
        for (++list; tag() != FP_END; list += 5)
            published.properties.push_back({static_cast<FunctionID>(list[0]),
                                            static_cast<FunctionID>(list[1]), read_name(list[2], name),
                                            read_type(list[4], name)});
    }
    return published;
}

}  // namespace corrivane::host

namespace {

/// The first item of a list, or what it points to.
template <typename T>
T read_item(const FPSlot* list, bool pointer) {
    T item;
    std::memcpy(&item, pointer ? reinterpret_cast<const void*>(*list) : list, sizeof(T));
    return item;
}

}  // namespace

void FPValue::Loadva(int valueType, const FPSlot* list, bool ptr) {
    type = valueType;
    switch (valueType) {
        case TYPE_FLOAT:
            f = read_item<float>(list, ptr);
            break;
        case TYPE_INT:
            i = read_item<int>(list, ptr);
            break;
        case TYPE_bool:
            b = ptr ? read_item<bool>(list, true) : *list != 0;
            break;
        case TYPE_VALUE:
            v = read_item<Value*>(list, ptr);
            break;
        default:
            break;
    }
}
