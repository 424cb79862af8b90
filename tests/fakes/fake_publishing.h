#pragma once

#include <max/function_publishing.h>

#include <string>
#include <vector>

namespace corrivane::test {

/// A descriptor as load_descriptor received it.
struct PublishedInterface {
    FPInterfaceDesc* owner = nullptr;
    Interface_ID id;
    std::string name;
    int description_resource = 0;
    ClassDesc* class_desc = nullptr;
    unsigned flags = 0;
    /// One text a function, "3 SetTitle 25 (title 44)": identifier, name, return type, parameters with
    /// their types.
    std::vector<std::string> functions;
    /// One text a property, "12 -1 CurrentFrame 1": getter, setter, name, type.
    std::vector<std::string> properties;
    bool has_properties_tag = false;
};

/// What is published at the moment, in the order of publishing.
std::vector<PublishedInterface>& published_interfaces();
/// The published interface of that name; throws std::out_of_range.
PublishedInterface& published_interface(const std::string& name);

}  // namespace corrivane::test
