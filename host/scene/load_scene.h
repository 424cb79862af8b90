#pragma once

#include "scene/scene.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>

namespace corrivane::host {

/// A scene that cannot be loaded. The text names the file and the fault:
/// "robot.gltf: mesh 2, primitive 0: indices accessor 7 reaches past its buffer view".
class SceneError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// What to do then. The numbers are 3ds Max's.
enum class MissingAction {
    /// Load on, with a line in Scene::warnings: an image becomes a grey checker, geometry and animation of a
    /// missing buffer are left out, what an unknown extension says is ignored, a missing xref adds nothing,
    /// and a textured primitive without coordinates shows its material's factor alone.
    go_on = 1,
    fail = 5,  ///< MissingResource
};

/// The load failed because of a MissingAction::fail. The text names the kind and the resource.
class MissingResource : public SceneError {
public:
    MissingResource(MissingKind kind, std::string resource, const std::string& text)
        : SceneError(text), m_kind(kind), m_resource(std::move(resource)) {}

    MissingKind kind() const { return m_kind; }
    /// The file, extension or primitive that was not there, as the scene names it.
    const std::string& resource() const { return m_resource; }

private:
    MissingKind m_kind;
    std::string m_resource;
};

/// A file of this machine, and the folder that `..` in the names that a scene in it gives does not climb
/// above: that of the drive or share on which it was named. Empty: `..` climbs as far as it likes.
struct BoundedFile {
    std::filesystem::path file;
    std::filesystem::path root = {};
};

struct LoadOptions {
    MissingAction external_files = MissingAction::go_on;
    MissingAction plugins = MissingAction::go_on;
    MissingAction xrefs = MissingAction::go_on;
    MissingAction texture_coordinates = MissingAction::go_on;

    /// Turns a full path (with a drive letter, two backslashes or a slash in front) among the xrefs into a
    /// file of this machine. Without it such an xref counts as missing. Other xrefs are relative to the scene
    /// that names them, and have its root.
    std::function<BoundedFile(const std::string&)> resolve_path = {};

    /// Of the scene file itself; see BoundedFile.
    std::filesystem::path root = {};
};

/// Reads a glTF 2.0 scene (.gltf or .glb, told apart by their content) with everything that it refers to.
///
/// docs/scenes.md says what is read, what is passed over, what is refused, and what a scene may cost. What the
/// file's scene does not reach is not looked at. The xrefs' nodes are added as further roots; every file is merged
/// once, so circles of xrefs do no harm.
///
/// The file is not trusted: sizes, indices, ranges, numbers and nesting are checked before use, memory stays
/// within a fixed bound (see limits.h), and what is wrong is named. Throws SceneError or MissingResource; running
/// out of memory is a SceneError too.
std::shared_ptr<const Scene> load_scene(const std::filesystem::path& file, const LoadOptions& options = {});

/// Whether the file is a glTF 2.0 document, as far as its header or its JSON's asset.version tell. False also
/// when it is not there or cannot be read; `why`, if given, then says in words what is wrong.
bool is_scene_file(const std::filesystem::path& file, std::string* why = nullptr);

}  // namespace corrivane::host
