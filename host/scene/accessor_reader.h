#pragma once

#include "scene/buffers.h"

#include <ImathColor.h>
#include <ImathVec.h>

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

namespace corrivane::host {

/// Reads accessors with every index, range, stride and component type checked against the document before
/// use. `user` is the value that names the accessor by its index; messages are about it: "mesh 2, primitive 0:
/// POSITION accessor 7 has no elements".
class AccessorReader {
public:
    AccessorReader(LoadContext& context, const GltfDocument& document, Buffers& buffers)
        : m_context(context), m_buffers(buffers), m_accessors(document.list("accessors", "accessor")) {}

    /// Number of elements.
    std::uint64_t count(const json::Value& user) { return at(user).count; }
    /// Components of an element: 1 for SCALAR, 3 for VEC3.
    int components(const json::Value& user) { return at(user).components; }
    /// Whether it draws on a buffer whose file is missing: its values mean nothing.
    bool is_missing(const json::Value& user);

    /// All elements, in V2f, V3f, C4f, V4f or float; normalized integers become 0..1 or -1..1. Finite.
    template <typename Vector>
    std::vector<Vector> vectors(const json::Value& user) {
        const Accessor& accessor = checked(user, static_cast<int>(sizeof(Vector) / sizeof(float)));
        std::vector<Vector> result(accessor.count, Vector(0.0f));
        read_floats(accessor, user, reinterpret_cast<float*>(result.data()));
        return result;
    }
    /// SCALAR of an unsigned integer type, each below `limit`.
    std::vector<std::uint32_t> indices(const json::Value& user, std::uint64_t limit);

private:
    struct Accessor {
        json::Value part;
        std::string name;  ///< "accessor 7"
        std::uint64_t count = 0;
        std::uint64_t offset = 0;
        int component_type = 0;
        std::uint64_t component_size = 0;
        int components = 0;
        bool is_matrix = false;
        bool normalized = false;
    };
    struct Elements {
        const unsigned char* bytes = nullptr;  ///< null: all zeros
        std::uint64_t stride = 0;
    };
    struct Sparse;

    const Accessor& at(const json::Value& user);
    Accessor read(std::size_t index);
    /// With that many components and within the load's memory.
    const Accessor& checked(const json::Value& user, int components);
    void read_floats(const Accessor& accessor, const json::Value& user, float* values);
    Elements elements_of(const Accessor& accessor, const json::Value& user);
    /// Nothing when the accessor is not sparse.
    std::optional<Sparse> sparse_of(const Accessor& accessor, const json::Value& user);
    Elements sparse_bytes(const json::Value& part, std::uint64_t size, const char* name,
                          const Accessor& accessor, const json::Value& user);
    [[noreturn]] static void fail(const Accessor& accessor, const json::Value& user, const std::string& what);

    LoadContext& m_context;
    Buffers& m_buffers;
    PartList m_accessors;
    std::unordered_map<std::size_t, Accessor> m_read;
};

}  // namespace corrivane::host
