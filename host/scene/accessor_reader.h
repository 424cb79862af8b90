#pragma once

#include "scene/gltf_document.h"

#include <ImathColor.h>
#include <ImathVec.h>

#include <algorithm>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace corrivane::host {

/// A range of a buffer that has been checked to be there.
struct ByteRange {
    const unsigned char* data = nullptr;
    std::uint64_t size = 0;
};

/// Reads accessors with every index, range, stride and component type checked against the document before
/// use. `who` names the reader's subject in messages: "mesh 2, primitive 0: POSITION".
class AccessorReader {
public:
    AccessorReader(LoadContext& context, const GltfDocument& document)
        : m_context(context), m_document(document), m_model(document.model) {}

    /// Number of elements. Fails when there is no such accessor.
    std::uint64_t count(int accessor, const std::string& who) const;
    /// Components of an element: 1 for SCALAR, 3 for VEC3.
    int components(int accessor, const std::string& who) const;
    /// Whether it draws on a buffer whose file is missing: its values mean nothing.
    bool is_missing(int accessor, const std::string& who) const;

    /// All elements as floats, `width` components each; normalized integers become 0..1 or -1..1. Finite.
    std::vector<float> floats(int accessor, int width, const std::string& who);
    /// As floats(), in the shape of V2f, V3f, C4f or V4f.
    template <typename Vector>
    std::vector<Vector> vectors(int accessor, const std::string& who) {
        const std::vector<float> values = floats(accessor, int(sizeof(Vector) / sizeof(float)), who);
        std::vector<Vector> result(values.size() * sizeof(float) / sizeof(Vector));
        std::copy(values.begin(), values.end(), reinterpret_cast<float*>(result.data()));
        return result;
    }
    /// SCALAR of an unsigned integer type, each below `limit`.
    std::vector<std::uint32_t> indices(int accessor, std::uint64_t limit, const std::string& who);

    /// All bytes of a buffer view.
    ByteRange view_bytes(int view, const std::string& who) const;
    bool is_view_missing(int view) const;

private:
    struct Layout;

    const tinygltf::Accessor& at(int accessor, const std::string& who) const;
    Layout layout_of(const tinygltf::Accessor& accessor, const std::string& who) const;
    void apply_sparse(const tinygltf::Accessor& accessor, int width, std::span<float> values,
                      const std::string& who) const;
    std::vector<std::uint32_t> sparse_places(const tinygltf::Accessor& accessor,
                                             const std::string& who) const;
    ByteRange part_of_view(int view, std::uint64_t offset, std::uint64_t size, const std::string& who) const;

    LoadContext& m_context;
    const GltfDocument& m_document;
    const tinygltf::Model& m_model;
};

}  // namespace corrivane::host
