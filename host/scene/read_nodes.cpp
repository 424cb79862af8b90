#include "scene/part_readers.h"
#include "scene/settings_reader.h"

#include <algorithm>
#include <numbers>

namespace corrivane::host {

namespace {

class NodeReader {
public:
    NodeReader(LoadContext& context, const GltfDocument& document, Scene& scene)
        : m_context(context),
          m_model(document.model),
          m_scene(scene),
          m_indices(document.model.nodes.size(), -1) {}

    std::vector<int> read_all();

private:
    void read_cameras();
    void read_lights();
    std::vector<int> read_scene();
    std::vector<int> roots_without_scene() const;
    void place(const std::vector<int>& roots);
    SceneNode read_node(std::size_t index);
    void read_transform(const tinygltf::Node& source, const std::string& who, SceneNode& node);
    int read_light_use(const tinygltf::Node& source, const std::string& who);
    std::string fallback_name(const SceneNode& node) const;
    std::vector<float> numbers(const std::vector<double>& values, std::size_t count,
                               const std::string& who) const;

    LoadContext& m_context;
    const tinygltf::Model& m_model;
    Scene& m_scene;
    std::vector<int> m_indices;
};

constexpr double largest = 1e18;

std::vector<int> NodeReader::read_all() {
    read_cameras();
    read_lights();
    place(read_scene());
    return std::move(m_indices);
}

std::vector<float> NodeReader::numbers(const std::vector<double>& values, std::size_t count,
                                       const std::string& who) const {
    if (values.size() != count) {
        m_context.fail(who + " should be " + std::to_string(count) + " numbers, not " +
                       std::to_string(values.size()));
    }
    std::vector<float> result;
    for (const double value : values)
        result.push_back(m_context.number(value, -largest, largest, who));
    return result;
}

void NodeReader::read_cameras() {
    for (std::size_t i = 0; i < m_model.cameras.size(); ++i) {
        const tinygltf::Camera& source = m_model.cameras[i];
        const std::string who = numbered("camera", i);
        Camera camera;
        camera.name = source.name;
        Projection& projection = camera.projection;
        double zfar = 0;
        if (source.type == "orthographic") {
            projection.kind = Projection::Kind::orthographic;
            projection.ymag = m_context.number(source.orthographic.ymag, 1e-6, largest, who + ": ymag");
            projection.znear = m_context.number(source.orthographic.znear, 0, largest, who + ": znear");
            zfar = source.orthographic.zfar;
        } else {
            projection.yfov =
                m_context.number(source.perspective.yfov, 1e-4, std::numbers::pi - 1e-4, who + ": yfov");
            projection.znear = m_context.number(source.perspective.znear, 1e-9, largest, who + ": znear");
            zfar = source.perspective.zfar;
        }
        // A perspective camera without zfar sees to infinity; tinygltf says 0 then.
        if (zfar != 0 || source.type == "orthographic") {
            projection.zfar = m_context.number(zfar, 0, largest, who + ": zfar");
            if (projection.zfar <= projection.znear) m_context.fail(who + ": zfar is not beyond znear");
        }
        m_scene.cameras.push_back(std::move(camera));
    }
}

void NodeReader::read_lights() {
    for (std::size_t i = 0; i < m_model.lights.size(); ++i) {
        const tinygltf::Light& source = m_model.lights[i];
        const std::string who = numbered("light", i);
        Light light;
        light.name = source.name;
        if (source.type == "directional") {
            light.kind = Light::Kind::directional;
        } else if (source.type == "spot") {
            light.kind = Light::Kind::spot;
        } else if (source.type != "point") {
            m_context.fail(who + ": no type \"" + source.type + "\"");
        }
        if (!source.color.empty()) {
            const std::vector<float> color = numbers(source.color, 3, who + ": color");
            for (int c = 0; c < 3; ++c)
                light.color[c] = m_context.number(color[std::size_t(c)], 0, 1e6, who + ": color");
        }
        light.intensity = m_context.number(source.intensity, 0, 1e12, who + ": intensity");
        if (source.range != 0) light.range = m_context.number(source.range, 1e-9, largest, who + ": range");
        if (light.kind == Light::Kind::spot) {
            const double outer = source.spot.outerConeAngle;
            light.outer_cone =
                m_context.number(outer, 1e-6, std::numbers::pi / 2 + 1e-6, who + ": outerConeAngle");
            light.inner_cone =
                m_context.number(source.spot.innerConeAngle, 0, outer, who + ": innerConeAngle");
        }
        m_scene.lights.push_back(std::move(light));
    }
}

/// The roots of the scene to show: the default one, else the first; all roots when the file has no scene.
std::vector<int> NodeReader::read_scene() {
    if (m_model.scenes.empty()) return roots_without_scene();
    const int index = m_context.optional_index(m_model.defaultScene, m_model.scenes.size(), "scene", "scene");
    const std::size_t scene = index == -1 ? 0 : static_cast<std::size_t>(index);
    const tinygltf::Scene& source = m_model.scenes[scene];
    m_scene.name = source.name;
    try {
        m_scene.settings = read_render_settings(source.extras_json_string);
    } catch (const SettingsError& error) {
        m_context.fail(numbered("scene", scene) + ": extras." + error.what());
    }
    return source.nodes;
}

std::vector<int> NodeReader::roots_without_scene() const {
    std::vector<bool> is_child(m_model.nodes.size(), false);
    for (const tinygltf::Node& node : m_model.nodes) {
        for (const int child : node.children) {
            if (child >= 0 && child < static_cast<int>(is_child.size())) is_child[std::size_t(child)] = true;
        }
    }
    std::vector<int> roots;
    for (std::size_t i = 0; i < is_child.size(); ++i) {
        if (!is_child[i]) roots.push_back(static_cast<int>(i));
    }
    return roots;
}

/// Walks down from the roots with a list instead of recursion: a chain of nodes may be as deep as the file
/// is long.
void NodeReader::place(const std::vector<int>& roots) {
    struct Step {
        int node;
        int parent;  ///< in m_scene.nodes
        std::string who;
    };
    std::vector<Step> steps;
    for (auto root = roots.rbegin(); root != roots.rend(); ++root)
        steps.push_back({*root, -1, "scene"});
    while (!steps.empty()) {
        const Step step = std::move(steps.back());
        steps.pop_back();
        const std::size_t index = m_context.index(step.node, m_model.nodes.size(), "node", step.who);
        const std::string who = numbered("node", index);
        if (m_indices[index] != -1) {
            m_context.fail(who + " is reached twice: it has two parents or is its own ancestor");
        }
        m_indices[index] = static_cast<int>(m_scene.nodes.size());
        m_scene.nodes.push_back(read_node(index));
        m_scene.nodes.back().parent = step.parent;
        if (step.parent != -1) {
            m_scene.nodes[static_cast<std::size_t>(step.parent)].children.push_back(m_indices[index]);
        }
        const std::vector<int>& children = m_model.nodes[index].children;
        for (auto child = children.rbegin(); child != children.rend(); ++child) {
            steps.push_back({*child, m_indices[index], who});
        }
    }
}

SceneNode NodeReader::read_node(std::size_t index) {
    const tinygltf::Node& source = m_model.nodes[index];
    const std::string who = numbered("node", index);
    SceneNode node;
    node.mesh = m_context.optional_index(source.mesh, m_scene.meshes.size(), "mesh", who);
    node.camera = m_context.optional_index(source.camera, m_scene.cameras.size(), "camera", who);
    node.light = read_light_use(source, who);
    node.name = source.name.empty() ? fallback_name(node) : source.name;
    read_transform(source, who, node);
    if (source.skin != -1) m_context.warn(who + ": skins are not supported, the mesh is shown at rest");
    try {
        node.multipass = read_multipass(source.extras_json_string);
    } catch (const SettingsError& error) {
        m_context.fail(who + ": extras." + error.what());
    }
    return node;
}

void NodeReader::read_transform(const tinygltf::Node& source, const std::string& who, SceneNode& node) {
    if (!source.matrix.empty()) {
        const std::vector<float> values = numbers(source.matrix, 16, who + ": matrix");
        const bool affine = values[3] == 0 && values[7] == 0 && values[11] == 0 && values[15] == 1;
        if (!affine) m_context.fail(who + ": matrix does not end in 0, 0, 0, 1");
        node.matrix.emplace();
        std::copy(values.begin(), values.end(), &node.matrix->x[0][0]);
        return;
    }
    if (!source.translation.empty()) {
        const std::vector<float> t = numbers(source.translation, 3, who + ": translation");
        node.transform.translation = {t[0], t[1], t[2]};
    }
    if (!source.rotation.empty()) {
        const std::vector<float> r = numbers(source.rotation, 4, who + ": rotation");
        node.transform.rotation = Imath::Quatf(r[3], r[0], r[1], r[2]);
        if (!(node.transform.rotation.length() > 1e-6f)) m_context.fail(who + ": rotation has no length");
        node.transform.rotation.normalize();
    }
    if (!source.scale.empty()) {
        const std::vector<float> s = numbers(source.scale, 3, who + ": scale");
        node.transform.scale = {s[0], s[1], s[2]};
    }
}

int NodeReader::read_light_use(const tinygltf::Node& source, const std::string& who) {
    const auto extension = source.extensions.find("KHR_lights_punctual");
    if (extension == source.extensions.end()) return -1;
    if (!extension->second.Has("light") || !extension->second.Get("light").IsInt()) {
        m_context.fail(who + ": KHR_lights_punctual names no light");
    }
    return m_context.optional_index(extension->second.Get("light").GetNumberAsInt(), m_scene.lights.size(),
                                    "light", who);
}

std::string NodeReader::fallback_name(const SceneNode& node) const {
    if (node.camera >= 0) return m_scene.cameras[static_cast<std::size_t>(node.camera)].name;
    if (node.light >= 0) return m_scene.lights[static_cast<std::size_t>(node.light)].name;
    if (node.mesh >= 0) return m_scene.meshes[static_cast<std::size_t>(node.mesh)].name;
    return {};
}

}  // namespace

std::vector<int> read_nodes(LoadContext& context, const GltfDocument& document, Scene& scene) {
    return NodeReader(context, document, scene).read_all();
}

}  // namespace corrivane::host
