#pragma once

#include "scene/render_settings.h"
#include "scene/shared_list.h"

#include <ImathBox.h>
#include <ImathColor.h>
#include <ImathMatrix.h>
#include <ImathQuat.h>
#include <ImathVec.h>

#include <array>
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <vector>

// A loaded scene: plain data, never changed after load_scene() (scene/load_scene.h) has returned it, so any
// number of threads may read it. Changes are made to a copy, which shares the meshes and images. Right-handed, y up, lengths in the file's units (metres by glTF's
// convention), angles in radians, time in seconds. Matrices are Imath's: row vectors, p' = p * M, translation
// in the last row. That is also how glTF's column-major matrices lie in memory. All indices are valid, or -1
// where "none" is allowed.
namespace corrivane::host {

/// Pixels of a texture file, top row first: 4 bytes RGBA a pixel, colour in sRGB encoding, alpha not
/// multiplied in.
struct TextureImage {
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> rgba;
    std::string file{};    ///< as the scene names it; empty where the pixels are part of the scene file
    bool missing = false;  ///< a checker stands in for it
};

enum class TextureWrap { repeat, clamp_to_edge, mirrored_repeat };

struct Texture {
    int image = -1;
    TextureWrap wrap_u = TextureWrap::repeat;
    TextureWrap wrap_v = TextureWrap::repeat;
    bool nearest = false;  ///< take the nearest texel instead of blending four
};

/// A material's use of a texture. uv' = uv * uv_transform (identity without KHR_texture_transform).
struct TextureUse {
    int texture = -1;  ///< -1: the material's factor alone
    int uv_set = 0;    ///< 0 or 1: Primitive::uvs
    Imath::M33f uv_transform;
};

enum class AlphaMode { opaque, mask, blend };

struct Material {
    std::string name;
    Imath::C4f base_color{1, 1, 1, 1};  ///< linear; multiplied by the texture
    TextureUse base_color_texture;
    float metallic = 1;
    float roughness = 1;
    Imath::C3f emissive{0, 0, 0};  ///< linear; multiplied by the texture
    TextureUse emissive_texture;
    AlphaMode alpha_mode = AlphaMode::opaque;
    float alpha_cutoff = 0.5f;
    bool double_sided = false;
    bool unlit = false;  ///< KHR_materials_unlit: the base colour is the colour
};

/// Triangles of one material. Every array but positions may be empty; those that are not are as long
/// as positions.
struct Primitive {
    std::vector<Imath::V3f> positions;
    std::vector<Imath::V3f> normals;  ///< unit length; empty: flat, as glTF asks of a mesh without normals
    std::array<std::vector<Imath::V2f>, 2> uvs;
    std::vector<Imath::C4f> colors;  ///< linear; multiplies the base colour
    std::vector<std::array<std::uint32_t, 3>>
        triangles;     ///< indices into positions; strips and fans are unrolled
    int material = 0;  ///< always valid: glTF's default material is added to the scene
};

struct Mesh {
    std::string name;
    std::vector<Primitive> primitives;
};

struct Projection {
    enum class Kind { perspective, orthographic };
    Kind kind = Kind::perspective;
    float yfov = 0.8f;  ///< perspective: full vertical angle, in (0, pi)
    float ymag = 1;     ///< orthographic: half the height of the view
    float znear = 0.01f;
    float zfar = std::numeric_limits<float>::infinity();
};

/// A camera looks down its node's -z with +y up. The image's own proportions decide the width of what
/// it sees.
struct Camera {
    std::string name;
    Projection projection;
};

/// KHR_lights_punctual. Spot and directional lights shine down their node's -z.
struct Light {
    enum class Kind { directional, point, spot };
    std::string name;
    Kind kind = Kind::point;
    Imath::C3f color{1, 1, 1};  ///< linear
    float intensity = 1;        ///< candela (point, spot) or lux (directional)
    float range = std::numeric_limits<float>::infinity();
    float inner_cone = 0;  ///< spot: angle from the axis where the light starts to fall off
    float outer_cone = 0.785398f;
    bool on = true;
};

/// A camera's multi-pass effect: the node's extras.multipass. What the passes do is in render/multipass.h.
struct MultipassEffect {
    enum class Kind { depth_of_field, motion_blur };
    Kind kind = Kind::depth_of_field;
    int passes = 8;  ///< 1 to 1000
    bool enabled = true;
    float radius = 0.05f;          ///< depth of field: of the lens, in scene units
    float focus_distance = 5;      ///< depth of field: from the camera along its axis, in scene units
    float duration_frames = 0.5f;  ///< motion blur: how long the shutter is open
    std::optional<ClassId> class_id;
};

struct Transform {
    Imath::V3f translation{0, 0, 0};
    Imath::Quatf rotation;  ///< unit length
    Imath::V3f scale{1, 1, 1};
};

/// Nodes of the file that its scene does not reach are dropped, and a node's index here is not the file's.
/// Parents come before their children in what has been loaded.
struct SceneNode {
    std::string name;  ///< an unnamed node is called after its camera, light or mesh; may still be empty
    int parent = -1;
    std::vector<int> children;
    Transform transform;  ///< at rest; animation channels replace its parts
    /// In place of transform; such a node cannot be animated. Elsewhere, as the effect is: a scene may have
    /// millions of nodes, and few have either.
    std::shared_ptr<const Imath::M44f> matrix;
    int mesh = -1;
    int camera = -1;
    int light = -1;
    std::shared_ptr<const MultipassEffect> multipass;
    bool shown = true;  ///< whether its mesh is rendered
};

/// One animated property of one node. Before the first key and after the last, the value at that key holds.
struct AnimationChannel {
    enum class Path { translation, rotation, scale };
    enum class Interpolation { step, linear, cubic_spline };
    int node = -1;
    Path path = Path::translation;
    Interpolation interpolation = Interpolation::linear;
    std::vector<float> times;  ///< seconds, strictly increasing, never empty
    /// One value a key (x, y, z, w; w unused but for rotations); for cubic splines three: in-tangent,
    /// value, out-tangent.
    std::vector<Imath::V4f> values;
};

/// What a scene can refer to that is not there. The numbers are 3ds Max's.
enum class MissingKind {
    external_file = 1,        ///< an image or an external buffer
    plugin = 2,               ///< an extension in extensionsRequired that this loader does not know
    xref = 3,                 ///< a scene in the settings' xrefs
    texture_coordinates = 4,  ///< a primitive whose material has a texture has no such texture coordinates
};

struct MissingPart {
    MissingKind kind = MissingKind::external_file;
    std::string name;  ///< of the file, extension or primitive, as the scene names it
};

struct Scene {
    std::string name;
    RenderSettings settings;
    std::vector<SceneNode> nodes;
    SharedList<Mesh> meshes;
    std::vector<Material> materials;
    std::vector<Texture> textures;
    SharedList<TextureImage> images;
    std::vector<Camera> cameras;
    std::vector<Light> lights;
    std::vector<AnimationChannel> channels;  ///< of all animations: they play together, a later one wins
    float duration = 0;                      ///< seconds: the last key's time
    std::vector<MissingPart> missing;        ///< what it was loaded without; at most as many as warnings
    std::vector<std::string> warnings;       ///< what was missing or not understood and passed over, in words

    /// The first node of that name, or -1.
    int find_node(const std::string& node_name) const;
    /// The first node of that name that has a camera, or -1.
    int find_camera(const std::string& node_name) const;
};

/// A node's own placement at a time in seconds, beside its parent's. Not of nodes with a matrix.
Transform transform_at(const Scene& scene, int node, double seconds);

/// Where everything is at one moment: object-to-world matrices, one a node.
using Pose = std::vector<Imath::M44f>;

/// The scene's pose at a time in seconds (any finite value; animations hold their ends).
Pose pose_at(const Scene& scene, double seconds);

/// The farthest that anything is shown from the origin, along each axis, in its own space and in the world. Beyond,
/// float's areas and volumes overflow, and with them the ray tracer's search trees.
inline constexpr float farthest_shown = 1e15f;

/// The matrix that scales, then rotates, then moves.
Imath::M44f matrix_of(const Transform& transform);

/// The box around all triangles in that pose; empty (isEmpty()) when there are none. A vertex that the pose
/// sends beyond farthest_shown is left out.
Imath::Box3f bounds_of(const Scene& scene, const Pose& pose);

}  // namespace corrivane::host
