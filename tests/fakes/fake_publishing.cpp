#include "fakes/fake_publishing.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <stdexcept>

namespace corrivane::test {

namespace {

std::string take_number(const FPSlot*& list) {
    return std::to_string(*list++);
}

std::string take_text(const FPSlot*& list) {
    return reinterpret_cast<const char*>(*list++);
}

void require_zero(const FPSlot*& list) {
    if (*list++ != 0) throw std::runtime_error("a slot that is meant to be 0 is not");
}

std::string take_function(const FPSlot*& list) {
    std::string function = take_number(list) + " ";
    function += take_text(list) + " ";
    require_zero(list);
    function += take_number(list) + " (";
    require_zero(list);
    const char* separator = "";
    for (FPSlot left = *list++; left > 0; --left) {
        function += separator + take_text(list) + " ";
        require_zero(list);
        function += take_number(list);
        separator = ", ";
    }
    return function + ")";
}

std::string take_property(const FPSlot*& list) {
    std::string property = take_number(list) + " ";
    property += take_number(list) + " ";
    property += take_text(list) + " ";
    require_zero(list);
    return property + take_number(list);
}

bool is_tag(FPSlot slot, std::uint32_t tag) {
    return static_cast<std::uint32_t>(slot) == tag;
}

}  // namespace

std::vector<PublishedInterface>& published_interfaces() {
    static std::vector<PublishedInterface> interfaces;
    return interfaces;
}

PublishedInterface& published_interface(const std::string& name) {
    auto& all = published_interfaces();
    const auto found = std::ranges::find(all, name, &PublishedInterface::name);
    if (found == all.end()) throw std::out_of_range(name + " is not published");
    return *found;
}

}  // namespace corrivane::test

using namespace corrivane::test;

FPInterfaceDesc::~FPInterfaceDesc() {
    std::erase_if(published_interfaces(),
                  [this](const PublishedInterface& one) { return one.owner == this; });
}

void FPInterfaceDesc::load_descriptor(Interface_ID id, const char* internalName, int descriptionResource,
                                      ClassDesc* classDesc, unsigned flags, const FPSlot* list) {
    PublishedInterface loaded{this, id, internalName, descriptionResource, classDesc, flags, {}, {}};
    while (!is_tag(*list, FP_END) && !is_tag(*list, FP_PROPERTIES))
        loaded.functions.push_back(take_function(list));
    if (is_tag(*list, FP_PROPERTIES)) {
        loaded.has_properties_tag = true;
        ++list;
        while (!is_tag(*list, FP_END))
            loaded.properties.push_back(take_property(list));
    }
    published_interfaces().push_back(loaded);
}

void FPValue::Loadva(int valueType, const FPSlot* list, bool /*ptr*/) {
    type = valueType;
    switch (valueType) {
        case TYPE_bool:
            b = *list != 0;
            break;
        case TYPE_FLOAT:
            f = std::bit_cast<float>(static_cast<std::uint32_t>(*list));
            break;
        case TYPE_VALUE:
            v = reinterpret_cast<Value*>(*list);
            break;
        default:
            i = static_cast<int>(*list);
    }
}
