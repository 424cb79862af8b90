#include "scene/load_scene.h"

#include "json/shortened.h"
#include "scene/animation_reader.h"
#include "scene/limits.h"
#include "scene/merge_scene.h"
#include "scene/node_reader.h"

#include <nlohmann/json.hpp>

#include <array>
#include <cctype>
#include <cstring>
#include <fstream>
#include <new>
#include <set>
#include <system_error>

namespace corrivane::host {

namespace {

namespace fs = std::filesystem;

Scene read_one_file(LoadContext& context) {
    const GltfDocument document(context);
    ExternalFiles files(context);
    Buffers buffers(document, files);
    AccessorReader accessors(context, document, buffers);
    Scene scene;
    TextureReader textures(context, document, files, buffers, scene);
    MaterialReader materials(document, textures, scene);
    MeshReader meshes(context, document, accessors, materials, scene);
    const std::vector<int> node_indices = NodeReader(context, document, meshes, scene).read_all();
    AnimationReader(context, document, accessors, node_indices, scene).read_all();
    return scene;
}

/// On a drive or a share, or from this machine's root.
bool is_full_path(const std::string& name) {
    const bool drive =
        name.size() >= 2 && std::isalpha(static_cast<unsigned char>(name[0])) != 0 && name[1] == ':';
    return drive || name.starts_with("\\\\") || name.starts_with('/');
}

/// One load: the scene file, then the xrefs that it and its xrefs name, each file once.
class SceneLoader {
public:
    explicit SceneLoader(const LoadOptions& options) : m_options(options) {}

    Scene load(const fs::path& file) {
        note(file);
        Scene scene = read({file, m_options.root});
        // The list grows while it is walked.
        for (std::size_t i = 0; i < m_xrefs.size(); ++i)
            merge(m_xrefs[i], scene);
        scene.missing = std::move(m_state.missing);
        scene.warnings = std::move(m_state.warnings);
        if (m_state.warnings_left_out > 0) {
            scene.warnings.push_back(file.filename().string() + ": and " +
                                     std::to_string(m_state.warnings_left_out) + " more warnings");
        }
        return scene;
    }

private:
    Scene read(BoundedFile place) {
        LoadContext context(std::move(place), m_options, m_state);
        try {
            Scene scene = read_one_file(context);
            for (const std::string& name : scene.settings.xrefs)
                add_xref(name, context);
            return scene;
        } catch (const json::Error& error) {
            context.fail(error);
        }
    }

    /// By value: reading may find more xrefs.
    void merge(BoundedFile place, Scene& scene) {
        Scene part = read(place);
        // The nodes of both lie in memory twice while their list grows.
        const std::uint64_t bytes = (scene.nodes.size() + part.nodes.size()) * sizeof(SceneNode);
        LoadContext context(std::move(place), m_options, m_state);
        context.take_all(bytes);
        merge_scene(std::move(part), scene);
        context.release(bytes);
    }

    void add_xref(const std::string& name, LoadContext& context) {
        BoundedFile place = locate(name, context);
        std::error_code error;
        if (place.file.empty() || !fs::is_regular_file(place.file, error)) {
            context.missing(MissingKind::xref, name, json::shortened(name, 200) + " is not there");
            return;
        }
        if (!note(place.file)) return;
        if (m_xrefs.size() == limits::xref_files) context.fail("more than 256 xrefs");
        m_xrefs.push_back(std::move(place));
    }

    /// Without a file where the name leads nowhere.
    BoundedFile locate(const std::string& name, const LoadContext& from) const {
        if (is_full_path(name)) return m_options.resolve_path ? m_options.resolve_path(name) : BoundedFile{};
        return {from.neighbour(name).value_or(fs::path()), from.root()};
    }

    /// False when the file has been noted before.
    bool note(const fs::path& file) {
        std::error_code error;
        const fs::path canonical = fs::weakly_canonical(file, error);
        return m_noted.insert(error ? file : canonical).second;
    }

    const LoadOptions& m_options;
    LoadState m_state;
    std::vector<BoundedFile> m_xrefs;
    std::set<fs::path> m_noted;
};

/// Reads on just until asset.version is known.
class VersionReader : public nlohmann::json_sax<nlohmann::json> {
public:
    const std::string& version() const { return m_version; }

    bool key(string_t& name) override {
        m_key = name;
        if (m_depth == 1) m_in_asset = name == "asset";
        return true;
    }
    bool string(string_t& text) override {
        const bool found = m_in_asset && m_depth == 2 && m_key == "version";
        if (found) m_version = text;
        return !found;
    }
    bool start_object(std::size_t) override { return enter(); }
    bool end_object() override { return leave(); }
    bool start_array(std::size_t) override { return m_depth > 0 && enter(); }
    bool end_array() override { return leave(); }
    bool null() override { return true; }
    bool boolean(bool) override { return true; }
    bool number_integer(number_integer_t) override { return true; }
    bool number_unsigned(number_unsigned_t) override { return true; }
    bool number_float(number_float_t, const string_t&) override { return true; }
    bool binary(binary_t&) override { return true; }
    bool parse_error(std::size_t, const std::string&, const nlohmann::detail::exception&) override {
        return false;
    }

private:
    bool enter() { return ++m_depth <= limits::json_depth; }
    bool leave() {
        --m_depth;
        return true;
    }

    int m_depth = 0;
    bool m_in_asset = false;
    std::string m_key;
    std::string m_version;
};

std::uint32_t little_endian(const std::array<char, 12>& header, std::size_t at) {
    std::uint32_t value = 0;
    std::memcpy(&value, header.data() + at, sizeof value);
    return value;
}

bool is_version_2_document(std::istream& stream) {
    std::array<char, 12> header{};
    if (!stream.read(header.data(), header.size())) return false;
    if (std::memcmp(header.data(), "glTF", 4) == 0) return little_endian(header, 4) == 2;
    stream.seekg(0);
    VersionReader reader;
    nlohmann::json::sax_parse(stream, &reader);
    return is_version_2(reader.version());
}

}  // namespace

// What a file asks for beyond the limits is refused by name. Where the machine has less than they allow, or what
// somebody holds already is in the way, that is an error like any other.
std::shared_ptr<const Scene> load_scene(const fs::path& file, const LoadOptions& options) {
    try {
        return std::make_shared<const Scene>(SceneLoader(options).load(file));
    } catch (const std::bad_alloc&) {
        throw SceneError(file.filename().string() + ": not enough memory");
    } catch (const std::length_error&) {
        throw SceneError(file.filename().string() + ": not enough memory");
    }
}

bool is_scene_file(const fs::path& file, std::string* why) {
    std::string ignored;
    std::string& fault = why != nullptr ? *why : ignored;
    if (!is_regular_file(file, fault)) return false;
    try {
        std::ifstream stream(file, std::ios::binary);
        if (!stream) {
            fault = "cannot be read";
            return false;
        }
        if (is_version_2_document(stream)) return true;
        fault = stream.bad() ? "cannot be read" : "not a glTF 2 document";
    } catch (const std::bad_alloc&) {
        fault = "not enough memory";
    }
    return false;
}

}  // namespace corrivane::host
