#pragma once

#include <max/maxscript/value.h>

#include <string>

/// The names of this folder's files; each is to be called once the runtime is started.
namespace corrivane::host {

/// objects, select, hide, delete, getUserProp, classOf, …
void define_node_functions();
/// sceneMaterials, enumerateFiles, StandardMaterial, BitmapTexture, …
void define_material_functions();
/// layerManager.
void define_layer_functions();
/// rendSaveFile, renderWidth, renderers.current, …
void define_render_globals();
/// maxOps.getCurRenderElementMgr and what it gives.
void define_render_element_functions();
/// render.
void define_render_function();
/// bitmap, openBitMap, getPixels, …
void define_bitmap_functions();
/// loadMaxFile, resetMaxFile, maxFileName, …
void define_scene_file_functions();
/// viewport.setCamera and its kin.
void define_viewport_functions();

/// The exit code that quitMAX asked for; 0 when nobody did.
int requested_exit_code();

/// What `$path` stands for; the path is without the sign.
Value* find_path(const std::string& path);

}  // namespace corrivane::host
