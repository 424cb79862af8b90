#pragma once

#include <max/function_publishing.h>

#include <memory>
#include <string>
#include <vector>

namespace corrivane::host {

/// A published interface as its descriptor describes it, in texts of its own.
struct PublishedInterface {
    struct Parameter {
        std::string name;
        int type;
    };
    struct Function {
        FunctionID id;
        std::string name;
        int return_type;
        std::vector<Parameter> parameters;
    };
    struct PublishedProperty {
        FunctionID getter;
        FunctionID setter;
        std::string name;
        int type;
    };

    /// Null once the interface has been withdrawn.
    FPInterfaceDesc* owner;
    std::string name;
    std::vector<Function> functions;
    std::vector<PublishedProperty> properties;
    Interface_ID id = {};
};

/// Reads a descriptor list, as load_descriptor describes it. Throws std::invalid_argument for a type that
/// cannot be published, a missing name, or a number of parameters that no function has.
PublishedInterface read_descriptor(FPInterfaceDesc* owner, const std::string& name, const FPSlot* list);

/// The core interface that is published under that name; null for none. Valid until it is withdrawn.
const PublishedInterface* find_published_interface(const std::string& name);

/// Makes the core interfaces that are published the globals of their names: what a runtime does when
/// it starts.
void define_published_interfaces();

}  // namespace corrivane::host
