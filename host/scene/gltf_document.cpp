#include "scene/gltf_document.h"

#include "scene/external_files.h"
#include "scene/limits.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cstring>
#include <new>

namespace corrivane::host {

namespace {

constexpr std::array known_extensions = {
    std::string_view("KHR_lights_punctual"), std::string_view("KHR_materials_unlit"),
    std::string_view("KHR_materials_emissive_strength"), std::string_view("KHR_texture_transform"),
    std::string_view("KHR_mesh_quantization")};

bool is_binary(const std::vector<unsigned char>& bytes) {
    return bytes.size() >= 4 && std::memcmp(bytes.data(), "glTF", 4) == 0;
}

/// The JSON in the file's bytes. Empty for a binary file whose first chunk does not fit; tinygltf then
/// says why.
std::string_view json_of(const std::vector<unsigned char>& bytes) {
    const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    if (!is_binary(bytes)) return text;
    constexpr std::size_t header_size = 20;
    if (text.size() < header_size) return {};
    std::uint32_t length = 0;
    std::memcpy(&length, text.data() + 12, sizeof length);
    return length <= text.size() - header_size ? text.substr(header_size, length) : std::string_view();
}

/// tinygltf reads extras and extensions by recursion, so nesting is bounded before it sees the text.
bool nests_too_deeply(std::string_view json) {
    int depth = 0;
    bool in_string = false;
    for (std::size_t i = 0; i < json.size(); ++i) {
        const char c = json[i];
        if (in_string) {
            if (c == '\\') {
                ++i;
            } else if (c == '"') {
                in_string = false;
            }
        } else if (c == '"') {
            in_string = true;
        } else if (c == '{' || c == '[') {
            if (++depth > limits::json_depth) return true;
        } else if (c == '}' || c == ']') {
            --depth;
        }
    }
    return false;
}

/// Keeps the encoded bytes. Those of a buffer view are left alone here: tinygltf has not checked their range.
bool keep_image_bytes(tinygltf::Image* image, int, std::string*, std::string*, int, int,
                      const unsigned char* bytes, int size, void*) {
    if (image->bufferView < 0) image->image.assign(bytes, bytes + size);
    return true;
}

/// tinygltf's messages are lines; ours are one.
std::string one_line(std::string text) {
    while (!text.empty() && (text.back() == '\n' || text.back() == ' '))
        text.pop_back();
    std::replace(text.begin(), text.end(), '\n', ' ');
    return text;
}

/// Empty on success, else what is wrong.
std::string parse(const std::vector<unsigned char>& bytes, ExternalFiles& files, tinygltf::Model& model) {
    tinygltf::TinyGLTF parser;
    parser.SetStoreOriginalJSONForExtrasAndExtensions(true);
    parser.SetImageLoader(keep_image_bytes, nullptr);
    parser.SetFsCallbacks(files.callbacks());
    std::string errors;
    std::string warnings;
    const auto size = static_cast<unsigned int>(bytes.size());
    bool parsed = false;
    try {
        parsed = is_binary(bytes)
                     ? parser.LoadBinaryFromMemory(&model, &errors, &warnings, bytes.data(), size)
                     : parser.LoadASCIIFromString(&model, &errors, &warnings,
                                                  reinterpret_cast<const char*>(bytes.data()), size, "");
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception& error) {
        errors += error.what();
    }
    // A required field of the wrong type is reported but does not stop tinygltf.
    if (parsed && errors.empty()) return {};
    return errors.empty() ? "not a glTF document" : one_line(errors);
}

/// The declared lengths of the external buffers, for those that are missing: tinygltf wants a file of that
/// size, and stops at the first that it does not get. It has parsed the text as an object before.
void add_stand_ins(std::string_view json, ExternalFiles& files) {
    const auto document = nlohmann::json::parse(json, nullptr, false);
    for (const auto& buffer : document.value("buffers", nlohmann::json::array())) {
        if (!buffer.is_object() || !buffer.contains("uri") || !buffer["uri"].is_string()) continue;
        const auto uri = buffer["uri"].get<std::string>();
        const auto length = buffer.find("byteLength");
        if (tinygltf::IsDataURI(uri) || length == buffer.end() || !length->is_number_unsigned()) continue;
        files.add_stand_in(uri, length->get<std::uint64_t>());
    }
}

void check_extensions(LoadContext& context, const tinygltf::Model& model) {
    for (const std::string& extension : model.extensionsRequired) {
        if (std::find(known_extensions.begin(), known_extensions.end(), extension) ==
            known_extensions.end()) {
            context.missing(MissingKind::plugin, extension, extension + " is required and not supported");
        }
    }
}

/// A missing buffer stops tinygltf, so where the policy is to go on, the file is parsed again with zeros in
/// its place.
std::string parse_with_stand_ins(const std::vector<unsigned char>& bytes, std::string_view json,
                                 ExternalFiles& files, tinygltf::Model& model) {
    std::string fault = parse(bytes, files, model);
    if (fault.empty() || !files.any_missing()) return fault;
    files.report_missing();
    add_stand_ins(json, files);
    model = {};
    return parse(bytes, files, model);
}

std::vector<unsigned char> read_scene_file(LoadContext& context) {
    std::string why;
    auto bytes = read_file(context.file(), why);
    if (!bytes) context.fail(why);
    context.note_read(bytes->size());
    return std::move(*bytes);
}

}  // namespace

bool is_version_2(std::string_view version) {
    return version == "2" || version.starts_with("2.");
}

GltfDocument read_document(LoadContext& context) {
    const std::vector<unsigned char> bytes = read_scene_file(context);
    const std::string_view json = json_of(bytes);
    if (nests_too_deeply(json)) context.fail("JSON nested more than 100 deep");

    GltfDocument document;
    ExternalFiles files(context);
    const std::string fault = parse_with_stand_ins(bytes, json, files, document.model);
    const std::string& version = document.model.asset.version;
    if (!is_version_2(version)) context.fail("asset.version \"" + version + "\" is not glTF 2");
    // First, since an extension that nobody knows may be why the rest makes no sense.
    check_extensions(context, document.model);
    if (!fault.empty()) context.fail(fault);
    files.report_missing();
    for (const tinygltf::Buffer& buffer : document.model.buffers) {
        document.buffer_missing.push_back(files.is_stand_in(buffer.uri));
    }
    return document;
}

}  // namespace corrivane::host
