#include "scene/gltf_document.h"

#include "json/shortened.h"
#include "scene/external_files.h"
#include "scene/limits.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace corrivane::host {

namespace {

constexpr std::array known_extensions = {
    std::string_view("KHR_lights_punctual"), std::string_view("KHR_materials_unlit"),
    std::string_view("KHR_materials_emissive_strength"), std::string_view("KHR_texture_transform"),
    std::string_view("KHR_mesh_quantization")};

std::uint32_t little_endian(const unsigned char* bytes) {
    std::uint32_t value = 0;
    std::memcpy(&value, bytes, sizeof value);
    return value;
}

/// A .glb in its chunks.
struct Chunks {
    std::string_view json;
    std::optional<ByteRange> binary;
};

Chunks split(const LoadContext& context, const std::vector<unsigned char>& file) {
    constexpr std::uint32_t json_type = 0x4e4f534a;
    constexpr std::uint32_t binary_type = 0x004e4942;
    constexpr std::size_t file_header = 12;
    constexpr std::size_t chunk_header = 8;
    if (file.size() < file_header + chunk_header) context.fail("binary glTF shorter than its header");
    const std::uint32_t version = little_endian(file.data() + 4);
    if (version != 2) context.fail("binary glTF of version " + std::to_string(version));
    const std::size_t length = little_endian(file.data() + 8);
    if (length > file.size()) context.fail("binary glTF that ends before its length");

    Chunks chunks;
    for (std::size_t at = file_header; at + chunk_header <= length;) {
        const std::size_t size = little_endian(file.data() + at);
        const std::uint32_t type = little_endian(file.data() + at + 4);
        const bool first = at == file_header;
        at += chunk_header;
        if (size > length - at) context.fail("binary glTF with a chunk that reaches past its end");
        if (first != (type == json_type)) context.fail("binary glTF whose first chunk alone should be JSON");
        if (first) chunks.json = {reinterpret_cast<const char*>(file.data() + at), size};
        if (type == binary_type && !chunks.binary) chunks.binary = ByteRange{file.data() + at, size};
        at += size;
    }
    return chunks;
}

}  // namespace

PartList::PartList(std::optional<json::Value> list, const char* part) : m_part(part) {
    if (list) m_parts = json::ElementTable(*list);
}

std::size_t PartList::index(const json::Value& number, const json::Value& user) const {
    if (!number.is_number()) number.refuse(std::string("the number of a ") + m_part);
    const double value = number.number();
    if (!(value >= 0 && value < static_cast<double>(size()))) {
        user.fail(std::string("there is no ") + m_part + " " + number.number_text());
    }
    return static_cast<std::size_t>(number.size());
}

std::optional<std::size_t> PartList::find(const json::Value& user, std::string_view key) const {
    const auto number = user.find(key);
    return number ? std::optional(index(*number, user)) : std::nullopt;
}

GltfDocument::GltfDocument(LoadContext& context) : m_context(context) {
    std::string why;
    auto bytes = read_file(context.file(), why);
    if (!bytes) context.fail(why);
    context.note_read(bytes->size());
    m_file = std::move(*bytes);
    if (m_file.size() >= 4 && std::memcmp(m_file.data(), "glTF", 4) == 0) {
        const Chunks chunks = split(context, m_file);
        m_binary_chunk = chunks.binary;
        m_held = m_file.size();
        parse(chunks.json);
    } else {
        parse({reinterpret_cast<const char*>(m_file.data()), m_file.size()});
        m_file = {};
    }
    m_held += m_json->memory();
    context.hold(m_held);
    check_version();
    // First, since an extension that nobody knows may be why the rest makes no sense.
    check_extensions();
}

GltfDocument::~GltfDocument() {
    m_context.release(m_held);
}

void GltfDocument::parse(std::string_view text) {
    m_json.emplace(text, limits::json_depth);
}

void GltfDocument::check_version() const {
    const std::string_view version = root().at("asset").at("version").text();
    if (!is_version_2(version)) {
        m_context.fail("asset.version \"" + json::shortened(version) + "\" is not glTF 2");
    }
}

void GltfDocument::check_extensions() const {
    const auto required = root().find("extensionsRequired");
    if (!required) return;
    for (const json::Value element : required->elements()) {
        const std::string extension(element.text());
        if (std::ranges::find(known_extensions, extension) == known_extensions.end()) {
            m_context.missing(MissingKind::plugin, extension,
                              json::shortened(extension) + " is required and not supported");
        }
    }
}

bool is_version_2(std::string_view version) {
    return version == "2" || version.starts_with("2.");
}

std::optional<json::Value> find_extension(const json::Value& part, std::string_view extension) {
    const auto extensions = part.find("extensions");
    return extensions ? extensions->find(extension) : std::nullopt;
}

}  // namespace corrivane::host
