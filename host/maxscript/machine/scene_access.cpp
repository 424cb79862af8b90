#include "maxscript/machine/scene_access.h"

#include "maxscript/machine/errors.h"

namespace corrivane::host {

namespace {

SceneAccess* g_access = nullptr;

}  // namespace

void set_scene_access(SceneAccess* access) {
    g_access = access;
}

SceneAccess* find_scene_access() {
    return g_access;
}

SceneAccess& scene_access() {
    if (g_access == nullptr) raise_absent("scene");
    return *g_access;
}

}  // namespace corrivane::host
